#include "agenda1/DiaDeDos.h"

#include "agenda/AgendaZenDM.h"
#include "agenda/Ruttb.h"

#include <algorithm>
#include <utility>

using dataset::Bookmark;

namespace
{

auto ConRegistro(TFilasDia &filas, Bookmark registro)
{
    return std::find_if(filas.begin(), filas.end(), [registro](const TFilaDia &una) {
        return registro != 0 && una.Registro == registro;
    });
}

} // namespace

// ---------------------------------------------------------------------------------------------------------------------
// In the table

TFilasDia TDiaDeDos::DeTabla() const
{
    const dataset::ControlsGuard sinAvisos(m_tabla);
    if (m_dia.Mostrado() != m_fecha) // a report could not come back to it
        m_dia.Muestra(m_fecha);
    else
        m_tabla.refresh();
    TFilasDia filas;
    for (m_tabla.first(); !m_tabla.eof(); m_tabla.next()) {
        if (const TLineaAgenda linea = TLineaAgenda::Actual(m_tabla); linea.Fecha == m_fecha)
            filas.push_back(Desempaqueta(linea));
    }
    return filas;
}

/// Writes a line over its record, or as a new one. @return the line as the table has it now.
TFilaDia TDiaDeDos::EscribeFila(const TFilaDia &fila)
{
    if (fila.Registro == 0) {
        m_tabla.append();
    } else {
        if (!m_tabla.goToBookmark(fila.Registro) || TLineaAgenda::Actual(m_tabla).Fecha != m_fecha)
            throw dataset::EDatabaseError(QStringLiteral("Una línea del día ya no está en su sitio."));
        m_tabla.edit(dataset::EditOf::fresh); // what others wrote is part of the line already
    }
    Empaqueta(fila, m_fecha, m_tabla);
    TBPost(m_tabla);
    return Desempaqueta(TLineaAgenda::Actual(m_tabla));
}

// ---------------------------------------------------------------------------------------------------------------------
// In memory

TFilasDia TDiaDeDos::DeMemoria() const
{
    TFilasDia filas;
    for (int fila = 0; fila < m_memoria.rowCount(); ++fila) {
        TFilaDia una{m_registros.value(m_memoria.bookmarkAt(fila)), {}};
        for (std::size_t campo = 0; campo < NumCamposDia; ++campo)
            una.Valores[campo] = m_memoria.textAt(fila, m_memoria.fieldIndex(NombreEnDia(campo)));
        filas.push_back(una);
    }
    return filas;
}

TFilaDia TDiaDeDos::LineaActual() const
{
    TFilaDia fila;
    if (m_memoria.state() != dataset::DataSet::State::insert)
        fila.Registro = m_registros.value(m_memoria.bookmark());
    for (std::size_t campo = 0; campo < NumCamposDia; ++campo)
        fila.Valores[campo] = m_memoria.field(NombreEnDia(campo)).asText();
    return fila;
}

void TDiaDeDos::PonEnMemoria(const TFilasDia &filas)
{
    const dataset::ControlsGuard sinAvisos(m_memoria);
    CancelaSinPreguntar(m_memoria);
    m_memoria.close();
    m_memoria.create(CamposAgenda2());
    m_registros.clear();
    TLineaAgenda suDia;
    suDia.Fecha = m_fecha;
    for (const TFilaDia &fila : filas) {
        m_memoria.append();
        suDia.Escribe(m_memoria, TCampoLinea::fecha);
        for (std::size_t campo = 0; campo < NumCamposDia; ++campo)
            m_memoria.field(NombreEnDia(campo)).setText(fila.Valores[campo]);
        m_memoria.post();
        m_registros.insert(m_memoria.bookmark(), fila.Registro);
    }
    m_memoria.first();
}

/// Goes to a line by what is left of it: its record, or else its values, or else the next hour, or the last
/// one.
void TDiaDeDos::VuelveA(const TFilaDia &linea)
{
    TFilasDia filas = DeMemoria();
    const auto busca = [&filas](const auto &es) { return std::find_if(filas.begin(), filas.end(), es); };
    auto sitio = ConRegistro(filas, linea.Registro);
    if (sitio == filas.end())
        sitio = busca([&linea](const TFilaDia &una) { return una.Valores == linea.Valores; });
    if (sitio == filas.end())
        sitio =
            busca([&linea](const TFilaDia &una) { return una.Valores[DiaHora] >= linea.Valores[DiaHora]; });
    if (sitio != filas.end())
        m_memoria.setCurrentRow(static_cast<int>(sitio - filas.begin()));
    else
        m_memoria.last();
}

// ---------------------------------------------------------------------------------------------------------------------
// Both

void TDiaDeDos::Carga(QDate fecha)
{
    const QDate antes = std::exchange(m_fecha, fecha);
    try {
        m_base = DeTabla();
    } catch (...) {
        m_fecha = antes;
        throw;
    }
    PonEnMemoria(m_base);
}

QStringList TDiaDeDos::Recarga()
{
    const dataset::ControlsGuard sinAvisos(m_memoria);
    TFilasDia suyas = DeTabla();
    const TFilasDia mias = DeMemoria();
    const TFusionDia fusion = FundeDia(m_base, mias, suyas);
    m_base = std::move(suyas);
    if (fusion.Filas != mias) { // else the grid stays as it is, also where it has been scrolled to
        const TFilaDia donde = LineaActual();
        PonEnMemoria(fusion.Filas);
        VuelveA(donde);
    }
    return fusion.Choques;
}

void TDiaDeDos::Deshaz()
{
    const dataset::ControlsGuard sinAvisos(m_memoria);
    const TFilaDia donde = LineaActual();
    TFilasDia filas;
    for (const TFilaDia &mia : DeMemoria()) {
        const auto antes = ConRegistro(m_base, mia.Registro);
        if (antes != m_base.end())
            filas.push_back(*antes);
    }
    PonEnMemoria(filas);
    VuelveA(donde);
}

/// Brings the day together with AGENDA's and writes what differs from that.
/// @param mias  the day here, the line that is being edited with it.
QStringList TDiaDeDos::Guarda(const TFilasDia &mias, TBorradas borradas)
{
    const dataset::ControlsGuard sinAvisos(m_memoria);
    TFilaDia donde = LineaActual();
    TFusionDia fusion;
    {
        // Another workstation, a killed process or a full disk sees the old day or the new one, never a part.
        const dataset::ControlsGuard sinAvisosDeAgenda(m_tabla);
        const dataset::PendingEditGuard sinResto(m_tabla);
        dataset::CommitGroup grupo(m_tabla);
        TFilasDia sobran = DeTabla();
        fusion = FundeDia(m_base, mias, sobran);
        for (TFilaDia &fila : fusion.Filas) {
            const auto suya = ConRegistro(sobran, fila.Registro);
            if (suya == sobran.end() || *suya != fila) {
                fila = EscribeFila(fila);
                if (borradas == TBorradas::quedan)
                    donde = fila; // the accepted line, perhaps in a record of its own
            }
            if (suya != sobran.end())
                sobran.erase(suya);
        }
        if (borradas == TBorradas::seVan) {
            for (const TFilaDia &una : std::exchange(sobran, {})) {
                if (m_tabla.goToBookmark(una.Registro))
                    TBDelete(m_tabla);
            }
        }
        grupo.commit();
        m_base = fusion.Filas;
        m_base.insert(m_base.end(), sobran.begin(), sobran.end());
    }
    if (m_memoria.isEditing() || DeMemoria() != fusion.Filas) {
        PonEnMemoria(fusion.Filas);
        VuelveA(donde);
    }
    return fusion.Choques;
}

QStringList TDiaDeDos::Acepta()
{
    const TFilaDia mia = LineaActual();
    const auto leida = ConRegistro(m_base, mia.Registro);
    if (!m_memoria.isModified() || (leida != m_base.end() && leida->Valores == mia.Valores)) {
        m_memoria.cancel();
        return {};
    }
    TFilasDia mias = DeMemoria();
    if (m_memoria.state() == dataset::DataSet::State::insert) // no row yet
        mias.push_back(mia);
    else
        mias[static_cast<std::size_t>(m_memoria.currentRow())] = mia;
    return Guarda(mias, TBorradas::quedan);
}

QStringList TDiaDeDos::Escribe()
{
    return Guarda(DeMemoria(), TBorradas::seVan);
}
