// Speeds that the clerk feels in the client list, with 50,000 clients: opening it, a letter typed in it, and
// a letter typed in an edit that searches it.

#include "dataset/DbfTable.h"
#include "host/Clientes.h"

#include <benchmark/benchmark.h>

#include <QtCore/QTemporaryDir>
#include <QtCore/QTimer>
#include <QtGui/QFont>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QDialog>
#include <QtWidgets/QLineEdit>

#include <functional>

namespace
{

constexpr int Clientes = 50000;
constexpr const char *Apellidos[] = {"García", "Núñez",  "Peláez", "Ibáñez",   "Muñoz", "Álvarez",
                                     "Güell",  "Ortega", "Pérez",  "Quiñones", "Ruiz",  "Zamora"};
constexpr int CuantosApellidos = static_cast<int>(std::size(Apellidos));
constexpr const char *Nombres[] = {"María", "Antonio", "Begoña", "Íñigo", "Lucía", "Andrés", "Óscar"};

/// A client table in a folder of its own, with its indexes or without any.
class TListaGrande
{
public:
    explicit TListaGrande(bool conIndices)
    {
        m_aliases.add(QStringLiteral("ZENTRA"), m_carpeta.path());
        dataset::DbfTable tabla(m_aliases);
        tabla.setDatabaseName(QStringLiteral("ZENTRA"));
        tabla.setTableName(QStringLiteral("CLIENTES"));
        tabla.setDurable(false);
        if (conIndices) {
            tabla.addIndexDefinition(QStringLiteral("NOMBRE"), QStringLiteral("UPPER(NOMBRE)"));
            tabla.addIndexDefinition(QStringLiteral("CODIGO"), QStringLiteral("CODIGO"));
        }
        tabla.createFile({{"CODIGO", dataset::FieldKind::integer, 8},
                          {"NOMBRE", dataset::FieldKind::text, 100},
                          {"NIF", dataset::FieldKind::text, 12},
                          {"TELEFONO", dataset::FieldKind::text, 15},
                          {"POBLACION", dataset::FieldKind::text, 40}});
        tabla.open();
        for (int codigo = 1; codigo <= Clientes; ++codigo) {
            tabla.append();
            tabla.field(0).setInteger(codigo);
            const auto de = [codigo](int paso) { return Apellidos[codigo / paso % CuantosApellidos]; };
            tabla.field(1).setText(QString::fromUtf8(de(1)) + u' ' + QString::fromUtf8(de(CuantosApellidos)) +
                                   QStringLiteral(", ") + QString::fromUtf8(Nombres[codigo % 7]) +
                                   QStringLiteral(" %1").arg(codigo));
            tabla.field(3).setText(QString::number(600000000 + codigo));
            tabla.post();
        }
    }
    [[nodiscard]] const dataset::Aliases &Aliases() const { return m_aliases; }

private:
    QTemporaryDir m_carpeta;
    dataset::Aliases m_aliases;
};

TListaGrande *g_lista = nullptr;
TListaGrande *g_sinIndices = nullptr;

void Pinta(QWidget &ventana)
{
    static_cast<void>(QTest::qWaitForWindowExposed(&ventana));
    ventana.repaint();
    QCoreApplication::processEvents();
}

/// Opens the list, works in it once it is painted, and closes it.
void EnLista(TClientesOficina &clientes, const std::function<void(QWidget &)> &pasos)
{
    QTimer::singleShot(0, qApp, [&pasos] {
        QWidget &dialogo = *QApplication::activeModalWidget();
        Pinta(dialogo);
        pasos(dialogo);
        dialogo.close();
    });
    clientes.Elige(QStringLiteral("Lista de clientes"), QStringLiteral("Ficha de Citas"));
}

void AbreLista(benchmark::State &state, const TListaGrande &lista, bool primeraVez)
{
    TClientesOficina abierta(lista.Aliases(), QStringLiteral("ZENTRA"));
    if (!primeraVez)
        EnLista(abierta, [](QWidget &) {});
    for (auto _ : state) {
        if (primeraVez) {
            TClientesOficina nueva(lista.Aliases(), QStringLiteral("ZENTRA"));
            EnLista(nueva, [](QWidget &) {});
        } else {
            EnLista(abierta, [](QWidget &) {});
        }
    }
}
void AbreListaPrimeraVez(benchmark::State &state)
{
    AbreLista(state, *g_lista, true);
}
BENCHMARK(AbreListaPrimeraVez)->Unit(benchmark::kMillisecond);
void AbreListaOtraVez(benchmark::State &state)
{
    AbreLista(state, *g_lista, false);
}
BENCHMARK(AbreListaOtraVez)->Unit(benchmark::kMillisecond);
void AbreListaSinIndices(benchmark::State &state)
{
    AbreLista(state, *g_sinIndices, true);
}
BENCHMARK(AbreListaSinIndices)->Unit(benchmark::kMillisecond);

/// One letter more or less each time, from the text until the list is painted.
void LetraEnLaLista(benchmark::State &state)
{
    TClientesOficina clientes(g_lista->Aliases(), QStringLiteral("ZENTRA"));
    EnLista(clientes, [&state](QWidget &dialogo) {
        const QString texto = QStringLiteral("quinones alvarez");
        qsizetype letras = 0;
        for (auto _ : state) {
            letras = letras % texto.size() + 1;
            dialogo.findChild<QLineEdit *>(QStringLiteral("EBusqueda"))->setText(texto.left(letras));
            dialogo.repaint();
            QCoreApplication::processEvents();
        }
    });
}
BENCHMARK(LetraEnLaLista)->Unit(benchmark::kMillisecond)->Iterations(320);

void LetraEnUnaFicha(benchmark::State &state)
{
    TClientesOficina clientes(g_lista->Aliases(), QStringLiteral("ZENTRA"));
    QLineEdit edicion;
    const QString texto = QStringLiteral("quinones alvarez");
    qsizetype letras = 0;
    for (auto _ : state) {
        letras = letras % texto.size() + 1;
        edicion.setText(texto.left(letras));
        edicion.setModified(true); // as typing does
        clientes.KeyUpBusqueda(edicion, Qt::Key_A);
        if (edicion.property("Tag").toInt() == 0)
            state.SkipWithError("nobody found");
    }
}
BENCHMARK(LetraEnUnaFicha)->Unit(benchmark::kMicrosecond);

/// The longest search: every relative of every letter is tried and the last one fails.
void NadieSeLlamaAsi(benchmark::State &state)
{
    TClientesOficina clientes(g_lista->Aliases(), QStringLiteral("ZENTRA"));
    QLineEdit edicion;
    for (auto _ : state) {
        edicion.setText(QStringLiteral("quinones alvarez, inigo x"));
        edicion.setModified(true);
        clientes.KeyUpBusqueda(edicion, Qt::Key_X);
    }
}
BENCHMARK(NadieSeLlamaAsi)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication programa(argc, argv);
    QApplication::setFont(QFont(QStringLiteral("Arial"), 9));
    benchmark::Initialize(&argc, argv);
    TListaGrande conIndices(true);
    TListaGrande sinIndices(false);
    g_lista = &conIndices;
    g_sinIndices = &sinIndices;
    benchmark::RunSpecifiedBenchmarks();
    g_lista = nullptr;
    g_sinIndices = nullptr;
    return 0;
}
