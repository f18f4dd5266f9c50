#include "agenda/Avisos.h"

#include "agenda/Rnumcad.h"
#include "agenda/host/Servicios.h"

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
