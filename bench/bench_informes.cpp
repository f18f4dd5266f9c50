// Speeds of the printed sheets: from the table to a PDF on the disk.

#include "agenda/AgendaNDM.h"
#include "agenda/ClaseConfAgendaN.h"
#include "agenda/HojaDia.h"
#include "agenda/SemanaAgenda.h"
#include "agendan/AgendaDiaNQR.h"
#include "agendan/AgendaNQR.h"
#include "bench/HostMudo.h"
#include "bench/TablaGrande.h"
#include "report/Pdf.h"

#include <benchmark/benchmark.h>

#include <QtCore/QTemporaryDir>
#include <QtGui/QFont>
#include <QtGui/QGuiApplication>

namespace
{

/// The big table and a place for the files.
struct TImprenta {
    TImprenta()
    {
        goConfAgendaN = std::make_unique<TClassConfAgendaN>();
        Agenda = std::make_unique<dataset::DbfTable>(Tabla.Aliases());
        Agenda->setDatabaseName(Mudo.AliasNotario(1));
        PreparaTablaAgendaN(*Agenda);
        Agenda->setOpenReadOnly(true);
        Agenda->open();
    }
    ~TImprenta() { goConfAgendaN.reset(); }

    [[nodiscard]] QString Fichero() const { return Carpeta.filePath(QStringLiteral("hoja.pdf")); }
    void Dia(QDate fecha)
    {
        PonRangoDelDia(*Agenda, fecha);
        TQRAgendaDiaN hoja(nullptr, fecha, *Agenda);
        report::writePdf(hoja.QR, Fichero());
    }
    /// @return pages.
    int Semana(QDate fecha)
    {
        int paginas = 0;
        HazInformeSemana({*Agenda, Filas, [this] { QuitaRangoDelDia(*Agenda); },
                          [this](QDate dia) { PonRangoDelDia(*Agenda, dia); }},
                         fecha, {}, [&](QDate lunes) {
                             TQRAgendaN hoja(nullptr, lunes, Filas);
                             hoja.QR.pageFooter.beforePrint = [&paginas](report::BandPrint &) { ++paginas; };
                             report::writePdf(hoja.QR, Fichero());
                         });
        return paginas;
    }

    TTablaGrande Tabla;
    THostMudo Mudo;
    TServiciosInstalados Servicios{{&Mudo, &Mudo, &Mudo, &Mudo, &Mudo, &Tabla.Aliases()}};
    std::unique_ptr<dataset::DbfTable> Agenda;
    dataset::MemTable Filas;
    QTemporaryDir Carpeta;
};

TImprenta *g_imprenta = nullptr;

constexpr int DiasDeUnAnyo = 365;
const int Mitad = TTablaGrande::Dias / 2;

void HojaDeUnDia(benchmark::State &state)
{
    int dia = 0;
    for (auto _ : state)
        g_imprenta->Dia(TTablaGrande::Dia(Mitad + dia++ % DiasDeUnAnyo));
}
BENCHMARK(HojaDeUnDia)->Unit(benchmark::kMillisecond);

void HojaDeUnaSemana(benchmark::State &state)
{
    int semana = 0;
    for (auto _ : state)
        state.counters["paginas"] =
            g_imprenta->Semana(TTablaGrande::Dia(Mitad).addDays(qint64{7} * (semana++ % 52)));
}
BENCHMARK(HojaDeUnaSemana)->Unit(benchmark::kMillisecond);

void SemanasDeUnAnyo(benchmark::State &state)
{
    for (auto _ : state) {
        for (int semana = 0; semana < 52; ++semana)
            g_imprenta->Semana(TTablaGrande::Dia(Mitad).addDays(qint64{7} * semana));
    }
}
BENCHMARK(SemanasDeUnAnyo)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication programa(argc, argv);
    benchmark::Initialize(&argc, argv);
    TImprenta imprenta;
    g_imprenta = &imprenta;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
