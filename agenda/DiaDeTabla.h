#pragma once

#include "agenda/HojaDia.h"

#include <QtCore/QDate>

#include <functional>

/// The day that an agenda's table shows. Only this object restricts the table to a day or shows it whole,
/// so it alone says which day is shown; whoever prints, copies, moves, marks or synchronises asks it.
///
/// A change of the day is all or nothing: where it fails, day, rows and current line are as before, from
/// memory where the table cannot be read. All that read the table throw dataset::EDatabaseError.
class TDiaDeTabla
{
public:
    /// @param tabla   not owned; outlives this object.
    /// @param lineas  those that a day shows.
    explicit TDiaDeTabla(dataset::DataSet &tabla, TLineasDelDia lineas = TLineasDelDia::conHora)
        : m_tabla(tabla)
        , m_lineas(lineas)
    {
    }
    TDiaDeTabla(const TDiaDeTabla &) = delete;
    TDiaDeTabla &operator=(const TDiaDeTabla &) = delete;

    /// The day to which the table is restricted; invalid while it shows the whole of itself.
    [[nodiscard]] QDate Mostrado() const;
    /// The day that was shown last, also where the table has been shown whole since.
    [[nodiscard]] QDate Ultimo() const { return m_dia; }
    /// The day of what is seen: the one shown, or else that of the current line.
    [[nodiscard]] QDate ALaVista() const;
    /// Whether the table bears the mark of an active range, and has one. Deliberate: a day without lines that
    /// is shown after the whole table does not put the mark.
    [[nodiscard]] bool HayRango() const { return HayRangoDelDia(m_tabla); }
    /// Whether the current line is none of those that the table shows.
    [[nodiscard]] bool LineaFuera() const;

    /// Shows a day. @param fecha  an invalid date changes nothing. @return whether it has lines.
    bool Muestra(QDate fecha);
    /// Shows the whole table.
    void MuestraTodo();
    /// Goes to the nearest day with lines. @return false, and the day as it was, when there is none.
    /// @param rango  shows a day and tells whether it has lines; Muestra() where only this table moves.
    bool VeAOtro(TSentido sentido, const std::function<bool(QDate)> &rango);
    /// Does something that leads to another day. Where it throws the day shown before comes back first.
    void TodoONada(const std::function<void()> &cambio);
    /// Shows another day while something is done, with the current line kept both times as far as it can be
    /// read. @throws dataset::EDatabaseError, kind conflict, with nothing done, when others have deleted it.
    void Mientras(QDate fecha, const std::function<void()> &trabajo);

    /// Counts the lines of the day shown that stand outside its hours. @param verlas  they are shown with the
    /// others from then on, where there are any.
    int FueraDeHora(bool verlas);

private:
    struct TAntes;
    void Vuelve(const TAntes &antes);

    dataset::DataSet &m_tabla;
    TLineasDelDia m_lineas;
    QDate m_dia;
    bool m_restringida = false;
};
