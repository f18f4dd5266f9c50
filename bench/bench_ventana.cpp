// Speeds that the clerk feels: a day change and the refresh with nothing new, in the window, painted.

#include "agenda/ClaseConfAgendaN.h"
#include "agendan/ClaseAgendaN.h"
#include "agendan/FichaAgendaN.h"
#include "bench/HostMudo.h"
#include "bench/TablaGrande.h"

#include <benchmark/benchmark.h>

#include <QtGui/QAction>
#include <QtGui/QFont>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>

#include <thread>

namespace
{

/// The window over the big table, on a day in its middle.
struct TEscena {
    TEscena()
    {
        goConfAgendaN = std::make_unique<TClassConfAgendaN>();
        Motor = std::make_unique<TClassAgendaN>(nullptr, nullptr, TClassAgendaN::TTablas{}, nullptr);
        Motor->SincronizarTablasAFecha(TTablaGrande::Dia(TTablaGrande::Dias / 2), true);
        Ficha.PonNotario(1, QStringLiteral("Ana Núñez"), Motor->Tabla(1));
        Ficha.PonMotor(*Motor);
        Ficha.PonSincronizarDia(true);
        Ficha.PCAgendaChange();
        Ficha.show();
        if (!QTest::qWaitForWindowExposed(&Ficha))
            qFatal("the window did not open");
        std::this_thread::sleep_for(std::chrono::milliseconds(80));
        Motor->TablaActual().refresh();
    }
    ~TEscena()
    {
        Ficha.close();
        Motor.reset();
        goConfAgendaN.reset();
    }
    TTablaGrande Tabla;
    THostMudo Mudo;
    TServiciosInstalados Servicios{{&Mudo, &Mudo, &Mudo, &Mudo, &Mudo, &Tabla.Aliases()}};
    std::unique_ptr<TClassAgendaN> Motor;
    TFFichaAgendaN Ficha{nullptr};
};

TEscena *g_escena = nullptr;

void CambioDeDia(benchmark::State &state)
{
    auto *const siguiente = g_escena->Ficha.findChild<QAction *>(QStringLiteral("ADiaSiguiente"));
    for (auto _ : state) {
        siguiente->trigger();
        g_escena->Ficha.repaint();
        QCoreApplication::processEvents();
    }
}
BENCHMARK(CambioDeDia)->Unit(benchmark::kMillisecond)->Iterations(500);

void RefrescoSinNovedad(benchmark::State &state)
{
    for (auto _ : state) {
        g_escena->Motor->TablaActual().refresh();
        QCoreApplication::processEvents();
    }
}
BENCHMARK(RefrescoSinNovedad)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication programa(argc, argv);
    QApplication::setFont(QFont(QStringLiteral("Arial"), 9));
    benchmark::Initialize(&argc, argv);
    TEscena escena;
    g_escena = &escena;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
