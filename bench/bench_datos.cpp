// What the data set adds to the table below it, and a grid over an agenda of twenty years: speed and memory.

#include "bench/Memoria.h"
#include "bench/TablaGrande.h"
#include "dbase/Table.h"
#include "dbcontrols/DbGrid.h"

#include <benchmark/benchmark.h>

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QScrollBar>

#include <cstdio>

namespace
{

using dataset::DataSet;

TTablaGrande *g_grande = nullptr;

std::unique_ptr<dataset::DbfTable> EnReposo()
{
    auto tabla = g_grande->Abierta();
    EsperaReposo();
    tabla->refresh();
    return tabla;
}

/// Days all over the twenty years, in no order.
QDate OtroDia()
{
    static int dia = 0;
    dia = (dia + 977) % TTablaGrande::Dias;
    return TTablaGrande::Dia(dia);
}

// ---------------------------------------------------------------------------------------------------------------------
// A day sheet: the range and every field of its lines

template <class T> T Exige(dbase::Result<T> resultado)
{
    if (!resultado.ok())
        qFatal("%s", resultado.status().message().c_str());
    return std::move(resultado).value();
}

void LeeCampo(std::span<const std::uint8_t> linea, const dbase::FieldDefinition &campo,
              dbase::CodePage pagina)
{
    switch (campo.type) {
    case dbase::FieldType::date:
        benchmark::DoNotOptimize(dbase::readDate(linea, campo));
        return;
    case dbase::FieldType::numeric:
    case dbase::FieldType::floating:
        benchmark::DoNotOptimize(dbase::readNumber(linea, campo));
        return;
    default:
        benchmark::DoNotOptimize(dbase::readText(linea, campo, pagina));
    }
}

void DiaPorTabla(benchmark::State &state)
{
    const std::filesystem::path carpeta(g_grande->Aliases().folderOf(TTablaGrande::Alias()).toStdU16String());
    const auto tabla = Exige(dbase::Table::open(Exige(dbase::findTable(carpeta, "AGENDA_N"))));
    EsperaReposo();
    Exige(tabla->refresh());
    const auto bytes = [](const std::string &texto) {
        return std::span(reinterpret_cast<const std::uint8_t *>(texto.data()), texto.size());
    };
    for (auto _ : state) {
        const std::string dia = OtroDia().toString(QStringLiteral("yyyyMMdd")).toStdString();
        Exige(tabla->refresh());
        std::vector<dbase::RecordNumber> numeros;
        std::vector<std::uint8_t> lineas;
        const auto leido = tabla->liveRows(tabla->index("FECHA"), bytes(dia + "00:00"), bytes(dia + "23:59"),
                                           numeros, lineas);
        if (!leido.ok())
            qFatal("%s", leido.message().c_str());
        for (std::size_t i = 0; i < numeros.size(); ++i) {
            const auto linea = std::span(lineas).subspan(i * tabla->recordLength(), tabla->recordLength());
            for (const dbase::FieldDefinition &campo : tabla->fields())
                LeeCampo(linea, campo, tabla->codePage());
        }
    }
}
BENCHMARK(DiaPorTabla)->Unit(benchmark::kMicrosecond);

void PonDia(DataSet &tabla, QDate fecha)
{
    tabla.setRange({{QStringLiteral("FECHA"), fecha}, {QStringLiteral("HORA"), QStringLiteral("00:00")}},
                   {{QStringLiteral("FECHA"), fecha}, {QStringLiteral("HORA"), QStringLiteral("23:59")}});
}

/// @return how many lines.
int LeeLineas(DataSet &tabla)
{
    int lineas = 0;
    const int campos = tabla.fieldCount();
    for (tabla.first(); !tabla.eof(); tabla.next(), ++lineas) {
        for (int campo = 0; campo < campos; ++campo)
            benchmark::DoNotOptimize(tabla.field(campo).value());
    }
    return lineas;
}

void DiaPorDatos(benchmark::State &state)
{
    const auto tabla = EnReposo();
    for (auto _ : state) {
        PonDia(*tabla, OtroDia());
        benchmark::DoNotOptimize(LeeLineas(*tabla));
    }
}
BENCHMARK(DiaPorDatos)->Unit(benchmark::kMicrosecond);

/// As a grid reads it: rows and their texts.
void DiaPorFilas(benchmark::State &state)
{
    const auto tabla = EnReposo();
    for (auto _ : state) {
        PonDia(*tabla, OtroDia());
        const int filas = tabla->rowCount();
        for (int fila = 0; fila < filas; ++fila) {
            for (int campo = 0; campo < tabla->fieldCount(); ++campo)
                benchmark::DoNotOptimize(tabla->textAt(fila, campo));
        }
    }
}
BENCHMARK(DiaPorFilas)->Unit(benchmark::kMicrosecond);

// ---------------------------------------------------------------------------------------------------------------------
// A grid of all 150,000 lines

struct TRejilla {
    TRejilla()
    {
        Rejilla.resize(900, 600);
        Rejilla.setColumns({{QStringLiteral("Fecha"), QStringLiteral("FECHA"), 80},
                            {QStringLiteral("Hora"), QStringLiteral("HORA"), 50},
                            {QStringLiteral("Asunto"), QStringLiteral("CONCEPTO"), 350},
                            {QStringLiteral("Interesado"), QStringLiteral("INTERESADO"), 200},
                            {QStringLiteral("Oficial"), QStringLiteral("OFICIAL"), 100}});
        Rejilla.show();
        if (!QTest::qWaitForWindowExposed(&Rejilla))
            qFatal("the grid did not open");
    }
    void Pinta()
    {
        QCoreApplication::processEvents();
        Rejilla.repaint();
    }
    dbcontrols::DataSource Fuente;
    dbcontrols::DbGrid Rejilla;
};

void RejillaSeAbre(benchmark::State &state)
{
    for (auto _ : state) {
        state.PauseTiming();
        const auto tabla = EnReposo();
        TRejilla rejilla;
        rejilla.Fuente.setDataSet(tabla.get());
        state.ResumeTiming();
        rejilla.Rejilla.setDataSource(&rejilla.Fuente);
        rejilla.Pinta();
        state.PauseTiming();
        if (rejilla.Rejilla.model()->rowCount() < TTablaGrande::Dias * TTablaGrande::LineasPorDia)
            qFatal("lines are missing");
        rejilla.Rejilla.setDataSource(nullptr);
        state.ResumeTiming();
    }
}
BENCHMARK(RejillaSeAbre)->Unit(benchmark::kMillisecond);

void RejillaSeDesplaza(benchmark::State &state)
{
    const auto tabla = EnReposo();
    TRejilla rejilla;
    rejilla.Fuente.setDataSet(tabla.get());
    rejilla.Rejilla.setDataSource(&rejilla.Fuente);
    QScrollBar &barra = *rejilla.Rejilla.verticalScrollBar();
    for (auto _ : state) {
        // By a thumb that is dragged: every picture shows lines that have not been seen.
        barra.setValue((barra.value() + 1013) % barra.maximum());
        rejilla.Pinta();
    }
}
BENCHMARK(RejillaSeDesplaza)->Unit(benchmark::kMillisecond);

void RejillaRefrescoAjeno(benchmark::State &state)
{
    const auto tabla = EnReposo();
    const auto ajena = g_grande->Abierta();
    TRejilla rejilla;
    rejilla.Fuente.setDataSet(tabla.get());
    rejilla.Rejilla.setDataSource(&rejilla.Fuente);
    rejilla.Pinta();
    for (auto _ : state) {
        state.PauseTiming();
        CambiaUnaLinea(*ajena);
        state.ResumeTiming();
        tabla->refresh();
        rejilla.Pinta();
    }
}
BENCHMARK(RejillaRefrescoAjeno)->Unit(benchmark::kMillisecond);

// ---------------------------------------------------------------------------------------------------------------------
// Memory, in a process of its own that does nothing else

void DiMemoria(const char *que, const TMemoria &antes)
{
    const TMemoria ahora = Memoria();
    std::printf("%-44s %8d kB %8d kB %8d kB\n", que, ahora.Propia - antes.Propia, ahora.Todas - antes.Todas,
                ahora.MasQueNunca - antes.Todas);
}

/// Opens the table of a folder and reads twenty years line by line, then by rows.
int LeeTodoYDiMemoria(const QString &carpeta)
{
    dataset::Aliases aliases;
    aliases.add(TTablaGrande::Alias(), carpeta);
    const TMemoria antes = Memoria();
    std::printf("%-44s %11s %11s %11s\n", "Memoria por encima del proceso vacío", "propia", "con ficheros",
                "máxima");
    const auto tabla = TTablaGrande::Cursor(aliases);
    tabla->open();
    DiMemoria("tabla abierta", antes);
    LeeLineas(*tabla);
    DiMemoria("20 años línea a línea", antes);
    tabla->setRange({{QStringLiteral("FECHA"), TTablaGrande::Dia(0)}},
                    {{QStringLiteral("FECHA"), TTablaGrande::Dia(TTablaGrande::Dias)}});
    LeeLineas(*tabla);
    DiMemoria("y por un rango de 20 años", antes);
    for (int fila = 0; fila < tabla->rowCount(); ++fila)
        benchmark::DoNotOptimize(tabla->textAt(fila, 2));
    DiMemoria("y por filas", antes);
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication programa(argc, argv);
    const QString leer = QStringLiteral("--lee");
    const QStringList argumentos = QCoreApplication::arguments();
    if (const auto donde = argumentos.indexOf(leer); donde >= 0)
        return LeeTodoYDiMemoria(argumentos.value(donde + 1));
    benchmark::Initialize(&argc, argv);
    TTablaGrande grande;
    g_grande = &grande;
    benchmark::RunSpecifiedBenchmarks();
    std::fflush(stdout);
    return QProcess::execute(QCoreApplication::applicationFilePath(),
                             {leer, grande.Aliases().folderOf(TTablaGrande::Alias())});
}
