// The settings row of the single-table agenda.

#include "agenda/MotorComun.h"
#include "agenda/Rnumcad.h"
#include "agenda/Rut.h"
#include "agenda/Ruttb.h"
#include "agenda1/ClasAge.h"
#include "dataset/DatabaseError.h"

#include <QtCore/QLoggingCategory>

namespace
{

Q_LOGGING_CATEGORY(registroAjustes, "agenda.unica")

const QString Convenio = QStringLiteral("CONVENIO");
constexpr int AnchoNombre = 50;
constexpr int IntervaloNormal = 30;
constexpr int InicioNormal = 9;
constexpr int FinNormal = 20;

int HoraOr(const QString &texto, int normal)
{
    const int hora = Cad_Int(texto);
    return hora >= 1 && hora < 24 ? hora : normal;
}

} // namespace

bool TAgenda::SeleccionaConfiguracion()
{
    AbreTabla(*FTabla);
    CompruebaCamposAgenda(*FTabla);
    TBBusca(*FTabla, {{"FECHA", FechaAjustes}, {"HORA", QString()}}, false);
    const bool hay = FTabla->field(u"FECHA").asDate() == FechaAjustes;
    if (hay) {
        TAjustesAgenda leidos;
        if (FTabla->field(u"OFICIAL").asText().trimmed() == Convenio) {
            const QString nombres = Espacios(FTabla->field(u"INTERESADO").asText(), 2 * AnchoNombre);
            leidos.FNotario1 = StrLeft(nombres, AnchoNombre).trimmed();
            leidos.FNotario2 = StrRight(nombres, AnchoNombre).trimmed();
        }
        leidos.FIntervalo = Cad_Int(StrLeft(FTabla->field(u"HORA").asText(), 2));
        if (leidos.FIntervalo <= 0)
            leidos.FIntervalo = IntervaloNormal;
        const QString horas = FTabla->field(u"CONCEPTO").asText();
        leidos.FHoraInicio = HoraOr(StrLeft(horas, 2), InicioNormal);
        leidos.FHoraFin = std::max(HoraOr(StrRight(horas, 2), FinNormal), leidos.FHoraInicio);
        m_ajustes = leidos;
    }
    FTabla->close();
    return hay;
}

bool TAgenda::AlmacenaConfiguracion()
{
    bool hecho = false;
    try {
        AbreTabla(*FTabla);
        TBBusca(*FTabla, {{"FECHA", FechaAjustes}, {"HORA", QString()}}, false);
        FTabla->edit(dataset::EditOf::fresh); // the dialog has its own copy
        FTabla->field(u"OFICIAL").setText(DosNotarios() ? Convenio : QString());
        FTabla->field(u"INTERESADO")
            .setText(DosNotarios() ? AlineaIzda(m_ajustes.FNotario1, AnchoNombre) +
                                         AlineaDecha(m_ajustes.FNotario2, AnchoNombre)
                                   : QString());
        FTabla->field(u"HORA").setText(StrCeros(m_ajustes.FIntervalo, 2));
        FTabla->field(u"CONCEPTO")
            .setText(StrCeros(m_ajustes.FHoraInicio, 2) + StrCeros(m_ajustes.FHoraFin, 2));
        TBPost(*FTabla);
        hecho = true;
    } catch (const std::exception &error) {
        qCWarning(registroAjustes, "The settings could not be stored: %s", error.what());
        CancelaSinPreguntar(*FTabla);
    }
    try {
        FTabla->close();
    } catch (const std::exception &error) { // what was posted is safe
        qCWarning(registroAjustes, "Closing the agenda: %s", error.what());
    }
    return hecho;
}
