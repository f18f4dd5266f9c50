// The day of several notaries side by side: a slot is one of all their tables, and each table is written by
// itself.

#include "tests/simulacion/Juez.h"

#include <QtCore/QRegularExpression>

#include <algorithm>

namespace simulacion
{

namespace
{

qsizetype CuantasA(const QList<TFila> &filas, int notario, const QString &hora)
{
    return std::count_if(filas.begin(), filas.end(), [&](const TFila &fila) {
        return fila.Sitio.Notario == notario && fila.Linea.Hora == hora;
    });
}

/// The lines beside the current one: of each notary the one that is as far down among those of its hour.
qsizetype EnLaFila(const TPantalla &pantalla)
{
    const auto actual = std::find_if(pantalla.Filas.begin(), pantalla.Filas.end(),
                                     [&](const TFila &fila) { return fila.Sitio == pantalla.Actual; });
    if (actual == pantalla.Filas.end())
        return 0;
    const qsizetype lugar =
        CuantasA({pantalla.Filas.begin(), actual}, actual->Sitio.Notario, actual->Linea.Hora);
    qsizetype cuantas = 0;
    for (int notario = 1; notario <= Notarios; ++notario)
        cuantas += CuantasA(pantalla.Filas, notario, actual->Linea.Hora) > lugar ? 1 : 0;
    return cuantas;
}

/// How many lines a message of an absence names as not done: "09:00, 10:00: why".
qsizetype HorasNombradas(const QStringList &avisos)
{
    static const QRegularExpression hora(QStringLiteral("(^|, )[\\d ]{2}:[\\d ]{0,2}(?=[,:] )"),
                                         QRegularExpression::MultilineOption);
    return avisos.join(u'\n').count(hora);
}

bool Dice(const QStringList &avisos, QLatin1String que)
{
    return std::any_of(avisos.begin(), avisos.end(), [que](const QString &uno) { return uno.contains(que); });
}

/// A mark that nobody can take away, since the subject does not say which it is.
bool SinCambioPorMarca(const TLinea &linea)
{
    return !linea.Salida.isEmpty() && !linea.Concepto.contains(QLatin1String("[SALIDA]")) &&
           !linea.Concepto.contains(QLatin1String("[AUSENTE]"));
}

} // namespace

/// Whether a command has asked for a new line of the joint day, and for no more than one at its hour.
bool TJuez::PedidaEnConjunta(const TOrden &orden, const TCambio &cambio) const
{
    const int notario = cambio.Sitio.Notario;
    const TLinea &nueva = *cambio.Despues;
    const bool pega = Tiene(orden, pegar) || Tiene(orden, pegarAHora);
    if (!nueva.SinTexto() && !pega)
        return false;
    if (Tiene(orden, completar)) {
        qsizetype deOtros = 0;
        for (int otro = 1; otro <= Notarios; ++otro) {
            deOtros = qMax(deOtros, CuantasA(orden.Pantalla.Filas, otro, nueva.Hora));
            if (otro != notario)
                deOtros = qMax(deOtros, CuantasA(Tabla(otro).Dia(nueva.Fecha), otro, nueva.Hora));
        }
        return CuantasA(Tabla(notario).Dia(nueva.Fecha), notario, nueva.Hora) <= deOtros;
    }
    const auto nuevas = std::count_if(orden.Cambios.begin(), orden.Cambios.end(), [&](const TCambio &uno) {
        return !uno.Antes && uno.Sitio.Notario == notario && uno.Despues->Hora == nueva.Hora;
    });
    // What is typed goes on, and so each letter may ask again; and it may stand there when the command comes.
    const int porOrden = pega || Tiene(orden, nuevo) ? (orden.ConFecha ? 2 : 1) : 0;
    return nuevas <= orden.PreguntasAnadir + porOrden;
}

/// Rule d, table by table: what is refused has done nothing, and what is not has done all of it.
TVeredicto TJuez::JuzgaConjunta(const TOrden &orden, bool muerto) const
{
    const int accion = AccionDe(orden.Pasos.value(0));
    if (orden.Edita || orden.ConFecha)
        return {};
    const auto [borradas, nuevas, cambiadas, vacias] = Cuenta(orden);
    const bool callado = orden.Avisos.isEmpty() && !muerto;
    qsizetype todas = 0; // that were to be written
    // Of those that are refused some would not have changed.
    const auto hechas = [&, son = cambiadas](qsizetype menos) {
        return son <= todas && (muerto || son >= todas - menos);
    };
    const auto hayQueMarcar = [&](const TSitio &sitio) {
        const QList<TLinea> vistas = orden.Vistas.value(sitio);
        return std::none_of(vistas.begin(), vistas.end(), SinCambioPorMarca);
    };
    if (accion == borrar)
        todas = EnLaFila(orden.Pantalla);
    else if (accion == salida)
        todas = std::count_if(orden.Lineas.begin(), orden.Lineas.end(), hayQueMarcar);
    else if (accion == ausente)
        todas =
            std::count_if(orden.Pantalla.Filas.begin(), orden.Pantalla.Filas.end(), [&](const TFila &fila) {
                return fila.Sitio.Notario == orden.Pantalla.Actual.Notario && hayQueMarcar(fila.Sitio);
            });
    bool bien = borradas == 0 && cambiadas == 0 && vacias == nuevas;
    if (orden.Negada)
        bien = orden.Cambios.isEmpty();
    else if (accion == borrar)
        bien = nuevas == 0 && cambiadas == 0 &&
               (callado ? borradas == todas
                        : muerto || borradas == 0 || Dice(orden.Avisos, QLatin1String("Borrada ya")));
    else if (accion == limpiar)
        bien = borradas == 0 && nuevas == 0 && cambiadas <= (orden.Avisos.isEmpty() ? 1 : 0);
    else if (accion == salida)
        bien = borradas == 0 && nuevas == 0 &&
               hechas(std::count_if(orden.Avisos.begin(), orden.Avisos.end(),
                                    [](const QString &uno) { return uno.startsWith(QLatin1String("No ")); }));
    else if (accion == ausente)
        bien = borradas == 0 && nuevas == 0 &&
               (callado ? hechas(0) : hechas(HorasNombradas(orden.Avisos)) || cambiadas == 0);
    else if (accion == pegar || accion == pegarAHora)
        bien = borradas == 0 && (!Dice(orden.Avisos, QLatin1String("No se ha pegado nada")) ||
                                 (cambiadas == 0 && vacias == nuevas));
    else if (accion == nuevo && callado)
        bien = bien && nuevas == Notarios;
    return bien ? TVeredicto() : ConCuentas(orden, todas);
}

} // namespace simulacion
