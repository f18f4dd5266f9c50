#include "agenda/AgendaZenDM.h"

#include "agenda/AgendaNDM.h"

#include <array>

using dataset::FieldInfo;
using dataset::FieldKind;

const QList<FieldInfo> &CamposAgenda()
{
    static const QList<FieldInfo> campos = {
        {QStringLiteral("FECHA"), FieldKind::date},
        {QStringLiteral("HORA"), FieldKind::text, 5},
        {QStringLiteral("OFICIAL"), FieldKind::text, 16},
        {QStringLiteral("SALIDA"), FieldKind::text, 1},
        {QStringLiteral("CONCEPTO"), FieldKind::text, 75},
        {QStringLiteral("INTERESADO"), FieldKind::text, 100},
    };
    return campos;
}

const QList<FieldInfo> &CamposAgenda2()
{
    static const QList<FieldInfo> campos = {
        {QStringLiteral("FECHA"), FieldKind::date},
        {QStringLiteral("HORA"), FieldKind::text, 5},
        {QStringLiteral("INTERESADO1"), FieldKind::text, 50},
        {QStringLiteral("OFICIAL1"), FieldKind::text, 8},
        {QStringLiteral("CONCEPTO1"), FieldKind::text, 30},
        {QStringLiteral("INTERESADO2"), FieldKind::text, 50},
        {QStringLiteral("OFICIAL2"), FieldKind::text, 8},
        {QStringLiteral("CONCEPTO2"), FieldKind::text, 30},
        {QStringLiteral("SALIDA"), FieldKind::text, 1},
    };
    return campos;
}

void PreparaTablaAgenda(dataset::DbfTable &tabla)
{
    tabla.setDatabaseName(QStringLiteral("DB"));
    tabla.setTableName(QStringLiteral("AGENDA"));
    tabla.addIndexDefinition(QStringLiteral("FECHA"), QStringLiteral("DTOS(FECHA)+HORA"));
    tabla.setIndexFieldNames(QStringLiteral("FECHA"));
}

void CompruebaCamposAgenda(const dataset::DataSet &tabla)
{
    CompruebaCampos(tabla, CamposAgenda());
    // Both notaries' texts stand side by side in one field: what is cut off is the second one's.
    for (const dataset::FieldInfo &campo : CamposAgenda()) {
        if (tabla.fieldInfo(tabla.fieldIndex(campo.name)).width < campo.width)
            throw dataset::EDatabaseError(
                QStringLiteral("El campo «%1» de la tabla de la agenda es más corto de lo que debe")
                    .arg(campo.name),
                dbase::ErrorKind::unsupported);
    }
}

TDMAgendaZen::TDMAgendaZen(const dataset::Aliases &aliases, QObject *propietario)
    : QObject(propietario)
    , tbAgenda(aliases)
    , tbAgendaN1(aliases)
    , tbAgendaN2(aliases)
    , tbAgendaN3(aliases)
    , tbAgendaN4(aliases)
    , tbAgendaN5(aliases)
{
    PreparaTablaAgenda(tbAgenda);
    for (int n = 1; n <= 5; ++n)
        PreparaTablaAgendaN(tbAgendaN(n));
    // Its lines go to AGENDA: what that one lacks is refused while it is typed.
    cdsAgenda2.setCanKeep([this](QChar letra) { return tbAgenda.canKeep(letra); });
}

TDMAgendaZen::~TDMAgendaZen() = default;

dataset::DbfTable &TDMAgendaZen::tbAgendaN(int n)
{
    const std::array<dataset::DbfTable *, 5> todas = {&tbAgendaN1, &tbAgendaN2, &tbAgendaN3, &tbAgendaN4,
                                                      &tbAgendaN5};
    return *todas.at(static_cast<std::size_t>(n - 1));
}
