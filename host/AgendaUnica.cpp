#include "host/AgendaUnica.h"

#include "agenda/LineaAgenda.h"
#include "agenda/Rnumcad.h"
#include "agenda/Rut.h"
#include "agenda/host/Servicios.h"
#include "dataset/DatabaseError.h"

#include <QtCore/QDir>

using dataset::DbfTable;

namespace
{

constexpr int AnchoDeNombre = 50;

/// @return null when there is no such table.
std::unique_ptr<DbfTable> AbreUnica(const dataset::Aliases &aliases)
{
    auto tabla = std::make_unique<DbfTable>(aliases);
    PreparaTablaAgenda(*tabla);
    try {
        tabla->open();
    } catch (const dataset::EDatabaseError &error) {
        if (error.kind() != dbase::ErrorKind::notFound)
            throw;
        return nullptr;
    }
    return tabla;
}

bool TieneAjustes(DbfTable &tabla)
{
    return tabla.locate(ClaveDelDia(FechaAjustes), dataset::SearchMode::nearest) &&
           TLineaAgenda::Actual(tabla).Fecha == FechaAjustes;
}

} // namespace

std::unique_ptr<DbfTable> CreaAgendaUnica(const dataset::Aliases &aliases, const TAjustesUnica &ajustes)
{
    auto tabla = AbreUnica(aliases);
    if (!tabla) {
        const QString carpeta = aliases.folderOf(QStringLiteral("DB"));
        if (!QDir().mkpath(carpeta))
            throw dataset::EDatabaseError(
                QStringLiteral("No se puede crear la carpeta «%1».").arg(QDir::toNativeSeparators(carpeta)));
        DbfTable nueva(aliases);
        PreparaTablaAgenda(nueva);
        nueva.createFile(CamposAgenda());
        tabla = AbreUnica(aliases);
    }
    if (TieneAjustes(*tabla))
        return tabla;
    tabla->append();
    TLineaAgenda fila;
    fila.Fecha = FechaAjustes;
    fila.Hora = StrCeros(ajustes.Intervalo, 2);
    fila.Concepto = StrCeros(ajustes.HoraInicio, 2) + StrCeros(ajustes.HoraFin, 2);
    if (ajustes.Notarios.size() == 2) {
        fila.Oficial = QStringLiteral("CONVENIO");
        fila.Interesado =
            AlineaIzda(ajustes.Notarios[0], AnchoDeNombre) + AlineaDecha(ajustes.Notarios[1], AnchoDeNombre);
    }
    fila.Escribe(*tabla, CamposDeUnica);
    tabla->post();
    return tabla;
}

bool PreparaAgendaUnica(const dataset::Aliases &aliases)
{
    if (const auto tabla = AbreUnica(aliases); tabla && TieneAjustes(*tabla))
        return true;
    if (Servicios().Mensaje->Mensaje_SiNo(
            QStringLiteral("¿Desea crear ahora la agenda única (S/N)?"),
            QStringLiteral("La oficina no tiene todavía una agenda única, o le faltan sus ajustes."),
            QStringLiteral("Agenda única")) != RespuestaSi)
        return false;
    CreaAgendaUnica(aliases, {});
    return true;
}
