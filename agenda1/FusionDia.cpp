#include "agenda1/FusionDia.h"

#include <algorithm>
#include <optional>

using dataset::Bookmark;

namespace
{

const TFilaDia *Busca(const TFilasDia &filas, Bookmark registro)
{
    const auto fila = std::find_if(filas.begin(), filas.end(),
                                   [registro](const TFilaDia &una) { return una.Registro == registro; });
    return registro != 0 && fila != filas.end() ? &*fila : nullptr;
}

/// Programs that write the whole day anew give its lines other records: those are told by their hour.
void ReconoceReescritas(const TFilasDia &base, TFilasDia &suyas)
{
    std::vector<bool> nueva(suyas.size());
    for (std::size_t i = 0; i < suyas.size(); ++i)
        nueva[i] = !Busca(base, suyas[i].Registro);
    std::vector<Bookmark> sobrantes;
    for (const TFilaDia &una : base) {
        if (!Busca(suyas, una.Registro))
            sobrantes.push_back(una.Registro);
    }
    for (std::size_t i = 0; i < suyas.size(); ++i) {
        if (!nueva[i])
            continue;
        const auto igual = std::find_if(sobrantes.begin(), sobrantes.end(), [&](Bookmark registro) {
            return Busca(base, registro)->Valores[DiaHora] == suyas[i].Valores[DiaHora];
        });
        if (igual == sobrantes.end())
            continue;
        suyas[i].Registro = *igual;
        sobrantes.erase(igual);
    }
}

/// One line out of three versions; nothing when both sides have changed the same field.
std::optional<TFilaDia> FundeLinea(const TFilaDia &base, const TFilaDia &mia, const TFilaDia &suya)
{
    TFilaDia fundida = suya;
    for (std::size_t campo = 0; campo < fundida.Valores.size(); ++campo) {
        const QString &antes = base.Valores[campo];
        const QString &mio = mia.Valores[campo];
        const QString &suyo = suya.Valores[campo];
        if (mio != antes && suyo != antes && mio != suyo)
            return {};
        fundida.Valores[campo] = mio != antes ? mio : suyo;
    }
    return fundida;
}

/// Where a line of that hour goes in among the others.
TFilasDia::iterator SitioDe(TFilasDia &filas, const QString &hora)
{
    const auto anterior = std::find_if(filas.rbegin(), filas.rend(),
                                       [&](const TFilaDia &una) { return una.Valores[DiaHora] <= hora; });
    return anterior.base();
}

} // namespace

TFusionDia FundeDia(const TFilasDia &base, const TFilasDia &mias, TFilasDia suyas)
{
    const TFilasDia originales = suyas;
    ReconoceReescritas(base, suyas);
    TFusionDia fusion;
    for (const TFilaDia &mia : mias) {
        const TFilaDia *const antes = Busca(base, mia.Registro);
        const TFilaDia *const suya = Busca(suyas, mia.Registro);
        if (!antes) {
            fusion.Filas.push_back({0, mia.Valores}); // new here
        } else if (!suya) {
            if (mia.Valores == antes->Valores)
                continue; // deleted there, untouched here
            fusion.Choques << mia.Valores[DiaHora];
            fusion.Filas.push_back({0, mia.Valores});
        } else {
            // The record that the line really has now.
            const Bookmark registro = originales[static_cast<std::size_t>(suya - suyas.data())].Registro;
            if (const auto fundida = FundeLinea(*antes, mia, *suya)) {
                fusion.Filas.push_back({registro, fundida->Valores});
                continue;
            }
            fusion.Choques << mia.Valores[DiaHora];
            fusion.Filas.push_back({registro, suya->Valores});
            fusion.Filas.push_back({0, mia.Valores});
        }
    }
    for (std::size_t i = 0; i < suyas.size(); ++i) {
        const TFilaDia &suya = suyas[i];
        const TFilaDia *const antes = Busca(base, suya.Registro);
        if (antes && (Busca(mias, suya.Registro) || suya.Valores == antes->Valores))
            continue; // seen to above, or deleted here and untouched there
        if (antes)
            fusion.Choques << suya.Valores[DiaHora];
        fusion.Filas.insert(SitioDe(fusion.Filas, suya.Valores[DiaHora]), originales[i]);
    }
    return fusion;
}
