#include "agenda/MotorComun.h"

#include "agenda/AgendaNDM.h"
#include "agenda/LineaAgenda.h"
#include "agenda/Rnumcad.h"
#include "agenda/Ruttb.h"
#include "agenda/host/Servicios.h"

#include <QtCore/QLoggingCategory>

#include <algorithm>

using dataset::DataSet;

namespace
{
Q_LOGGING_CATEGORY(registroComun, "agenda.motor")
} // namespace

void AvisaMotor(const QString &texto, const QString &texto2, const QString &titulo)
{
    TMensaje mensaje;
    mensaje.Texto = texto;
    mensaje.Texto2 = texto2;
    mensaje.Titulo = titulo;
    Servicios().Mensaje->Mensajes(mensaje);
}

bool PreguntaMotor(const QString &texto, const QString &titulo)
{
    TMensaje mensaje;
    mensaje.Clase = TClaseMensaje::pregunta;
    mensaje.Icono = TIconoMensaje::pregunta;
    mensaje.Texto = texto;
    mensaje.Titulo = titulo;
    return Servicios().Mensaje->Mensajes(mensaje) == RespuestaSi;
}

QString NombreDeNotario(int notario)
{
    const TConfig &config = *Servicios().Config;
    if (config.GetnCuantos() != 0)
        return config.GetNotarios().value(notario - 1);
    return config.GetDon() + u' ' + config.GetNombre1();
}

bool PreguntaHojaNueva(QDate fecha)
{
    const QString dia = Date_Cad(fecha);
    return Servicios().Mensaje->Mensaje_SiNo(
               QStringLiteral("¿Desea añadir una hoja a día de %1 (S/N)?").arg(dia),
               QStringLiteral("No hay datos a fecha de %1").arg(dia),
               QStringLiteral("Agenda")) == RespuestaSi;
}

void AvisaHuecoPerdido(const QString &hueco)
{
    AvisaMotor(QStringLiteral("Problemas añadiendo hora: %1 Añadala manualmente").arg(hueco), {},
               TituloAtencionPuntos);
}

void AbreTabla(DataSet &tabla)
{
    tabla.open();
    const QString aviso = tabla.notice();
    if (aviso.isEmpty())
        return;
    qCWarning(registroComun, "%s", qUtf8Printable(aviso));
    AvisaMotor(aviso, {}, TituloAtencionPuntos);
}

void CancelaSinPreguntar(DataSet &tabla)
{
    try {
        if (tabla.isActive())
            tabla.cancel();
    } catch (const std::exception &error) {
        qCWarning(registroComun, "The pending change could not be dropped: %s", error.what());
    }
}

int CuentaNotarios(const TTablasNotarios &tablas)
{
    const auto vacia = std::find(tablas.begin() + 1, tablas.end(), nullptr);
    return static_cast<int>(vacia - tablas.begin()) + 1;
}

void PreparaTablasDelHost(const TTablasNotarios &tablas)
{
    for (DataSet *const tabla : tablas) {
        if (!tabla || !tabla->isActive())
            continue;
        CompruebaCamposAgendaN(*tabla);
        // A day is a range over date and hour; an order that has both is kept as it is.
        TBIndexa(OrdenDeLaAgenda(), *tabla);
    }
}

int AbreTablasDeNotarios(TTablasNotarios &tablas, const std::function<dataset::DbfTable &(int)> &tabla)
{
    const TServicios &servicios = Servicios();
    const int cuantos = std::max(servicios.Config->GetnCuantos(), 1);
    for (int notario = 1; notario <= std::min(cuantos, MaxNotarios); ++notario) {
        dataset::DbfTable &una = tabla(notario);
        una.setDatabaseName(servicios.Rut->AliasNotario(notario));
        una.setIndexFieldNames(QStringLiteral("FECHA"));
        AbreTabla(una);
        CompruebaCamposAgendaN(una);
        tablas[static_cast<std::size_t>(notario - 1)] = &una;
    }
    return cuantos;
}

DataSet *TablaDe(const TTablasNotarios &tablas, int notario)
{
    return notario >= 1 && notario <= MaxNotarios ? tablas[static_cast<std::size_t>(notario - 1)] : nullptr;
}
