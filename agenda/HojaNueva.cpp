#include "agenda/HojaNueva.h"

#include "agenda/ClaseConfAgendaN.h"
#include "agenda/LineaAgenda.h"
#include "agenda/Rnumcad.h"
#include "agenda/Ruttb.h"
#include "dataset/DatabaseError.h"

#include <QtCore/QLoggingCategory>

using dataset::DataSet;

namespace
{

Q_LOGGING_CATEGORY(registroHoja, "agenda.motor")

bool AnadeHueco(DataSet &tabla, QDate fecha, const QString &hora)
{
    try {
        InsertaLinea(tabla, fecha, hora);
        TBPost(tabla);
        return true;
    } catch (const std::exception &error) {
        qCWarning(registroHoja, "Line %s: %s", qUtf8Printable(hora), error.what());
        CancelaSinPreguntar(tabla);
        return false;
    }
}

QStringList HuecosDeAjustes()
{
    QStringList huecos;
    RecorreHuecos(ParrillaDeAjustes(), [&huecos](int hora, int minuto) {
        huecos << StrCeros(hora, 2) + u':' + StrCeros(minuto, 2);
    });
    return huecos;
}

/// @param hastaElPrimero  ends the sheet at the first line that cannot be added.
/// @return the slots that could not be added.
QStringList AnadeHuecos(DataSet &tabla, QDate fecha, const QStringList &huecos, bool hastaElPrimero)
{
    QStringList perdidos;
    for (const QString &hueco : huecos) {
        if (AnadeHueco(tabla, fecha, hueco))
            continue;
        perdidos << hueco;
        if (hastaElPrimero)
            break;
    }
    return perdidos;
}

} // namespace

TParrilla ParrillaDeAjustes()
{
    const int inicio = goConfAgendaN->GetHoraInicio();
    const int fin = goConfAgendaN->GetHoraFin();
    const int intervalo = goConfAgendaN->GetIntervalo();
    return {[=] { return inicio; }, [=] { return fin; }, [=] { return intervalo; }};
}

QStringList AnadeHojaDelDia(DataSet &tabla, QDate fecha, bool soloSiFalta)
{
    if (!fecha.isValid())
        return {};
    const dataset::ControlsGuard sinAvisos(tabla);
    // In front of the group: the settings are another table's, which may keep one waiting, and colleagues
    // cannot save while the group holds this one.
    const QStringList huecos = HuecosDeAjustes();
    try {
        // All of its lines or none, and no other workstation between them.
        dataset::CommitGroup hoja(tabla);
        if (soloSiFalta && PonRangoDelDia(tabla, fecha))
            return {};
        QuitaRangoDelDia(tabla);
        if (AnadeHuecos(tabla, fecha, huecos, true).isEmpty()) {
            hoja.commit();
            return {};
        }
    } catch (const dataset::EDatabaseError &error) {
        qCWarning(registroHoja, "The sheet could not be written as a whole: %s", error.what());
    }
    // Line by line then, so that each one that cannot be added is named; unless whoever was in the way has
    // built it.
    if (soloSiFalta && PonRangoDelDia(tabla, fecha))
        return {};
    QuitaRangoDelDia(tabla);
    return AnadeHuecos(tabla, fecha, huecos, false);
}
