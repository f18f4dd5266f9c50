#include "agenda/LineaAgenda.h"

#include "agenda/Rnumcad.h"
#include "dataset/DatabaseError.h"

#include <algorithm>
#include <cmath>

using dataset::DataSet;

namespace
{

/// The member that holds a field's text; null for fields that are none.
QString TLineaAgenda::*MiembroDe(TCampoLinea campo)
{
    switch (campo) {
    case TCampoLinea::hora:
        return &TLineaAgenda::Hora;
    case TCampoLinea::concepto:
        return &TLineaAgenda::Concepto;
    case TCampoLinea::interesado:
        return &TLineaAgenda::Interesado;
    case TCampoLinea::oficial:
        return &TLineaAgenda::Oficial;
    case TCampoLinea::salida:
        return &TLineaAgenda::Salida;
    case TCampoLinea::aviso:
        return &TLineaAgenda::Aviso;
    case TCampoLinea::fecha:
    case TCampoLinea::codCliente:
        break;
    }
    return nullptr;
}

} // namespace

const QString &NombreDe(TCampoLinea campo)
{
    static const std::array<QString, TodosLosCampos.size()> nombres{
        QStringLiteral("FECHA"),      QStringLiteral("HORA"),       QStringLiteral("CONCEPTO"),
        QStringLiteral("CODCLIENTE"), QStringLiteral("INTERESADO"), QStringLiteral("OFICIAL"),
        QStringLiteral("SALIDA"),     QStringLiteral("AVISO")};
    return nombres.at(static_cast<std::size_t>(campo));
}

QString NombreDe(TCampoLinea campo, int notario)
{
    return notario == 0 ? NombreDe(campo) : NombreDe(campo) + QString::number(notario);
}

// ---------------------------------------------------------------------------------------------------------------------
// Reading

template <class TTextoDe, class TValorDe>
void TLineaAgenda::Lee(const DataSet &tabla, TTextoDe &&textoDe, TValorDe &&valorDe)
{
    for (const TCampoLinea campo : TodosLosCampos) {
        const int indice = tabla.fieldIndex(NombreDe(campo));
        if (indice < 0)
            continue;
        if (const auto miembro = MiembroDe(campo)) {
            this->*miembro = textoDe(indice);
            continue;
        }
        const QVariant valor = valorDe(indice);
        if (campo == TCampoLinea::fecha)
            Fecha = valor.toDate();
        else if (valor.isValid())
            CodCliente = valor.toDouble();
    }
}

TLineaAgenda TLineaAgenda::Nueva(QDate fecha, const QString &hora)
{
    TLineaAgenda linea;
    linea.Fecha = fecha;
    linea.Hora = hora;
    linea.Salida = NoEstaFuera;
    linea.Aviso = NoEstaFuera;
    return linea;
}

TLineaAgenda TLineaAgenda::Actual(DataSet &tabla)
{
    TLineaAgenda linea;
    linea.Lee(
        tabla, [&tabla](int campo) { return tabla.field(campo).asText(); },
        [&tabla](int campo) { return tabla.field(campo).value(); });
    linea.Vista = tabla.seen();
    return linea;
}

TLineaAgenda TLineaAgenda::DeFila(const DataSet &tabla, int fila)
{
    TLineaAgenda linea;
    linea.Lee(
        tabla, [&](int campo) { return tabla.textAt(fila, campo); },
        [&](int campo) { return tabla.valueAt(fila, campo); });
    linea.Vista = tabla.seen(tabla.bookmarkAt(fila));
    return linea;
}

TLineaAgenda TLineaAgenda::DeVista(const DataSet &tabla, const dataset::SeenRecord &vista)
{
    TLineaAgenda linea;
    linea.Lee(
        tabla, [&](int campo) { return tabla.textOf(vista, campo); },
        [&](int campo) { return tabla.valueOf(vista, campo); });
    linea.Vista = vista;
    return linea;
}

qint64 TLineaAgenda::Codigo() const
{
    return static_cast<qint64>(std::trunc(CodCliente.value_or(0)));
}

QString TLineaAgenda::Texto(TCampoLinea campo) const
{
    if (const auto miembro = MiembroDe(campo))
        return this->*miembro;
    return campo == TCampoLinea::fecha ? Date_Cad(Fecha) : QString::number(CodCliente.value_or(0));
}

bool TLineaAgenda::DiceLoMismo(const TLineaAgenda &otra, std::span<const TCampoLinea> campos) const
{
    return std::all_of(campos.begin(), campos.end(),
                       [&](TCampoLinea campo) { return Valor(campo) == otra.Valor(campo); });
}

QList<TLineaAgenda> LineasQueSeVen(const DataSet &tabla)
{
    QList<TLineaAgenda> lineas;
    lineas.reserve(tabla.rowCount());
    for (int fila = 0; fila < tabla.rowCount(); ++fila) {
        lineas << TLineaAgenda::DeFila(tabla, fila);
        if (!lineas.last().Fecha.isValid()) // every line of a range has its date
            throw dataset::EDatabaseError(QStringLiteral("No se pueden leer todas las líneas del día"));
    }
    return lineas;
}

QString TextoDeFila(const DataSet &tabla, int fila, TCampoLinea campo)
{
    return tabla.textAt(fila, tabla.fieldIndex(NombreDe(campo)));
}

// ---------------------------------------------------------------------------------------------------------------------
// Writing

QVariant TLineaAgenda::Valor(TCampoLinea campo) const
{
    if (const auto miembro = MiembroDe(campo))
        return this->*miembro;
    if (campo == TCampoLinea::fecha)
        return Fecha.isValid() ? QVariant(Fecha) : QVariant();
    return CodCliente ? QVariant(*CodCliente) : QVariant();
}

void TLineaAgenda::Escribe(DataSet &tabla, std::span<const TCampoLinea> campos) const
{
    for (const TCampoLinea campo : campos)
        tabla.field(NombreDe(campo)).setValue(Valor(campo));
}

void InsertaLinea(DataSet &tabla, QDate fecha, const QString &hora)
{
    tabla.insert();
    TLineaAgenda::Nueva(fecha, hora)
        .Escribe(tabla,
                 std::array{TCampoLinea::fecha, TCampoLinea::hora, TCampoLinea::salida, TCampoLinea::aviso});
}

// ---------------------------------------------------------------------------------------------------------------------
// Keys

const QString &OrdenDeLaAgenda()
{
    static const QString orden = NombreDe(TCampoLinea::fecha) + u';' + NombreDe(TCampoLinea::hora);
    return orden;
}

dataset::Key ClaveDelDia(QDate fecha)
{
    return {{NombreDe(TCampoLinea::fecha), fecha}};
}

dataset::Key ClaveDeHora(QDate fecha, const QString &hora)
{
    return {{NombreDe(TCampoLinea::fecha), fecha}, {NombreDe(TCampoLinea::hora), hora}};
}
