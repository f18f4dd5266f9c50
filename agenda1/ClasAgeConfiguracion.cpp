// The settings row of the single-table agenda.

#include "agenda/LineaAgenda.h"
#include "agenda/Rnumcad.h"
#include "agenda/Rut.h"
#include "agenda/Ruttb.h"
#include "agenda1/ClasAge.h"

namespace
{

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
    const TMientrasAbierta abierta(*FTabla);
    CompruebaCamposAgenda(*FTabla);
    const bool hay = BuscarPorFecha(FechaAjustes, {}, false);
    if (hay) {
        const TLineaAgenda fila = TLineaAgenda::Actual(*FTabla);
        TAjustesAgenda leidos;
        if (fila.Oficial.trimmed() == Convenio) {
            const QString nombres = Espacios(fila.Interesado, 2 * AnchoNombre);
            leidos.FNotario1 = StrLeft(nombres, AnchoNombre).trimmed();
            leidos.FNotario2 = StrRight(nombres, AnchoNombre).trimmed();
        }
        leidos.FIntervalo = Cad_Int(StrLeft(fila.Hora, 2));
        if (leidos.FIntervalo <= 0)
            leidos.FIntervalo = IntervaloNormal;
        leidos.FHoraInicio = HoraOr(StrLeft(fila.Concepto, 2), InicioNormal);
        leidos.FHoraFin = std::max(HoraOr(StrRight(fila.Concepto, 2), FinNormal), leidos.FHoraInicio);
        m_ajustes = leidos;
    }
    return hay;
}

bool TAgenda::AlmacenaConfiguracion()
{
    return ConGuarda(*FTabla, "AlmacenaConfiguracion", [this] {
        const TMientrasAbierta abierta(*FTabla);
        BuscarPorFecha(FechaAjustes, {}, false);
        FTabla->edit(dataset::EditOf::fresh); // the dialog has its own copy
        TLineaAgenda fila;
        if (DosNotarios()) {
            fila.Oficial = Convenio;
            fila.Interesado =
                AlineaIzda(m_ajustes.FNotario1, AnchoNombre) + AlineaDecha(m_ajustes.FNotario2, AnchoNombre);
        }
        fila.Hora = StrCeros(m_ajustes.FIntervalo, 2);
        fila.Concepto = StrCeros(m_ajustes.FHoraInicio, 2) + StrCeros(m_ajustes.FHoraFin, 2);
        fila.Escribe(*FTabla, std::array{TCampoLinea::oficial, TCampoLinea::interesado, TCampoLinea::hora,
                                         TCampoLinea::concepto});
        TBPost(*FTabla);
        return true;
    });
}
