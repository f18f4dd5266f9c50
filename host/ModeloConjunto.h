#pragma once

#include "agenda/MotorDeTablas.h"
#include "dataset/DataSet.h"

#include <QtCore/QAbstractTableModel>
#include <QtCore/QDate>
#include <QtCore/QStringList>
#include <QtGui/QColor>

#include <array>
#include <map>
#include <utility>
#include <vector>

class IAgenda3P;
struct TLineaAgenda;

/// What is shown of a line, in the order of a notary's columns.
enum class TCampoConjunto { concepto, interesado, oficial };
inline constexpr int CamposPorNotario = 3;

/// A place in the day that outlives its row number: the hour, which line of that hour, and the column.
struct TPuestoConjunto {
    QString Hora;
    int Orden = 0; ///< from 0, among the lines of the same hour
    int Columna = 0;
    friend bool operator==(const TPuestoConjunto &, const TPuestoConjunto &) = default;
};

/// The day of every notary side by side: one row for each slot that any of them has, three columns for each
/// notary. It keeps copies of what it shows and follows the tables only when told to, so a command that
/// changes five of them is seen once, at its end.
class TModeloConjunto : public QAbstractTableModel
{
    Q_OBJECT
public:
    /// Beside Qt's roles: whether the notary has no line there.
    enum TPapel { PapelHueco = Qt::UserRole };

    explicit TModeloConjunto(QObject *padre);

    /// @param motor     not owned, outlives this. @param nombres  of the notaries, in their order.
    void PonMotor(IAgenda3P &motor, const QStringList &nombres);
    /// Shows what the tables hold of a day by now. Where the slots are the same only cells that differ are
    /// told; lines of another day are left out.
    /// @param conservaFilas  does nothing when slots have come or gone: a cell is being edited.
    /// @throws dataset::EDatabaseError
    void Relee(QDate dia, bool conservaFilas = false);

    [[nodiscard]] int NumNotarios() const { return static_cast<int>(m_nombres.size()); }
    [[nodiscard]] QString Nombre(int notario) const { return m_nombres.value(notario - 1); }
    /// Notary, 1-based, and field of a column.
    [[nodiscard]] static int NotarioDe(int columna) { return columna / CamposPorNotario + 1; }
    [[nodiscard]] static TCampoConjunto CampoDe(int columna)
    {
        return static_cast<TCampoConjunto>(columna % CamposPorNotario);
    }
    [[nodiscard]] static QString NombreDelCampo(TCampoConjunto campo);

    [[nodiscard]] QString Hora(int fila) const;
    /// The line of a notary in a row; 0 where he has no such slot.
    [[nodiscard]] dataset::Bookmark Linea(int fila, int notario) const;
    /// Whether a line, read afresh and current in its table, still says what is shown of it.
    [[nodiscard]] bool EsComoSeVe(int fila, int notario, dataset::DataSet &tabla) const;
    /// Whether something is written in the line of a notary.
    [[nodiscard]] bool EstaOcupada(int fila, int notario) const;
    /// Whether a notary has no line at all while others have some.
    [[nodiscard]] bool LeFaltaLaHoja(int notario) const;
    [[nodiscard]] bool TieneHuecos() const; ///< some notary lacks some slot
    /// Whether a notary's day cannot be shown, so that nothing is known of his slots.
    [[nodiscard]] bool EsIlegible(int notario) const;
    /// How many lines a notary has at an hour.
    [[nodiscard]] int LineasA(const QString &hora, int notario) const;
    [[nodiscard]] TPuestoConjunto Puesto(const QModelIndex &celda) const;
    /// The cell of a place; the nearest slot after it, or the last one, where it is gone.
    [[nodiscard]] QModelIndex Celda(const TPuestoConjunto &puesto) const;
    /// First row of an hour; -1 for none.
    [[nodiscard]] int FilaDe(const QString &hora) const;
    /// Row of a notary's line; -1 when it is not of the day.
    [[nodiscard]] int FilaDeLinea(dataset::Bookmark linea, int notario) const;
    void PonColorSalida(const QColor &color) { m_colorSalida = color; }

    [[nodiscard]] int rowCount(const QModelIndex &padre = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex &padre = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &indice, int papel = Qt::DisplayRole) const override;
    [[nodiscard]] QVariant headerData(int seccion, Qt::Orientation orientacion,
                                      int papel = Qt::DisplayRole) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex &indice) const override;

private:
    struct TCelda {
        dataset::Bookmark Linea = 0;
        std::array<QString, CamposPorNotario> Textos;
        bool Salida = false;
        static TCelda De(const TLineaAgenda &linea);
        bool operator==(const TCelda &) const = default;
    };
    struct TFila {
        QString Hora;
        int Orden = 0;
        std::array<TCelda, MaxNotarios> Celdas;
    };
    using TFilas = std::map<std::pair<QString, int>, TFila>;
    [[nodiscard]] std::vector<TFila> LeeTablas();
    void LeeTabla(const dataset::DataSet &tabla, int notario, TFilas &filas) const;
    [[nodiscard]] const TCelda &CeldaDe(int fila, int notario) const;

    IAgenda3P *m_motor = nullptr;
    QStringList m_nombres;
    std::vector<TFila> m_filas;
    QDate m_dia;
    std::array<bool, MaxNotarios> m_ilegibles{};
    QColor m_colorSalida;
};
