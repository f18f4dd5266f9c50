// Speeds that the clerk feels, in the window, painted: a day change, another notary's tab, the refresh with
// nothing new, many lines copied and moved.

#include "agenda/ClaseConfAgendaN.h"
#include "agendan/ClaseAgendaN.h"
#include "agendan/FichaAgendaN.h"
#include "bench/HostMudo.h"
#include "bench/TablaGrande.h"
#include "dbcontrols/DbGrid.h"

#include <benchmark/benchmark.h>

#include <QtGui/QAction>
#include <QtGui/QFont>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QTabWidget>

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
        for (int notario = 1; notario <= Notarios; ++notario)
            Ficha.PonNotario(notario, QStringLiteral("Ana Núñez"), Motor->Tabla(notario));
        Ficha.PonMotor(*Motor);
        Ficha.PonSincronizarDia(false);
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
    static constexpr int Notarios = 2;
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

void CambioDePestana(benchmark::State &state)
{
    auto *const pestanas = g_escena->Ficha.findChild<QTabWidget *>(QStringLiteral("PCAgenda"));
    for (auto _ : state) {
        pestanas->setCurrentIndex(1 - pestanas->currentIndex());
        g_escena->Ficha.repaint();
        QCoreApplication::processEvents();
    }
    pestanas->setCurrentIndex(0);
}
BENCHMARK(CambioDePestana)->Unit(benchmark::kMillisecond);

/// A day far ahead with 500 lines, all of them selected.
constexpr int LineasMuchas = 500;

void Muchas(benchmark::State &state, const char *orden)
{
    TClassAgendaN &motor = *g_escena->Motor;
    auto *const comando = g_escena->Ficha.findChild<QAction *>(QLatin1String(orden));
    static QDate dia(2040, 1, 1);
    for (auto _ : state) {
        state.PauseTiming();
        dia = dia.addDays(2);
        {
            const dataset::ControlsGuard sinAvisos(motor.TablaActual());
            dataset::CommitGroup juntas(motor.TablaActual());
            for (int i = 0; i < LineasMuchas; ++i)
                TTablaGrande::Anade(motor.TablaActual(), dia, i % TTablaGrande::LineasPorDia);
            juntas.commit();
        }
        motor.RangoPorFecha(dia);
        g_escena->Ficha.PCAgendaChange();
        g_escena->Ficha.GetDBGAgendaN()->selectAll();
        QCoreApplication::processEvents();
        g_escena->Mudo.Destino = dia.addDays(1);
        state.ResumeTiming();
        comando->trigger();
        g_escena->Ficha.repaint();
        QCoreApplication::processEvents();
    }
    motor.RangoPorFecha(dia.addDays(1));
    if (motor.TablaActual().rowCount() != LineasMuchas)
        state.SkipWithError("the lines have not arrived");
}
BENCHMARK_CAPTURE(Muchas, copiar, "ACopiarCita")->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK_CAPTURE(Muchas, mover, "AMoverCita")->Unit(benchmark::kMillisecond)->Iterations(10);

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
