#include "agendan/GuardaVentana.h"

#include "agenda/host/Servicios.h"
#include "dataset/DatabaseError.h"

#include <QtCore/QLoggingCategory>

namespace
{

Q_LOGGING_CATEGORY(registroGuarda, "agendan.ventanas")

void Muestra(const QString &texto, TIconoMensaje icono)
{
    TMensaje mensaje;
    mensaje.Texto = texto;
    mensaje.Icono = icono;
    mensaje.Titulo = QStringLiteral(" ATENCIÓN:");
    Servicios().Mensaje->Mensajes(mensaje);
}

} // namespace

bool EjecutaConGuarda(const std::function<void()> &orden)
{
    QString texto;
    try {
        orden();
        return true;
    } catch (const dataset::EDatabaseError &error) {
        texto = error.text();
    } catch (const dataset::EConvertError &error) {
        texto = error.text();
    } catch (const std::exception &error) {
        texto = QString::fromUtf8(error.what());
    }
    AvisaDeError(texto);
    return false;
}

void AvisaDeError(const QString &texto)
{
    qCWarning(registroGuarda) << texto;
    Muestra(texto, TIconoMensaje::error);
}

void AvisaAlUsuario(const QString &texto)
{
    Muestra(texto, TIconoMensaje::advertencia);
}
