#pragma once

#include "dataset/DataSet.h"

#include <QtCore/QDate>
#include <QtCore/QList>
#include <QtCore/QString>

#include <array>
#include <optional>
#include <span>

/// The fields of an agenda line, in the order of its table. A line of the single-table agenda has neither
/// client code nor notice flag.
enum class TCampoLinea { fecha, hora, concepto, codCliente, interesado, oficial, salida, aviso };

/// The name that a table gives to a field.
[[nodiscard]] const QString &NombreDe(TCampoLinea campo);
/// The same in a day of two notaries side by side. @param notario  1 or 2; 0 for a field of both.
[[nodiscard]] QString NombreDe(TCampoLinea campo, int notario);

inline constexpr std::array TodosLosCampos{
    TCampoLinea::fecha,      TCampoLinea::hora,    TCampoLinea::concepto, TCampoLinea::codCliente,
    TCampoLinea::interesado, TCampoLinea::oficial, TCampoLinea::salida,   TCampoLinea::aviso};

/// What goes along when an appointment is copied; date and hour say where it stands.
inline constexpr std::array CamposDeCita{TCampoLinea::concepto,   TCampoLinea::interesado,
                                         TCampoLinea::codCliente, TCampoLinea::oficial,
                                         TCampoLinea::salida,     TCampoLinea::aviso};

/// All that a line of the single-table agenda has.
inline constexpr std::array CamposDeUnica{TCampoLinea::fecha,    TCampoLinea::hora,
                                          TCampoLinea::concepto, TCampoLinea::interesado,
                                          TCampoLinea::oficial,  TCampoLinea::salida};

/// SALIDA of a slot at which the notary is out, and of any other.
inline const QString EstaFuera = QStringLiteral("S");
inline const QString NoEstaFuera = QStringLiteral("N");

/// One line of an agenda: what it says, and the record and image it was read from. Only this type knows how
/// the fields of a line are read and written.
struct TLineaAgenda {
    QDate Fecha;
    QString Hora; ///< time text
    QString Concepto;
    std::optional<double> CodCliente; ///< nothing where the record has none
    QString Interesado;
    QString Oficial;
    QString Salida;
    QString Aviso;
    dataset::SeenRecord Vista; ///< no line for one that has not been read from a table

    /// A free slot as day sheets have it: SALIDA and AVISO "N".
    [[nodiscard]] static TLineaAgenda Nueva(QDate fecha, const QString &hora);
    /// The current line, with what is being typed; blank where there is none. Fields that the table lacks
    /// stay blank.
    [[nodiscard]] static TLineaAgenda Actual(dataset::DataSet &tabla);
    /// A row of the table's range, as it is shown. @param fila  blank outside of the rows.
    [[nodiscard]] static TLineaAgenda DeFila(const dataset::DataSet &tabla, int fila);
    /// A line as it was seen.
    [[nodiscard]] static TLineaAgenda DeVista(const dataset::DataSet &tabla,
                                              const dataset::SeenRecord &vista);

    [[nodiscard]] dataset::Bookmark Registro() const { return Vista.bookmark(); }
    [[nodiscard]] bool EsSalida() const { return Salida == EstaFuera; }
    /// Nobody has written anything into it: nothing is lost when it is written over.
    [[nodiscard]] bool EstaLibre() const
    {
        return Concepto.trimmed().isEmpty() && Interesado.trimmed().isEmpty() && Oficial.trimmed().isEmpty();
    }
    /// Client code without its fraction; 0 where there is none.
    [[nodiscard]] qint64 Codigo() const;
    /// A field as text for the user.
    [[nodiscard]] QString Texto(TCampoLinea campo) const;
    /// Whether all of some fields are the same in both.
    [[nodiscard]] bool DiceLoMismo(const TLineaAgenda &otra, std::span<const TCampoLinea> campos) const;

    /// Writes fields into the record that is being edited or inserted, in the order given; what is too long
    /// is cut at the field's width. @throws dataset::EDatabaseError where there is none, or a field is
    /// missing.
    void Escribe(dataset::DataSet &tabla, std::span<const TCampoLinea> campos) const;
    void Escribe(dataset::DataSet &tabla, TCampoLinea campo) const { Escribe(tabla, std::span(&campo, 1)); }

private:
    [[nodiscard]] QVariant Valor(TCampoLinea campo) const;
    template <class TTextoDe, class TValorDe>
    void Lee(const dataset::DataSet &tabla, TTextoDe &&textoDe, TValorDe &&valorDe);
};

/// The lines that a table's range shows, as they are shown. @throws dataset::EDatabaseError where one cannot
/// be read: a row alone would be blank then.
[[nodiscard]] QList<TLineaAgenda> LineasQueSeVen(const dataset::DataSet &tabla);
/// One field of a row, for who paints: the row is not read whole for it.
[[nodiscard]] QString TextoDeFila(const dataset::DataSet &tabla, int fila, TCampoLinea campo);
/// Leaves a new line in insert mode, with its date, hour and both flags. @throws dataset::EDatabaseError
void InsertaLinea(dataset::DataSet &tabla, QDate fecha, const QString &hora);

/// The order in which an agenda's lines stand, as field names.
[[nodiscard]] const QString &OrdenDeLaAgenda();
/// The key of a day's lines, and of one hour of it, for searches and ranges.
[[nodiscard]] dataset::Key ClaveDelDia(QDate fecha);
[[nodiscard]] dataset::Key ClaveDeHora(QDate fecha, const QString &hora);
