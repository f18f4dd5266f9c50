#include "tests/simulacion/Vocabulario.h"

#include <algorithm>

namespace simulacion
{

TLinea LineaDe(TCual cual, const QString &fecha, const std::function<QString(const char *)> &texto)
{
    if (cual != TCual::doble) {
        const QString salida = cual == TCual::multi ? QString() : texto("SALIDA");
        const bool nada = cual == TCual::conjunta && salida != u"S"; // told by a colour, or none
        return {fecha,
                texto("HORA"),
                texto("CONCEPTO"),
                texto("INTERESADO"),
                texto("OFICIAL"),
                nada ? QString() : salida};
    }
    const auto dos = [&texto](const char *campo1, const char *campo2) {
        const QString uno = texto(campo1);
        const QString otro = texto(campo2);
        return uno.isEmpty() && otro.isEmpty() ? QString() : uno + EntreMitades + otro;
    };
    return {fecha,
            texto("HORA"),
            dos("CONCEPTO1", "CONCEPTO2"),
            dos("INTERESADO1", "INTERESADO2"),
            dos("OFICIAL1", "OFICIAL2"),
            texto("SALIDA")};
}

QString NombreDeAccion(int accion)
{
    const auto &nombres = Acciones.at(static_cast<std::size_t>(accion));
    return QString::fromUtf8(
        *std::find_if(nombres.begin(), nombres.end(), [](const char *uno) { return uno != nullptr; }));
}

QString EnPalabras(const TPaso &paso)
{
    static const QStringList verbos =
        QStringLiteral(
            "tecla|teclea|orden|clic en la fila|pestaña|fecha|teclea en el memo|responde|elige día|en la "
            "ficha,|botón|abre|refresco|sigue|muere|cambia|mueve|cambia la hora|borra|añade|bloquea la "
            "tabla|bloquea la línea|suelta")
            .split(u'|');
    static const QStringList percances{{}, "falla", "lenta", "mortal", "rota"};
    static const QStringList llamadas{"al leer", "al proyectar", "al abrir", "al bloquear", "al reservar"};
    const bool otro = paso.Verbo >= TVerbo::otroCambia;
    QString texto =
        (otro ? QStringLiteral("otro programa: ") : QStringLiteral("puesto %1: ").arg(paso.Puesto + 1)) +
        verbos.at(static_cast<int>(paso.Verbo));
    if (paso.Verbo == TVerbo::tecla)
        texto += u' ' + QString::fromUtf8(Teclas.at(static_cast<std::size_t>(paso.A)).Nombre);
    else if (paso.Verbo == TVerbo::accion)
        texto += u' ' + NombreDeAccion(paso.A);
    else if (paso.Verbo == TVerbo::campo)
        texto += u' ' +
                 QLatin1String(paso.A < enOficial ? Campos.at(static_cast<std::size_t>(paso.A))
                                                  : CamposDelPanel.at(static_cast<std::size_t>(paso.A))) +
                 QStringLiteral(" %1").arg(paso.B);
    else if (paso.Verbo == TVerbo::boton)
        texto += u' ' + QLatin1String(Botones.at(static_cast<std::size_t>(paso.A)));
    else
        texto += QStringLiteral(" %1 %2 %3").arg(paso.A).arg(paso.B).arg(paso.C);
    if (paso.Percance != TPercance::ninguno)
        texto += QStringLiteral(" [llamada %1 %2 %3]")
                     .arg(paso.Llamada)
                     .arg(llamadas.value(paso.C), percances.at(static_cast<int>(paso.Percance)));
    return texto;
}

} // namespace simulacion
