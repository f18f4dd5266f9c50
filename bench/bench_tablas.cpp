// Speeds of the table operations, on an agenda of twenty years.

#include "bench/TablaGrande.h"

#include <benchmark/benchmark.h>

#include <QtCore/QCoreApplication>

namespace
{

const TTablaGrande &Grande()
{
    static const TTablaGrande grande;
    return grande;
}

void Abrir(benchmark::State &state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(Grande().Abierta());
}
BENCHMARK(Abrir)->Unit(benchmark::kMillisecond);

void RangoDeUnDia(benchmark::State &state)
{
    const auto tabla = Grande().Abierta();
    EsperaReposo();
    tabla->refresh();
    int dia = 0;
    for (auto _ : state) {
        dia = (dia + 977) % TTablaGrande::Dias;
        const QDate fecha = TTablaGrande::Dia(dia);
        benchmark::DoNotOptimize(
            tabla->setRange({{"FECHA", fecha}, {"HORA", "00:00"}}, {{"FECHA", fecha}, {"HORA", "23:59"}}));
    }
}
BENCHMARK(RangoDeUnDia)->Unit(benchmark::kMicrosecond);

void BusquedaExacta(benchmark::State &state)
{
    const auto tabla = Grande().Abierta();
    EsperaReposo();
    tabla->refresh();
    int dia = 0;
    for (auto _ : state) {
        dia = (dia + 977) % TTablaGrande::Dias;
        benchmark::DoNotOptimize(tabla->locate({{"FECHA", TTablaGrande::Dia(dia)}, {"HORA", "12:30"}},
                                               dataset::SearchMode::exact));
    }
}
BENCHMARK(BusquedaExacta)->Unit(benchmark::kMicrosecond);

void SiguienteLinea(benchmark::State &state)
{
    const auto tabla = Grande().Abierta();
    for (auto _ : state) {
        tabla->next();
        if (tabla->eof())
            tabla->first();
    }
}
BENCHMARK(SiguienteLinea)->Unit(benchmark::kMicrosecond);

void RefrescoSinNovedad(benchmark::State &state)
{
    const auto tabla = Grande().Abierta();
    EsperaReposo();
    tabla->refresh();
    for (auto _ : state)
        tabla->refresh();
}
BENCHMARK(RefrescoSinNovedad)->Unit(benchmark::kMicrosecond);

void RefrescoConUnaLineaAjena(benchmark::State &state)
{
    const auto tabla = Grande().Abierta();
    const auto ajena = Grande().Abierta();
    for (auto _ : state) {
        state.PauseTiming();
        CambiaUnaLinea(*ajena);
        state.ResumeTiming();
        tabla->refresh();
    }
}
BENCHMARK(RefrescoConUnaLineaAjena)->Unit(benchmark::kMillisecond);

void Anadir(benchmark::State &state)
{
    const auto tabla = Grande().Abierta();
    int n = 0;
    for (auto _ : state)
        TTablaGrande::Anade(*tabla, QDate(2040, 1, 1).addDays(n / 24), n % 24), ++n;
}
BENCHMARK(Anadir)->Unit(benchmark::kMicrosecond)->Iterations(2000);

/// A walk through lines of one and the same key; the time of one step must not grow with their number.
void RecorrerClavesIguales(benchmark::State &state)
{
    const auto tabla = Grande().Abierta();
    const auto lineas = static_cast<int>(state.range(0));
    const QDate fecha = QDate(2060, 1, 1).addDays(lineas);
    for (int n = 0; n < lineas; ++n)
        TTablaGrande::Anade(*tabla, fecha, 0);
    for (auto _ : state) {
        tabla->locate({{"FECHA", fecha}}, dataset::SearchMode::exact);
        for (int n = 1; n < lineas; ++n)
            tabla->next();
    }
    state.SetItemsProcessed(state.iterations() * lineas);
}
BENCHMARK(RecorrerClavesIguales)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication programa(argc, argv);
    benchmark::Initialize(&argc, argv);
    Grande(); // made now, not on somebody's time
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
