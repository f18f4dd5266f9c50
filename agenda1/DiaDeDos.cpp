#include "agenda1/DiaDeDos.h"

#include "agenda/AgendaZenDM.h"
#include "agenda/LineaAgenda.h"
#include "agenda/Ruttb.h"

#include <algorithm>
#include <limits>
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

/// Puts a line in the place of the one of a record, or behind the others.
void Pon(TFilasDia &filas, Bookmark registro, const TFilaDia &linea)
{
    const auto sitio = ConRegistro(filas, registro);
    if (sitio == filas.end())
        filas.push_back(linea);
    else
        *sitio = linea;
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
        if (TLineaAgenda::Actual(m_tabla).Fecha == m_fecha)
            filas.push_back(Desempaqueta(m_tabla));
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
    return Desempaqueta(m_tabla);
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

/// Goes to a line by what is left of it: its record, or else its values, or else its hour.
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

/// The three versions of the day while a line is accepted: kept as the commit leaves them.
struct TDiaDeDos::TVersiones {
    TFilasDia Base;
    TFilasDia Mias;
    TFilasDia Suyas;
    std::vector<std::optional<std::size_t>> Parejas; ///< of Base in Suyas

    void Empareja(TFilaDia &mia);
};

/// Finds each line of the base again in the table, and gives it here the record that it has there by now; one
/// that has gone gets a record that no line has. @param mia  the accepted line.
void TDiaDeDos::TVersiones::Empareja(TFilaDia &mia)
{
    Parejas = ::Empareja(Base, Suyas);
    QHash<Bookmark, Bookmark> ahora;
    for (std::size_t i = 0; i < Base.size(); ++i)
        ahora.insert(Base[i].Registro, Parejas[i]
                                           ? Suyas[*Parejas[i]].Registro
                                           : std::numeric_limits<Bookmark>::max() - static_cast<Bookmark>(i));
    const auto renumera = [&ahora](TFilaDia &una) { una.Registro = ahora.value(una.Registro, una.Registro); };
    std::for_each(Base.begin(), Base.end(), renumera);
    std::for_each(Mias.begin(), Mias.end(), renumera);
    renumera(mia);
}

/// Brings the accepted line together with the one of the table that it comes from.
/// @param mia  with the record that it was read from; afterwards with the one that it is to be written over,
/// 0 for a line of its own.
/// @return false when others have changed or deleted that one: theirs is to stay.
bool TDiaDeDos::JuntaConLaSuya(TFilaDia &mia, const TVersiones &dia)
{
    const TFilasDia &base = dia.Base;
    const auto antes = std::find_if(base.begin(), base.end(),
                                    [&mia](const TFilaDia &una) { return una.Registro == mia.Registro; });
    if (mia.Registro == 0 || antes == base.end()) {
        mia.Registro = 0;
        return true;
    }
    mia.Registro = 0;
    const auto suya = dia.Parejas[static_cast<std::size_t>(antes - base.begin())];
    const auto fundida = suya ? FundeLinea(*antes, mia, dia.Suyas[*suya]) : std::nullopt;
    if (fundida)
        mia = *fundida;
    else if (suya)
        mia = SoloLoMio(*antes, mia);
    return fundida.has_value();
}

QStringList TDiaDeDos::Acepta()
{
    TFilaDia mia = LineaActual();
    const auto leida = ConRegistro(m_base, mia.Registro);
    if (!m_memoria.isModified() || (leida != m_base.end() && leida->Valores == mia.Valores)) {
        m_memoria.cancel();
        return {};
    }
    const dataset::ControlsGuard sinAvisos(m_memoria);
    TVersiones dia{m_base, DeMemoria(), {}, {}};
    if (m_memoria.state() == dataset::DataSet::State::insert) // no row yet
        dia.Mias.push_back(mia);
    const auto fila = m_memoria.state() == dataset::DataSet::State::insert
                          ? dia.Mias.size() - 1
                          : static_cast<std::size_t>(m_memoria.currentRow());
    TFilaDia escrita;
    QStringList choques;
    {
        const dataset::ControlsGuard sinAvisosDeAgenda(m_tabla);
        const dataset::PendingEditGuard sinResto(m_tabla);
        dataset::CommitGroup grupo(m_tabla);
        dia.Suyas = DeTabla();
        dia.Empareja(mia);
        const Bookmark propio = mia.Registro;
        const auto enBase = ConRegistro(dia.Base, propio);
        if (JuntaConLaSuya(mia, dia)) {
            escrita = EscribeFila(mia);
            Pon(dia.Suyas, mia.Registro, escrita);
            if (enBase == dia.Base.end())
                dia.Base.push_back(escrita);
            else
                *enBase = escrita;
            dia.Mias[fila] = escrita;
        } else {
            choques << mia.Valores[DiaHora];
            escrita = EscribeFila(mia);
            dia.Suyas.push_back(escrita);
            dia.Mias[fila] = *enBase; // theirs is shown in its place
            dia.Base.push_back(escrita);
            dia.Mias.push_back(escrita);
        }
        grupo.commit();
    }
    OrdenaComoAgenda(dia.Suyas);
    const TFusionDia fusion = FundeDia(dia.Base, dia.Mias, dia.Suyas);
    m_base = std::move(dia.Suyas);
    PonEnMemoria(fusion.Filas);
    VuelveA(escrita);
    choques += fusion.Choques;
    choques.removeDuplicates();
    return choques;
}

QStringList TDiaDeDos::Escribe()
{
    const dataset::ControlsGuard sinAvisos(m_memoria);
    const TFilaDia donde = LineaActual();
    TFilasDia escritas;
    QStringList choques;
    {
        // Another workstation, a killed process or a full disk sees the old day or the new one, never a part.
        const dataset::ControlsGuard sinAvisosDeAgenda(m_tabla);
        const dataset::PendingEditGuard sinResto(m_tabla);
        dataset::CommitGroup grupo(m_tabla);
        TFilasDia suyas = DeTabla();
        const TFusionDia fusion = FundeDia(m_base, DeMemoria(), suyas);
        choques = fusion.Choques;
        for (const TFilaDia &fila : fusion.Filas) {
            const auto suya = ConRegistro(suyas, fila.Registro);
            escritas.push_back(suya != suyas.end() && *suya == fila ? fila : EscribeFila(fila));
            if (suya != suyas.end())
                suyas.erase(suya);
        }
        for (const TFilaDia &sobra : suyas) {
            if (m_tabla.goToBookmark(sobra.Registro))
                TBDelete(m_tabla);
        }
        grupo.commit();
    }
    m_base = escritas;
    if (DeMemoria() != escritas) {
        PonEnMemoria(escritas);
        VuelveA(donde);
    }
    return choques;
}
