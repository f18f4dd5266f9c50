// The day of two notaries: its clerk works on a copy, and what he accepts is brought together with what
// others have written. A line may change its record by that, so lines are known by what they say.

#include "tests/simulacion/Juez.h"

#include <algorithm>

namespace simulacion
{

namespace
{

constexpr qsizetype ParteSalida = 1;

/// The fields of a line, each notary's for itself, the hour first.
QStringList Partes(const TLinea &linea)
{
    QStringList partes{linea.Hora, linea.Salida};
    for (const QString &texto : {linea.Concepto, linea.Interesado, linea.Oficial})
        partes << texto.section(EntreMitades, 0, 0) << texto.section(EntreMitades, 1);
    return partes;
}

/// How alike two lines are; one of another hour is the less so.
int Iguales(const TLinea &una, const TLinea &otra)
{
    const QStringList partes = Partes(una);
    const QStringList otras = Partes(otra);
    auto cuantas = una.Hora == otra.Hora ? static_cast<int>(partes.size()) : 0;
    for (qsizetype parte = 0; parte < partes.size(); ++parte)
        cuantas += partes.at(parte) == otras.at(parte) ? 1 : 0;
    return cuantas;
}

/// How likely a line has become another. An outing or absence changes what it marks, and nothing else.
int Parecido(TLinea antes, TLinea despues, bool marca)
{
    constexpr int Peso = 100;
    const int todo = Iguales(antes, despues);
    if (!marca)
        return todo;
    for (TLinea *const una : {&antes, &despues})
        una->Interesado = una->Salida = QString();
    return Peso * Iguales(antes, despues) + todo;
}

/// Takes the lines of one list out of another. @return those that are not in it.
QList<TLinea> Quita(const QList<TLinea> &estas, QList<TLinea> &de)
{
    QList<TLinea> sobran;
    for (const TLinea &una : estas)
        if (!de.removeOne(una))
            sobran << una;
    return sobran;
}

QString EnRenglones(const QList<TLinea> &lineas)
{
    QStringList renglones;
    for (const TLinea &una : lineas)
        renglones << una.EnTexto();
    return renglones.join(u'\n');
}

QList<TLinea> EnFilas(const QList<TFila> &filas)
{
    QList<TLinea> lineas;
    for (const TFila &fila : filas)
        lineas << fila.Linea;
    return lineas;
}

} // namespace

QList<TLinea> TJuez::SinMostrar(const QList<TLinea> &borradas, const TPantalla &pantalla) const
{
    QList<TLinea> faltan = EnFilas(m_tablas.front()->Dia(Clave(pantalla.Fecha)));
    Quita(EnFilas(pantalla.Filas), faltan);
    QList<TLinea> siguen = borradas;
    for (const TLinea &mostrada : Quita(borradas, faltan))
        siguen.removeOne(mostrada);
    return siguen;
}

/// How many lines of the screen AGENDA did not hold any more when the command was written: of these both
/// versions may have been kept.
int TJuez::PuedenChocar(const TOrden &orden, const TMemoria &memoria) const
{
    QList<TLinea> antes = m_tablas.front()->Lineas().values();
    for (const TCambio &cambio : orden.Cambios)
        if (cambio.Antes)
            antes << *cambio.Antes;
    for (const TCambio &cambio : orden.Cambios)
        if (cambio.Despues)
            antes.removeOne(*cambio.Despues);
    Quita(memoria.Borradas, antes); // none of them stands on the screen, whatever they say
    return static_cast<int>(Quita(EnFilas(orden.Pantalla.Filas), antes).size());
}

/// Rules a, b and d, once a command is done: what has gone from AGENDA, and what has come.
TVeredicto TJuez::JuzgaCitas(const TOrden &orden, const TMemoria &memoria, const TRespuesta &ahora) const
{
    QList<TLinea> idas;
    QList<TLinea> llegadas;
    for (const TCambio &cambio : orden.Cambios) {
        if (cambio.Antes)
            idas << *cambio.Antes;
        if (cambio.Despues)
            llegadas << *cambio.Despues;
    }
    const QList<TLinea> todas = llegadas;
    idas = Quita(idas, llegadas); // the others have only changed their records, or come back
    const bool marca = TieneMarca(orden);
    const QString cuentas = QStringLiteral("%1 se van:\n%2\n%3 llegan:\n%4\navisos: %5")
                                .arg(idas.size())
                                .arg(EnRenglones(idas))
                                .arg(llegadas.size())
                                .arg(EnRenglones(llegadas), orden.Avisos.join(QStringLiteral(" / ")));
    if (marca || Tiene(orden, volver)) {
        QList<TLinea> quitadas; // their records are free; one that is written over is no deletion
        for (const TCambio &cambio : orden.Cambios)
            if (!cambio.Despues)
                quitadas << *cambio.Antes;
        QList<TLinea> borradas = memoria.Borradas;
        for (const TLinea &sigue : Quita(memoria.Borradas, quitadas))
            borradas.removeOne(sigue);
        idas = Quita(idas, borradas);
        for (const TLinea &una : std::as_const(borradas)) // gone, while another line has come to say the same
            if (llegadas.size() < idas.size() && todas.contains(una))
                llegadas << una;
    }
    const bool escribe = marca || orden.Edita || Tiene(orden, pegar);
    const bool negada = !orden.Edita && !orden.Avisos.isEmpty() && orden.Choques == 0;
    const bool hoja = !escribe && !orden.Negada && idas.isEmpty() && orden.Pantalla.Filas.isEmpty();
    if (orden.Negada && !orden.Edita && !orden.Cambios.isEmpty())
        return Fallo('d', QStringLiteral("dijo que no: ") + cuentas);
    if (negada && !hoja && !(idas.isEmpty() && llegadas.isEmpty()))
        return Fallo('d', QStringLiteral("algo queda de lo que no se pudo: ") + cuentas);
    for (const TLinea &ida : std::as_const(idas)) {
        const auto suya =
            std::max_element(llegadas.begin(), llegadas.end(), [&](const TLinea &una, const TLinea &otra) {
                return Parecido(ida, una, marca) < Parecido(ida, otra, marca);
            });
        if (!escribe || suya == llegadas.end())
            return Fallo('a', QStringLiteral("nadie la ha borrado: ") + ida.EnTexto() + u'\n' + cuentas);
        if (auto fallo = JuzgaPareja(orden, ida, *suya))
            return fallo;
        llegadas.erase(suya);
    }
    if (hoja) { // perhaps the sheet of a day that had none
        for (const TCambio &cambio : orden.Cambios)
            if (auto fallo = cambio.Despues ? JuzgaNueva(orden, cambio) : std::nullopt)
                return fallo;
        return {};
    }
    // An hour is named once, however many of its lines have clashed.
    const int dobles = orden.Choques > 0 ? std::max(orden.Choques, PuedenChocar(orden, memoria)) : 0;
    if (llegadas.size() > (Tiene(orden, nuevo) ? 1 : 0) + dobles)
        return Fallo('b', QStringLiteral("nadie la ha pedido: ") + cuentas);
    const bool refrescable = ahora.Estado == TEstado::listo && orden.Avisos.isEmpty() && !orden.Negada;
    if (refrescable && Tiene(orden, borrar) && ahora.Pantalla.Filas.size() + 1 != orden.Pantalla.Filas.size())
        return Fallo('d', QStringLiteral("lo borrado sigue en pantalla"));
    if (negada && marca && EnFilas(ahora.Pantalla.Filas) != EnFilas(orden.Pantalla.Filas))
        return Fallo('d', QStringLiteral("en pantalla queda algo de lo que no se pudo: ") +
                              EnRenglones(EnFilas(ahora.Pantalla.Filas)));
    return {};
}

/// What a command has taken out of a line stood on the screen, in the line that it was about.
TVeredicto TJuez::JuzgaPareja(const TOrden &orden, const TLinea &antes, const TLinea &despues) const
{
    const QStringList partes = Partes(antes);
    const QStringList nuevas = Partes(despues);
    const bool todas = Tiene(orden, ausente) || Tiene(orden, ausenteElOtro);
    QList<TLinea> vistas{orden.Pantalla.Filas.value(orden.Pantalla.FilaActual).Linea};
    if (todas)
        vistas = EnFilas(orden.Pantalla.Filas);
    else if (Tiene(orden, nuevo))
        vistas.clear();
    for (qsizetype parte = 0; parte < partes.size(); ++parte) {
        const QString &texto = partes.at(parte);
        if (texto.isEmpty() || texto == nuevas.at(parte))
            continue;
        if (parte == ParteSalida && TieneMarca(orden))
            continue; // one number for both notaries: the last mark has it
        const bool vista = std::any_of(vistas.begin(), vistas.end(),
                                       [&](const TLinea &una) { return Partes(una).at(parte) == texto; });
        if (!vista)
            return Fallo('a', antes.EnTexto() + QStringLiteral(" → ") + despues.EnTexto() +
                                  QStringLiteral("; en pantalla: ") + EnRenglones(vistas));
    }
    return {};
}

/// Rule c: after a reload the screen holds what AGENDA does, without the lines that are deleted here.
TVeredicto TJuez::AlDiaDeDos(const TPantalla &pantalla, TMemoria &memoria) const
{
    if (pantalla.Fecha.isEmpty() || pantalla.Editando || !pantalla.Ayuda.isEmpty())
        return {};
    QList<TLinea> faltan = EnFilas(m_tablas.front()->Dia(Clave(pantalla.Fecha)));
    const QList<TLinea> filas = EnFilas(pantalla.Filas);
    const QList<TLinea> sobran = Quita(filas, faltan);
    QList<TLinea> borradas = memoria.Borradas;
    const QList<TLinea> perdidas = Quita(faltan, borradas);
    const bool enOrden = EnOrden(pantalla.Filas);
    memoria.Borradas = faltan; // others may have taken the rest, or shown it again by a change
    if (sobran.isEmpty() && perdidas.isEmpty() && enOrden)
        return {};
    return Fallo('c', QStringLiteral("tras refrescar sobran en pantalla\n%1\ny faltan\n%2%3")
                          .arg(EnRenglones(sobran), EnRenglones(perdidas),
                               enOrden ? QString() : QStringLiteral("\nsin el orden de las horas")));
}

} // namespace simulacion
