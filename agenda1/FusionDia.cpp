#include "agenda1/FusionDia.h"

#include <algorithm>
#include <array>
#include <optional>
#include <tuple>

using dataset::Bookmark;

namespace
{

using TPareja = std::optional<std::size_t>;

TPareja Busca(const TFilasDia &filas, Bookmark registro)
{
    if (registro == 0)
        return {};
    const auto fila = std::find_if(filas.begin(), filas.end(),
                                   [registro](const TFilaDia &una) { return una.Registro == registro; });
    return fila == filas.end() ? TPareja() : static_cast<std::size_t>(fila - filas.begin());
}

/// For each line of `base` the place of the same line in `suyas`: the one of its record; where that has gone,
/// one that says the same in a record that is new, since programs that write the whole day anew give all
/// lines new ones. Nothing for a line that has gone: no other one is ever taken for it.
std::vector<TPareja> Empareja(const TFilasDia &base, const TFilasDia &suyas)
{
    std::vector<TPareja> parejas(base.size());
    std::vector<bool> tomada(suyas.size());
    const auto empareja = [&](const auto &esSuya) {
        for (std::size_t i = 0; i < base.size(); ++i) {
            for (std::size_t k = 0; k < suyas.size() && !parejas[i]; ++k) {
                if (tomada[k] || !esSuya(base[i], suyas[k]))
                    continue;
                parejas[i] = k;
                tomada[k] = true;
            }
        }
    };
    empareja([](const TFilaDia &una, const TFilaDia &suya) { return una.Registro == suya.Registro; });
    empareja([](const TFilaDia &una, const TFilaDia &suya) { return una.Valores == suya.Valores; });
    return parejas;
}

/// Where a line that one side has deleted is one that the other has changed, and another one said the same
/// that nobody has changed, that other one has been deleted instead.
void CambiaBorradas(const TFilasDia &base, TFilasDia &mias, const TFilasDia &suyas,
                    const std::vector<TPareja> &parejas)
{
    const auto igual = [](const TFilasDia &filas, TPareja lugar, const TFilaDia &antes) {
        return lugar && filas[*lugar].Valores == antes.Valores;
    };
    for (std::size_t i = 0; i < base.size(); ++i) {
        const TPareja aqui = Busca(mias, base[i].Registro);
        const TPareja alli = parejas[i];
        if (aqui.has_value() == alli.has_value() || igual(mias, aqui, base[i]) || igual(suyas, alli, base[i]))
            continue;
        for (std::size_t j = 0; j < base.size(); ++j) {
            const TPareja otra = Busca(mias, base[j].Registro);
            const bool quedaAqui = igual(mias, otra, base[j]);
            const bool quedaAlli = igual(suyas, parejas[j], base[j]);
            if (base[j].Valores != base[i].Valores || !(aqui ? quedaAlli : quedaAqui) ||
                (otra && !quedaAqui) || (parejas[j] && !quedaAlli))
                continue;
            if (otra)
                mias[*otra].Registro = base[i].Registro;
            if (aqui)
                mias[*aqui].Registro = base[j].Registro;
            break;
        }
    }
}

/// One line out of three versions; nothing when both sides have changed the same field in different ways.
std::optional<TFilaDia> FundeLinea(const TFilaDia &base, const TFilaDia &mia, const TFilaDia &suya)
{
    TFilaDia fundida = suya;
    for (std::size_t campo = 0; campo < fundida.Valores.size(); ++campo) {
        const QString &antes = base.Valores[campo];
        const QString &mio = mia.Valores[campo];
        const QString &suyo = suya.Valores[campo];
        // Deliberate: one notary's absence takes the other one's number, as on one workstation.
        if (mio != antes && suyo != antes && mio != suyo && campo != DiaSalida)
            return {};
        fundida.Valores[campo] = mio != antes ? mio : suyo;
    }
    return fundida;
}

/// What becomes a line of its own where FundeLinea() has nothing: mine, without the half of a notary that was
/// not touched here, which stands in theirs.
TFilaDia SoloLoMio(const TFilaDia &base, TFilaDia mia)
{
    constexpr std::array Mitades{std::array{DiaInteresado1, DiaOficial1, DiaConcepto1},
                                 std::array{DiaInteresado2, DiaOficial2, DiaConcepto2}};
    const auto tocada = [&](const auto &mitad) {
        return std::any_of(mitad.begin(), mitad.end(),
                           [&](TCampoDia campo) { return mia.Valores[campo] != base.Valores[campo]; });
    };
    const std::array tocadas{tocada(Mitades[0]), tocada(Mitades[1])};
    for (std::size_t i = 0; i < Mitades.size(); ++i) {
        if (tocadas[i] || !tocadas[1 - i])
            continue;
        for (const TCampoDia campo : Mitades[i])
            mia.Valores[campo].clear();
        if (mia.Valores[DiaSalida] == QString::number(i + 1))
            mia.Valores[DiaSalida] = QStringLiteral("0"); // theirs says it
    }
    mia.Registro = 0;
    return mia;
}

/// Puts lines in the order of the hours, as they stand in AGENDA: those of one hour by their records, those
/// that are not there yet behind them.
void OrdenaComoAgenda(TFilasDia &filas)
{
    const auto lugar = [](const TFilaDia &una) {
        return std::tuple(una.Valores[DiaHora], una.Registro == 0, una.Registro);
    };
    std::stable_sort(filas.begin(), filas.end(),
                     [&](const TFilaDia &una, const TFilaDia &otra) { return lugar(una) < lugar(otra); });
}

} // namespace

TFusionDia FundeDia(const TFilasDia &base, TFilasDia mias, const TFilasDia &suyas)
{
    const std::vector<TPareja> parejas = Empareja(base, suyas);
    CambiaBorradas(base, mias, suyas, parejas);
    TFusionDia fusion;
    std::vector<bool> vista(suyas.size()); // lines of the table whose fate is settled
    for (const TFilaDia &mia : mias) {
        const TPareja antes = Busca(base, mia.Registro);
        if (!antes) {
            fusion.Filas.push_back({0, mia.Valores}); // new here
            continue;
        }
        if (!parejas[*antes]) {
            if (mia.Valores == base[*antes].Valores)
                continue; // deleted there, untouched here
            fusion.Choques << mia.Valores[DiaHora];
            fusion.Filas.push_back({0, mia.Valores});
            continue;
        }
        const TFilaDia &suya = suyas[*parejas[*antes]];
        vista[*parejas[*antes]] = true;
        if (const auto fundida = FundeLinea(base[*antes], mia, suya)) {
            fusion.Filas.push_back(*fundida);
            continue;
        }
        fusion.Choques << mia.Valores[DiaHora];
        fusion.Filas.push_back(suya);
        fusion.Filas.push_back(SoloLoMio(base[*antes], mia));
    }
    for (std::size_t i = 0; i < base.size(); ++i) {
        if (!parejas[i] || vista[*parejas[i]])
            continue;
        const TFilaDia &suya = suyas[*parejas[i]]; // deleted here
        if (suya.Valores == base[i].Valores)
            vista[*parejas[i]] = true;
        else
            fusion.Choques << suya.Valores[DiaHora];
    }
    for (std::size_t k = 0; k < suyas.size(); ++k) {
        if (!vista[k])
            fusion.Filas.push_back(suyas[k]);
    }
    OrdenaComoAgenda(fusion.Filas);
    fusion.Choques.removeDuplicates();
    return fusion;
}
