#pragma once

#include "agenda/IAgenda3P.h"
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

struct TLineaAgenda;

/// What is shown of a line, in the order of a notary's columns.
enum class TCampoConjunto { concepto, interesado, oficial };
inline constexpr int CamposPorNotario = 3;

/// A place in the day that outlives its row number: the line that stood there, or else the hour and which of
/// the rows of that hour; and the column.
struct TPuestoConjunto {
    QString Hora;
    int Orden = 0; ///< from 0, among the rows of the same hour
    int Columna = 0;
    dataset::Bookmark Linea = 0; ///< 0 where the notary had none
    friend bool operator==(const TPuestoConjunto &, const TPuestoConjunto &) = default;
};

/// The day of every notary side by side: one row for each slot that any of them has, three columns for each
/// notary. A row is the set of lines that were seen side by side, with the n-th line that each notary has of
/// an hour in the n-th row of that hour. It keeps copies of what it shows and follows the tables only when
/// told to, so a command that changes five of them is seen once, at its end. A notary whose table cannot be
/// read has no lines, and is marked.
class TModeloConjunto : public QAbstractTableModel
{
    Q_OBJECT
public:
    /// Beside Qt's roles: whether the notary has no line there, and whether that is only not known.
    enum TPapel { PapelHueco = Qt::UserRole, PapelIlegible };

    explicit TModeloConjunto(QObject *padre);

    /// @param motor     not owned, outlives this. @param nombres  of the notaries, in their order.
    void PonMotor(IAgenda3P &motor, const QStringList &nombres);
    /// Shows what the tables hold of a day by now. Where the slots are the same only cells that differ are
    /// told; lines of another day are left out.
    /// @param conservaFilas  does nothing when slots or lines have come, gone or moved: a cell is being
    /// edited.
    void Relee(QDate dia, bool conservaFilas = false);

    [[nodiscard]] int NumNotarios() const { return static_cast<int>(m_nombres.size()); }
    /// Whether the office has more notaries than are shown.
    [[nodiscard]] bool FaltanNotarios() const { return m_faltan; }
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
    /// The same as it is shown.
    [[nodiscard]] const dataset::SeenRecord &Vista(int fila, int notario) const;
    /// The lines of a row as they are shown.
    [[nodiscard]] THueco Hueco(int fila) const;
    /// Whether something is written in the line of a notary.
    [[nodiscard]] bool EstaOcupada(int fila, int notario) const;
    /// Whether a notary has no line at all while others have some.
    [[nodiscard]] bool LeFaltaLaHoja(int notario) const;
    [[nodiscard]] bool TieneHuecos() const; ///< some notary lacks some slot
    /// Whether a notary's day cannot be shown, so that nothing is known of his slots.
    [[nodiscard]] bool EsIlegible(int notario) const;
    [[nodiscard]] bool HayIlegibles() const;
    /// How many lines a notary has at an hour.
    [[nodiscard]] int LineasA(const QString &hora, int notario) const;
    [[nodiscard]] TPuestoConjunto Puesto(const QModelIndex &celda) const;
    /// Whether what stood at a place is still of the day.
    [[nodiscard]] bool Sigue(const TPuestoConjunto &puesto) const;
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
        dataset::SeenRecord Vista;
        std::array<QString, CamposPorNotario> Textos;
        bool Salida = false;
        static TCelda De(const TLineaAgenda &linea);
        /// Whether they look the same.
        bool operator==(const TCelda &otra) const
        {
            return Vista.bookmark() == otra.Vista.bookmark() && Textos == otra.Textos &&
                   Salida == otra.Salida;
        }
    };
    struct TFila {
        QString Hora;
        int Orden = 0;
        std::array<TCelda, MaxNotarios> Celdas;
    };
    using TFilas = std::map<std::pair<QString, int>, TFila>;
    using TIlegibles = std::array<bool, MaxNotarios>;
    [[nodiscard]] std::vector<TFila> LeeTablas(TIlegibles &ilegibles) const;
    [[nodiscard]] bool LeeTabla(int notario, TFilas &filas) const;
    void CuentaCambios(int notario, const std::vector<TFila> &antes, bool todas);
    [[nodiscard]] const TCelda &CeldaDe(int fila, int notario) const;

    IAgenda3P *m_motor = nullptr;
    QStringList m_nombres;
    std::vector<TFila> m_filas;
    QDate m_dia;
    TIlegibles m_ilegibles{};
    bool m_faltan = false;
    QColor m_colorSalida;
};
