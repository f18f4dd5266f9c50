#include "tests/simulacion/Palabras.h"

#include "tests/simulacion/Vocabulario.h"

#include <array>

namespace simulacion
{

QString EnPalabras(const TPaso &paso)
{
    static constexpr std::array verbos{"tecla",
                                       "teclea",
                                       "orden",
                                       "clic en la fila",
                                       "pestaña",
                                       "fecha",
                                       "teclea en el memo",
                                       "responde",
                                       "elige día",
                                       "en la ficha,",
                                       "botón",
                                       "abre",
                                       "refresco",
                                       "sigue",
                                       "muere",
                                       "cambia",
                                       "mueve",
                                       "cambia la hora",
                                       "borra",
                                       "añade",
                                       "bloquea la tabla",
                                       "bloquea la línea",
                                       "suelta"};
    const bool otro = paso.Verbo >= TVerbo::otroCambia;
    QString texto =
        (otro ? QStringLiteral("otro programa: ") : QStringLiteral("puesto %1: ").arg(paso.Puesto + 1)) +
        QString::fromUtf8(verbos.at(static_cast<std::size_t>(paso.Verbo)));
    if (paso.Verbo == TVerbo::tecla)
        texto += u' ' + QString::fromUtf8(Teclas.at(static_cast<std::size_t>(paso.A)).Nombre);
    else if (paso.Verbo == TVerbo::accion)
        texto += u' ' + QLatin1String(Acciones.at(static_cast<std::size_t>(paso.A)));
    else if (paso.Verbo == TVerbo::campo)
        texto += u' ' + QLatin1String(Campos.at(static_cast<std::size_t>(paso.A))) +
                 QStringLiteral(" %1").arg(paso.B);
    else if (paso.Verbo == TVerbo::boton)
        texto += u' ' + QLatin1String(Botones.at(static_cast<std::size_t>(paso.A)));
    else
        texto += QStringLiteral(" %1 %2 %3").arg(paso.A).arg(paso.B).arg(paso.C);
    if (paso.Percance != TPercance::ninguno)
        texto += QStringLiteral(" [llamada %1 %2]")
                     .arg(paso.Llamada)
                     .arg(paso.Percance == TPercance::falla   ? QStringLiteral("falla")
                          : paso.Percance == TPercance::lenta ? QStringLiteral("lenta")
                                                              : QStringLiteral("mortal"));
    return texto;
}

QString EnPalabras(const TCambio &cambio)
{
    return QStringLiteral("notario %1, línea %2: «%3» → «%4»")
        .arg(cambio.Notario)
        .arg(cambio.Marca)
        .arg(cambio.Antes ? cambio.Antes->EnTexto() : QStringLiteral("nada"),
             cambio.Despues ? cambio.Despues->EnTexto() : QStringLiteral("nada"));
}

} // namespace simulacion
