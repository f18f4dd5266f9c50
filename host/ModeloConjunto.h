#pragma once

#include "dataset/DataSet.h"

#include <QtCore/QAbstractTableModel>
#include <QtCore/QStringList>
#include <QtGui/QColor>

#include <array>
#include <optional>
#include <vector>

class IAgenda3P;

/// What is shown of a line, in the order of a notary's columns.
enum class TCampoConjunto { concepto, interesado, oficial };
inline constexpr int CamposPorNotario = 3;

/// A place in the day that outlives its row number: the hour, which line of that hour, and the column.
struct TPuestoConjunto {
    QString Hora;
    int Orden = 0; ///< from 0, among the lines of the same hour
    int Columna = 0;
};

/// The day of every notary side by side: one row for each slot that any of them has, three columns for each
/// notary. It keeps copies of what it shows and follows the tables only when told to, so a command that
/// changes five of them is seen once, at its end.
class TModeloConjunto : public QAbstractTableModel
{
    Q_OBJECT
public:
    /// Fill roles beside those of Qt.
    enum TPapel { PapelHueco = Qt::UserRole, PapelSalida };

    explicit TModeloConjunto(QObject *padre);

    /// @param motor     not owned, outlives this. @param nombres  of the notaries, in their order.
    void PonMotor(IAgenda3P &motor, const QStringList &nombres);
    /// Shows what the tables hold by now. Where the slots are the same only cells that differ are told.
    /// @throws dataset::EDatabaseError
    void Relee();

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
    /// Whether something is written in the line of a notary.
    [[nodiscard]] bool EstaOcupada(int fila, int notario) const;
    /// Whether a notary has no line at all while others have some.
    [[nodiscard]] bool LeFaltaLaHoja(int notario) const;
    [[nodiscard]] bool TieneHuecos() const; ///< some notary lacks some slot
    [[nodiscard]] TPuestoConjunto Puesto(const QModelIndex &celda) const;
    /// The cell of a place; the nearest slot after it, or the last one, where it is gone.
    [[nodiscard]] QModelIndex Celda(const TPuestoConjunto &puesto) const;
    /// First row of an hour; -1 for none.
    [[nodiscard]] int FilaDe(const QString &hora) const;
    void PonColorSalida(const QColor &color) { m_colorSalida = color; }

    [[nodiscard]] int rowCount(const QModelIndex &padre = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex &padre = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &indice, int papel = Qt::DisplayRole) const override;
    [[nodiscard]] QVariant headerData(int seccion, Qt::Orientation orientacion,
                                      int papel = Qt::DisplayRole) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex &indice) const override;

private:
    static constexpr int MaxNotarios = 5;
    struct TCelda {
        dataset::Bookmark Linea = 0;
        std::array<QString, CamposPorNotario> Textos;
        bool Salida = false;
        bool operator==(const TCelda &) const = default;
    };
    struct TFila {
        QString Hora;
        int Orden = 0;
        std::array<TCelda, MaxNotarios> Celdas;
    };
    [[nodiscard]] std::vector<TFila> LeeTablas() const;
    [[nodiscard]] const TCelda &CeldaDe(int fila, int notario) const;

    IAgenda3P *m_motor = nullptr;
    QStringList m_nombres;
    std::vector<TFila> m_filas;
    QColor m_colorSalida;
};
