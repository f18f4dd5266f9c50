#include "tests/simulacion/Recorte.h"

namespace simulacion
{

TResultado Recorta(const TResultado &fallida, int puestos, int intentos)
{
    TResultado corta = fallida;
    for (qsizetype trozo = corta.Pasos.size() / 2; trozo > 0 && intentos > 0;) {
        bool quitado = false;
        // From the end: what stands there is the least that the failure rests on.
        for (qsizetype desde = corta.Pasos.size() - trozo; desde >= 0 && intentos > 0; desde -= trozo) {
            TPasos pasos = corta.Pasos;
            pasos.remove(desde, trozo);
            --intentos;
            const TResultado prueba = TJornada::Repite(pasos, puestos);
            if (prueba.Fallo && prueba.Fallo->EsComo(*fallida.Fallo)) {
                corta = prueba;
                quitado = true;
                desde = qMin(desde, corta.Pasos.size());
            }
        }
        if (!quitado || trozo > 1)
            trozo /= 2;
    }
    return corta;
}

} // namespace simulacion
