#include "agenda/HojaDia.h"

#include "agenda/LineaAgenda.h"
#include "agenda/Ruttb.h"

#include <limits>
#include <vector>

namespace
{

const QString PrimeraHora = QStringLiteral("00:00");
const QString UltimaHora = QStringLiteral("23:59");
constexpr int HoraMayor = 99;

/// Steps over the edge of the shown day, whose range is dropped for it. @return the day landed on, if there
/// is one.
QDate DiaVecino(dataset::DataSet &tabla, QDate mostrado, TSentido sentido)
{
    const bool vacio = tabla.isEmpty();
    // A line without a good hour is of the day and not among its rows: left behind all the same.
    const auto sigueEnElDia = [&] { return TLineaAgenda::Actual(tabla).Fecha == mostrado; };
    if (sentido == TSentido::anterior) {
        tabla.first();
        QuitaRangoDelDia(tabla);
        // From a day without lines at the end of the table, dropping the range has landed on the last line
        // already.
        if (!(vacio && tabla.eof()))
            tabla.prior();
        while (!tabla.bof() && sigueEnElDia())
            tabla.prior();
        return tabla.bof() ? QDate() : TLineaAgenda::Actual(tabla).Fecha;
    }
    tabla.last();
    QuitaRangoDelDia(tabla);
    // From a day without lines, dropping the range has landed on the first line behind it already.
    if (!vacio)
        tabla.next();
    while (!tabla.eof() && sigueEnElDia())
        tabla.next();
    return tabla.eof() ? QDate() : TLineaAgenda::Actual(tabla).Fecha;
}

} // namespace

void RecorreHuecos(const TParrilla &parrilla, const std::function<void(int, int)> &hueco)
{
    int hora = parrilla.HoraInicio();
    int minuto = 0;
    while (hora <= parrilla.HoraFin() && hora <= HoraMayor) {
        hueco(hora, minuto);
        const int intervalo = parrilla.Intervalo();
        if (intervalo <= 0)
            return;
        // Whatever number the office's table holds.
        minuto = intervalo > std::numeric_limits<int>::max() - minuto ? std::numeric_limits<int>::max()
                                                                      : minuto + intervalo;
        if (minuto > 59) {
            minuto -= 60;
            ++hora;
        }
    }
}

bool PonRangoDelDia(dataset::DataSet &tabla, QDate fecha, TLineasDelDia lineas)
{
    if (!fecha.isValid())
        return false;
    const bool hay = lineas == TLineasDelDia::todas
                         ? TBRango(tabla, ClaveDelDia(fecha), ClaveDelDia(fecha))
                         : TBRango(tabla, ClaveDeHora(fecha, PrimeraHora), ClaveDeHora(fecha, UltimaHora));
    if (hay)
        tabla.setTag(1);
    return hay;
}

bool HayRangoDelDia(const dataset::DataSet &tabla)
{
    return tabla.tag() == 1 && tabla.hasRange();
}

void QuitaRangoDelDia(dataset::DataSet &tabla)
{
    tabla.cancelRange();
    tabla.setTag(0);
}

void OrdenaPorDia(dataset::DataSet &tabla)
{
    // An index named after the date alone would do for "FECHA", and no day could be had from it.
    TBIndexa(OrdenDeLaAgenda(), tabla);
    if (!tabla.hasRange())
        tabla.setTag(0);
}

bool BuscaLineaDeFecha(dataset::DataSet &tabla, QDate fecha, const QString &hora, bool exacta)
{
    const bool encontrada = TBBusca(tabla, ClaveDeHora(fecha, hora), exacta);
    if (!exacta && hora.isEmpty())
        return fecha.isValid() && TLineaAgenda::Actual(tabla).Fecha == fecha;
    return encontrada;
}

void RecorreLineas(dataset::DataSet &tabla, const std::function<void()> &trabajo)
{
    tabla.refresh(); // lines that others have moved to another day are not of this one
    const dataset::Bookmark donde = tabla.bookmark();
    // By number: a line that others move or delete meanwhile must not lead the loop astray.
    std::vector<dataset::Bookmark> lineas;
    for (int fila = 0; fila < tabla.rowCount(); ++fila)
        lineas.push_back(tabla.bookmarkAt(fila));
    for (const dataset::Bookmark linea : lineas) {
        if (tabla.rowOf(linea) >= 0 && tabla.goToBookmark(linea))
            trabajo();
    }
    if (!tabla.goToBookmark(donde))
        tabla.first();
}

bool VeAOtroDia(dataset::DataSet &tabla, QDate mostrado, TSentido sentido,
                const std::function<bool(QDate)> &rango)
{
    const dataset::ControlsGuard sinAvisos(tabla);
    const dataset::KeptView vista = tabla.keepView();
    const int marca = tabla.tag();
    try {
        const QDate destino = DiaVecino(tabla, mostrado, sentido);
        rango(destino.isValid() ? destino : mostrado);
        return destino.isValid();
    } catch (...) {
        tabla.showAgain(vista);
        tabla.setTag(marca);
        throw;
    }
}
