#include "agenda1/FusionDia.h"

#include <algorithm>
#include <array>
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

} // namespace

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

void OrdenaComoAgenda(TFilasDia &filas)
{
    const auto lugar = [](const TFilaDia &una) {
        return std::tuple(una.Valores[DiaHora], una.Registro == 0, una.Registro);
    };
    std::stable_sort(filas.begin(), filas.end(),
                     [&](const TFilaDia &una, const TFilaDia &otra) { return lugar(una) < lugar(otra); });
}

TFusionDia FundeDia(const TFilasDia &base, const TFilasDia &mias, const TFilasDia &suyas)
{
    const std::vector<TPareja> parejas = Empareja(base, suyas);
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
