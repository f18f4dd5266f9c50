// The appointment card: until it stands there ready to be typed into, and an accept that fills twelve slots.

#include "agenda/ClaseConfAgendaN.h"
#include "agenda/host/Servicios.h"
#include "agendan/ClaseAgendaN.h"
#include "agendan/FichaCita.h"
#include "agendan/VentanasAgendaN.h"
#include "bench/HostMudo.h"
#include "bench/TablaGrande.h"

#include <benchmark/benchmark.h>

#include <QtCore/QTimer>
#include <QtGui/QFont>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>

#include <chrono>

namespace
{

/// The engine over the big table, on a day in its middle, and a staff of fifty.
struct TOficina {
    explicit TOficina(bool duradera)
    {
        dataset::DbfTable empleados(Tabla.Aliases());
        empleados.setDatabaseName(QStringLiteral("NOTARIO1"));
        empleados.setTableName(QStringLiteral("EMPLEADO"));
        empleados.setDurable(false);
        empleados.createFile({{QStringLiteral("NOMBRE"), dataset::FieldKind::text, 40}});
        empleados.open();
        for (int i = 0; i < 50; ++i) {
            empleados.append();
            empleados.field(0).setText(QStringLiteral("OFICIAL NÚMERO %1").arg(i));
            empleados.post();
        }
        empleados.close();
        goConfAgendaN = std::make_unique<TClassConfAgendaN>();
        Agenda = TTablaGrande::Cursor(Tabla.Aliases());
        Agenda->setDurable(duradera);
        Agenda->open();
        Motor =
            std::make_unique<TClassAgendaN>(nullptr, nullptr, TClassAgendaN::TTablas{Agenda.get()}, &Vistas);
        Motor->RangoPorFecha(TTablaGrande::Dia(TTablaGrande::Dias / 2));
    }
    ~TOficina()
    {
        Motor.reset();
        goConfAgendaN.reset();
    }
    TTablaGrande Tabla;
    THostMudo Mudo;
    TServiciosInstalados Servicios{{&Mudo, &Mudo, &Mudo, &Mudo, &Mudo, &Tabla.Aliases()}};
    TVistasAgendaN Vistas;
    std::unique_ptr<dataset::DbfTable> Agenda;
    std::unique_ptr<TClassAgendaN> Motor;
};

/// Opens the card to modify the current line and runs `pasos` when it stands there painted. @return the
/// seconds between the call and that moment.
template <class TPasos> double AbreFicha(TOficina &oficina, TPasos &&pasos)
{
    using TReloj = std::chrono::steady_clock;
    const auto antes = TReloj::now();
    double segundos = 0;
    QTimer::singleShot(0, qApp, [&] {
        auto *const ficha = qobject_cast<TFFichaCitas *>(QApplication::activeModalWidget());
        // The key that begins the change is posted when the card is shown.
        if (!QTest::qWaitFor([&] { return oficina.Motor->TablaActual().isEditing(); }))
            qFatal("the card did not begin its change");
        ficha->repaint();
        segundos = std::chrono::duration<double>(TReloj::now() - antes).count();
        pasos(*ficha);
        ficha->done(0);
    });
    oficina.Motor->FichaCita(TOperacion::modificar);
    return segundos;
}

void AbrirLaFicha(benchmark::State &state)
{
    TOficina oficina(false);
    for (auto _ : state)
        state.SetIterationTime(AbreFicha(oficina, [](TFFichaCitas &) {}));
}
BENCHMARK(AbrirLaFicha)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(100);

void AceptarDoceHuecos(benchmark::State &state)
{
    TOficina oficina(state.range(0) == 1);
    for (auto _ : state) {
        oficina.Motor->TablaActual().first();
        double segundos = 0;
        AbreFicha(oficina, [&](TFFichaCitas &ficha) {
            ficha.findChild<QLineEdit *>(QStringLiteral("MEHoraFin"))->setText(QStringLiteral("15:00"));
            oficina.Motor->TablaActual()
                .field(u"CONCEPTO")
                .setText(QStringLiteral("Firma %1").arg(state.iterations()) +
                         QString::number(std::chrono::steady_clock::now().time_since_epoch().count()));
            const auto antes = std::chrono::steady_clock::now();
            ficha.findChild<QPushButton *>(QStringLiteral("BAceptar"))->click();
            ficha.repaint();
            segundos = std::chrono::duration<double>(std::chrono::steady_clock::now() - antes).count();
        });
        state.SetIterationTime(segundos);
    }
}
BENCHMARK(AceptarDoceHuecos)
    ->ArgName("duradera")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(50);

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication programa(argc, argv);
    QApplication::setFont(QFont(QStringLiteral("Arial"), 9));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
