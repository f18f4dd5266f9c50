#include "agenda/AgendaNDM.h"

using dataset::FieldInfo;
using dataset::FieldKind;

void PreparaTablaAgendaN(dataset::DbfTable &tabla)
{
    tabla.setTableName(QStringLiteral("AGENDA_N"));
    tabla.addIndexDefinition(QStringLiteral("FECHA"), QStringLiteral("DTOS(FECHA)+HORA"));
    tabla.setIndexFieldNames(QStringLiteral("FECHA"));
}

const QList<FieldInfo> &CamposAgendaN()
{
    static const QList<FieldInfo> campos = {
        {QStringLiteral("FECHA"), FieldKind::date},
        {QStringLiteral("HORA"), FieldKind::text, 5},
        {QStringLiteral("CONCEPTO"), FieldKind::text, 254},
        {QStringLiteral("CODCLIENTE"), FieldKind::number, 20, 4},
        {QStringLiteral("INTERESADO"), FieldKind::text, 100},
        {QStringLiteral("OFICIAL"), FieldKind::text, 16},
        {QStringLiteral("SALIDA"), FieldKind::text, 1},
        {QStringLiteral("AVISO"), FieldKind::text, 1},
    };
    return campos;
}

void CompruebaCamposAgendaN(const dataset::DataSet &tabla)
{
    CompruebaCampos(tabla, CamposAgendaN());
}

void CompruebaCampos(const dataset::DataSet &tabla, const QList<FieldInfo> &campos)
{
    for (const FieldInfo &campo : campos) {
        if (tabla.fieldIndex(campo.name) < 0)
            throw dataset::EDatabaseError(
                QStringLiteral("La tabla de la agenda no tiene el campo «%1»").arg(campo.name),
                dbase::ErrorKind::unsupported);
    }
}

TDMAgendaN::TDMAgendaN(const dataset::Aliases &aliases, QObject *propietario)
    : QObject(propietario)
    , TAgendaN1(aliases)
    , TAgendaN2(aliases)
    , TAgendaN3(aliases)
    , TAgendaN4(aliases)
    , TAgendaN5(aliases)
{
    for (int n = 1; n <= 5; ++n)
        PreparaTablaAgendaN(TAgendaN(n));
}

TDMAgendaN::~TDMAgendaN() = default;

dataset::DbfTable &TDMAgendaN::TAgendaN(int n)
{
    const std::array<dataset::DbfTable *, 5> todas = {&TAgendaN1, &TAgendaN2, &TAgendaN3, &TAgendaN4,
                                                      &TAgendaN5};
    return *todas.at(static_cast<std::size_t>(n - 1));
}

const QList<FieldInfo> &CamposAgendaSemanal()
{
    static const QList<FieldInfo> campos = [] {
        QList<FieldInfo> lista{{QStringLiteral("SEMISEMANA"), FieldKind::integer}};
        const QList<FieldInfo> porDia = {{QStringLiteral("HORA_"), FieldKind::text, 5},
                                         {QStringLiteral("CONCEPTO_"), FieldKind::text, 75},
                                         {QStringLiteral("INTERESADO_"), FieldKind::text, 100},
                                         {QStringLiteral("OFICIAL_"), FieldKind::text, 16},
                                         {QStringLiteral("SALIDA_"), FieldKind::text, 1}};
        for (const FieldInfo &campo : porDia) {
            for (int dia = 1; dia <= 3; ++dia)
                lista.append({campo.name + QString::number(dia), campo.kind, campo.width});
        }
        return lista;
    }();
    return campos;
}
