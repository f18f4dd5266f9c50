#include "agenda/GuardaVentana.h"

#include "agenda/Avisos.h"
#include "agenda/host/Servicios.h"
#include "dataset/DatabaseError.h"

#include <QtCore/QLoggingCategory>

namespace
{

Q_LOGGING_CATEGORY(registroGuarda, "agenda.ventanas")

} // namespace

bool EjecutaConGuarda(const std::function<void()> &orden)
{
    QString texto;
    try {
        orden();
        return true;
    } catch (const std::exception &error) {
        texto = dataset::plainText(error);
    }
    AvisaDeError(texto);
    return false;
}

void AvisaDeError(const QString &texto)
{
    qCWarning(registroGuarda) << texto;
    TMensaje mensaje;
    mensaje.Texto = texto;
    mensaje.Icono = TIconoMensaje::error;
    mensaje.Titulo = TituloAtencionPuntos;
    Servicios().Mensaje->Mensajes(mensaje);
}

void AvisaAlUsuario(const QString &texto)
{
    AvisaMotor(texto, {}, TituloAtencionPuntos);
}
