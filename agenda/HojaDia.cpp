#include "agenda/HojaDia.h"

#include "agenda/Ruttb.h"

namespace
{

const QString Fecha = QStringLiteral("FECHA");
const QString Hora = QStringLiteral("HORA");
const QString PrimeraHora = QStringLiteral("00:00");
const QString UltimaHora = QStringLiteral("23:59");
constexpr int HoraMayor = 99;

/// Steps over the edge of the shown day, whose range is dropped for it. @return the day landed on, if there
/// is one.
QDate DiaVecino(dataset::DataSet &tabla, TSentido sentido)
{
    const bool vacio = tabla.isEmpty();
    if (sentido == TSentido::anterior) {
        tabla.first();
        QuitaRangoDelDia(tabla);
        // From a day without lines at the end of the table, dropping the range has landed on the last line
        // already.
        if (!(vacio && tabla.eof()))
            tabla.prior();
        return tabla.bof() ? QDate() : tabla.field(Fecha).asDate();
    }
    tabla.last();
    QuitaRangoDelDia(tabla);
    // From a day without lines, dropping the range has landed on the first line behind it already.
    if (!vacio)
        tabla.next();
    return tabla.eof() ? QDate() : tabla.field(Fecha).asDate();
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
        minuto += intervalo;
        if (minuto > 59) {
            minuto -= 60;
            ++hora;
        }
    }
}

bool PonRangoDelDia(dataset::DataSet &tabla, QDate fecha)
{
    if (!fecha.isValid())
        return false;
    const bool hay =
        TBRango(tabla, {{Fecha, fecha}, {Hora, PrimeraHora}}, {{Fecha, fecha}, {Hora, UltimaHora}});
    if (hay)
        tabla.setTag(1);
    return hay;
}

bool HayRangoDelDia(const dataset::DataSet &tabla)
{
    return tabla.tag() == 1;
}

void QuitaRangoDelDia(dataset::DataSet &tabla)
{
    tabla.cancelRange();
    tabla.setTag(0);
}

bool VeAOtroDia(dataset::DataSet &tabla, QDate mostrado, TSentido sentido,
                const std::function<bool(QDate)> &rango)
{
    const dataset::ControlsGuard sinAvisos(tabla);
    QDate destino;
    try {
        destino = DiaVecino(tabla, sentido);
    } catch (...) {
        if (!tabla.isEditing())
            rango(mostrado);
        throw;
    }
    rango(destino.isValid() ? destino : mostrado);
    return destino.isValid();
}
