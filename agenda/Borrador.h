#pragma once

#include "dataset/DataSet.h"

#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <functional>

/// Why what has waited for its line is not written yet: the clerk is to see first what stands there by now.
inline const QString LineaCambiada = QStringLiteral("Otro puesto ha cambiado la línea mientras tanto");

/// What the clerk has typed into a line, kept so that it outlives a change that could not be stored. The one
/// way of all windows. A party and his client's code are one thing: who has typed one of them has typed both,
/// and neither goes without the other.
class TBorrador
{
public:
    enum class TLugar {
        suLinea,    ///< in edit again, or in a new line as before
        enEspera,   ///< its line cannot be had just now: held in a new line that is not meant to be written
        lineaNueva, ///< its line is gone: in a new one
        ninguno     ///< nowhere: only Tecleado() still tells it
    };
    /// How the window's engine begins a change of the current line, and a new line. They answer whether it
    /// went well.
    struct TComienzos {
        std::function<bool()> Modifica;
        std::function<bool()> Anade; ///< null where what was typed into a line is not to go into another
    };

    /// Notes the line as it is when its change begins.
    void Empieza(dataset::DataSet &tabla);
    /// Notes what has been typed since.
    void Guarda(dataset::DataSet &tabla);
    /// Begins the change again and types all of it anew; what others have written meanwhile into other fields
    /// of the line stays. Throws nothing, and leaves nothing pending that holds nothing.
    [[nodiscard]] TLugar Recupera(dataset::DataSet &tabla, const TComienzos &comienzos);
    /// Whether what was typed is only held: before it can be accepted, Recupera has to find its line free.
    [[nodiscard]] bool EnEspera() const { return m_enEspera; }
    /// Whether others had written into its line when it was last taken up again.
    [[nodiscard]] bool HaCambiado() const { return m_haCambiado; }
    /// Whether it was typed into a line that the table does not have yet.
    [[nodiscard]] bool EsNueva() const { return m_nueva; }
    /// Value of a field as it was typed last.
    [[nodiscard]] QVariant Tecleado(int campo) const { return m_tecleado.value(campo); }
    /// Value of a field as it was when the change began.
    [[nodiscard]] QVariant AlEmpezar(int campo) const { return m_antes.value(campo); }
    /// The texts that were typed, where the line said something else before.
    [[nodiscard]] QStringList Tecleado() const;
    /// A sentence, on a row of its own, with what others had written in the fields that were typed anew when
    /// the line was last taken up again; empty where there is nothing of the kind.
    [[nodiscard]] QString LoDeOtros() const;

private:
    [[nodiscard]] bool Difieren(const QVariantList &unos, const QVariantList &otros, int campo) const;
    [[nodiscard]] bool SeHaTecleado(int campo) const { return Difieren(m_tecleado, m_antes, campo); }
    void Escribe(dataset::DataSet &tabla, bool soloLoTecleado) const;

    bool m_nueva = true;
    bool m_enEspera = false;
    bool m_haCambiado = false;
    QStringList m_deOtros;
    dataset::Bookmark m_linea = 0;
    int m_interesado = -1; ///< field number; -1 where the table has none
    int m_codigo = -1;     ///< the same
    QVariantList m_antes;
    QVariantList m_tecleado;
};
