#include "agenda1/FusionDia.h"

#include <algorithm>
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

/// How well a line may be what has become of another. 0: it is not.
int Parecido(const TFilaDia &una, const TFilaDia &suya)
{
    int iguales = 0;
    int distintos = 0;
    for (std::size_t campo = DiaHora + 1; campo < DiaSalida; ++campo) {
        if (una.Valores[campo] != suya.Valores[campo])
            ++distintos;
        else if (!una.Valores[campo].isEmpty())
            ++iguales;
    }
    const bool suRegistro = una.Registro == suya.Registro;
    const bool suHora = una.Valores[DiaHora] == suya.Valores[DiaHora];
    const bool puede = suRegistro || (iguales > 0 && (suHora || distintos == 0));
    return puede ? 2 * iguales + (suRegistro ? 1 : 0) : 0;
}

/// The lines of two versions of a day, of which some have found each other.
class TParejas
{
public:
    TParejas(const TFilasDia &base, const TFilasDia &suyas)
        : m_base(base)
        , m_suyas(suyas)
        , m_de(base.size())
        , m_tomada(suyas.size())
    {
    }
    /// Each line that has none yet takes the free one that fits best. @param puntos  how well; 0: not at all.
    template <class TPuntos> void Empareja(TPuntos &&puntos)
    {
        for (std::size_t i = 0; i < m_base.size(); ++i) {
            if (m_de[i])
                continue;
            int mejores = 0;
            for (std::size_t k = 0; k < m_suyas.size(); ++k) {
                const int suyos = m_tomada[k] ? 0 : puntos(m_base[i], m_suyas[k]);
                if (suyos > mejores) {
                    mejores = suyos;
                    m_de[i] = k;
                }
            }
            if (m_de[i])
                m_tomada[*m_de[i]] = true;
        }
    }
    /// The only free line of an hour, on both sides.
    [[nodiscard]] bool SolasEnSuHora(const TFilaDia &una, const TFilaDia &otra) const
    {
        const auto libres = [&](const TFilasDia &filas, auto &&ocupada) {
            int cuantas = 0;
            for (std::size_t i = 0; i < filas.size(); ++i)
                cuantas += filas[i].Valores[DiaHora] == una.Valores[DiaHora] && !ocupada(i) ? 1 : 0;
            return cuantas;
        };
        return una.Valores[DiaHora] == otra.Valores[DiaHora] &&
               libres(m_base, [this](std::size_t i) { return m_de[i].has_value(); }) == 1 &&
               libres(m_suyas, [this](std::size_t k) { return bool(m_tomada[k]); }) == 1;
    }
    [[nodiscard]] std::vector<TPareja> De() && { return std::move(m_de); }

private:
    const TFilasDia &m_base;
    const TFilasDia &m_suyas;
    std::vector<TPareja> m_de;
    std::vector<bool> m_tomada;
};

/// Where a line of the table goes in among those that are here: by its hour, and within it by its record.
TFilasDia::iterator SitioDe(TFilasDia &filas, const TFilaDia &linea)
{
    const QString &hora = linea.Valores[DiaHora];
    return std::find_if(filas.begin(), filas.end(), [&](const TFilaDia &una) {
        return una.Valores[DiaHora] > hora ||
               (una.Valores[DiaHora] == hora && (una.Registro == 0 || una.Registro > linea.Registro));
    });
}

} // namespace

std::vector<TPareja> Empareja(const TFilasDia &base, const TFilasDia &suyas)
{
    const bool reescrito = std::none_of(suyas.begin(), suyas.end(), [&](const TFilaDia &una) {
        return Busca(base, una.Registro).has_value();
    });
    TParejas parejas(base, suyas);
    parejas.Empareja([](const TFilaDia &una, const TFilaDia &suya) { return una == suya ? 1 : 0; });
    // Lines that have changed places with each other.
    parejas.Empareja(
        [](const TFilaDia &una, const TFilaDia &suya) { return una.Valores == suya.Valores ? 1 : 0; });
    parejas.Empareja(Parecido);
    if (reescrito) {
        parejas.Empareja([&parejas](const TFilaDia &una, const TFilaDia &suya) {
            return parejas.SolasEnSuHora(una, suya) ? 1 : 0;
        });
    }
    return std::move(parejas).De();
}

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
        fusion.Filas.push_back({0, mia.Valores});
    }
    std::stable_sort(fusion.Filas.begin(), fusion.Filas.end(), [](const TFilaDia &una, const TFilaDia &otra) {
        return std::tuple(una.Valores[DiaHora], una.Registro == 0) <
               std::tuple(otra.Valores[DiaHora], otra.Registro == 0);
    });
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
            fusion.Filas.insert(SitioDe(fusion.Filas, suyas[k]), suyas[k]);
    }
    return fusion;
}
