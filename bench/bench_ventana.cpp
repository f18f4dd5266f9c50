// Speeds that the clerk feels: a day change and the refresh with nothing new, in the window, painted.

#include "agenda/ClaseConfAgendaN.h"
#include "agenda/host/Servicios.h"
#include "agendan/ClaseAgendaN.h"
#include "agendan/FichaAgendaN.h"
#include "bench/TablaGrande.h"

#include <benchmark/benchmark.h>

#include <QtGui/QAction>
#include <QtGui/QFont>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>

#include <thread>

namespace
{

// A host that says nothing and is asked nothing while days go by.
struct TMudo : IMensaje, IRut, IRvarias, TConfig, IReloj {
    int Mensajes(const TMensaje &) override { return 0; }
    int Mensaje_SiNo(const QString &, const QString &, const QString &) override { return 0; }
    int Mensaje_NoSi(const QString &, const QString &, const QString &) override { return 0; }
    void Mensaje_Error(const QString &, const QString &) override {}
    QString AliasNotario(int) override { return QStringLiteral("NOTARIO1"); }
    bool PreguntaFecha(QDate &, const QString &, const QString &) override { return false; }
    bool PreguntaOficial(QString &) override { return false; }
    void Visualizador(report::Report &) override {}
    bool EsBoton(const QWidget *) const override { return false; }
    void TomaFocoControl(QWidget &) override {}
    void DejaFocoControl(QWidget &) override {}
    int GetnCuantos() const override { return 1; }
    QString GetAliasZentra() const override { return QStringLiteral("NOTARIO1"); }
    QString GetNombre1() const override { return {}; }
    QString GetDon() const override { return {}; }
    QStringList GetNotarios() const override { return {QStringLiteral("Ana Núñez")}; }
    QString GetPath() const override { return QDir::tempPath() + u'/'; }
    QDate GetAgenda_FechaInicio() const override { return {}; }
    void SetAgenda_FechaInicio(QDate) override {}
    QString GetPrnOtros() const override { return {}; }
    QDate Hoy() const override { return {2026, 11, 20}; }
};

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
    TMudo Mudo;
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
