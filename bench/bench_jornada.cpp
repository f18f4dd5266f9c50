// A working day of eight hours in one sitting: what a clerk and his neighbours do between nine and five,
// without the pauses. Says how much memory the agenda holds at the end of each hour, and fails when that goes
// on growing.

#include "agenda/ClaseConfAgendaN.h"
#include "agendan/ClaseAgendaN.h"
#include "agendan/FichaAgendaN.h"
#include "bench/HostMudo.h"
#include "bench/Memoria.h"
#include "bench/TablaGrande.h"

#include <QtCore/QFile>
#include <QtGui/QAction>
#include <QtGui/QFont>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QTabWidget>

#include <cstdio>
#include <vector>

namespace
{

constexpr int Notarios = 5;
constexpr int Horas = 8;
constexpr int RefrescosPorHora = 720; // one every five seconds
constexpr int EntreCambiosPropios = 6;
constexpr int EntreCambiosAjenos = 4;
constexpr int EntrePestanas = 24;
constexpr int EntreDias = 36;
constexpr int MargenKB = 2048;

/// The same twenty years for every notary, each in a folder of his own.
struct TDatos {
    TDatos()
    {
        for (int notario = 1; notario <= Notarios; ++notario) {
            const QString alias = QStringLiteral("NOTARIO%1").arg(notario);
            const QDir carpeta(Carpeta.filePath(alias));
            if (!carpeta.mkpath(QStringLiteral(".")))
                qFatal("no folder");
            const QDir origen(Modelo.Aliases().folderOf(TTablaGrande::Alias()));
            for (const QString &fichero : origen.entryList(QDir::Files)) {
                if (!QFile::copy(origen.filePath(fichero), carpeta.filePath(fichero)))
                    qFatal("no copy");
            }
            Aliases.add(alias, carpeta.path());
        }
    }
    TTablaGrande Modelo;
    QTemporaryDir Carpeta;
    dataset::Aliases Aliases;
};

struct THostDeCinco : THostMudo {
    QString AliasNotario(int notario) override { return QStringLiteral("NOTARIO%1").arg(notario); }
};

/// One of the day's steps, five seconds of it.
class TJornada
{
public:
    TJornada(TClassAgendaN &motor, TFFichaAgendaN &ficha, dataset::DataSet &vecino)
        : m_motor(motor)
        , m_ficha(ficha)
        , m_vecino(vecino)
        , m_pestanas(*ficha.findChild<QTabWidget *>(QStringLiteral("PCAgenda")))
    {
    }
    void Paso(int paso)
    {
        if (paso % EntreDias == 0)
            Comando(paso % (2 * EntreDias) == 0 ? "ADiaSiguiente" : "ADiaAnterior");
        if (paso % EntrePestanas == 0)
            m_pestanas.setCurrentIndex((m_pestanas.currentIndex() + 1) % Notarios);
        if (paso % EntreCambiosPropios == 0 && m_motor.Modificar()) {
            m_motor.TablaActual().field(u"CONCEPTO").setText(QStringLiteral("Poder %1").arg(paso));
            m_motor.AceptarAgendaN();
        }
        if (paso % EntreCambiosAjenos == 0) {
            m_vecino.setCurrentRow(paso % TTablaGrande::LineasPorDia);
            CambiaUnaLinea(m_vecino);
        }
        m_motor.TablaActual().refresh();
        m_ficha.repaint();
        QCoreApplication::processEvents();
    }

private:
    void Comando(const char *nombre) { m_ficha.findChild<QAction *>(QLatin1String(nombre))->trigger(); }

    TClassAgendaN &m_motor;
    TFFichaAgendaN &m_ficha;
    dataset::DataSet &m_vecino;
    QTabWidget &m_pestanas;
};

int Trabaja()
{
    TDatos datos;
    THostDeCinco host;
    host.Cuantos = Notarios;
    const TServiciosInstalados servicios({&host, &host, &host, &host, &host, &datos.Aliases});
    goConfAgendaN = std::make_unique<TClassConfAgendaN>();
    const TMemoria vacia = Memoria();
    std::vector<int> alFinal;
    {
        TClassAgendaN motor(nullptr, nullptr, {}, nullptr);
        const QDate dia = TTablaGrande::Dia(TTablaGrande::Dias / 2);
        motor.SincronizarTablasAFecha(dia, true);
        TFFichaAgendaN ficha(nullptr);
        for (int notario = 1; notario <= Notarios; ++notario)
            ficha.PonNotario(notario, QStringLiteral("Ana Núñez"), motor.Tabla(notario));
        ficha.PonMotor(motor);
        ficha.PonSincronizarDia(false);
        ficha.PCAgendaChange();
        ficha.show();
        const auto vecino = TTablaGrande::Cursor(datos.Aliases);
        vecino->open();
        vecino->setRange({{"FECHA", dia}}, {{"FECHA", dia}});
        TJornada jornada(motor, ficha, *vecino);
        std::printf("%-10s %16s %16s\n", "al final de", "propia (kB)", "con ficheros (kB)");
        for (int hora = 1; hora <= Horas; ++hora) {
            for (int paso = 1; paso <= RefrescosPorHora; ++paso)
                jornada.Paso((hora - 1) * RefrescosPorHora + paso);
            const TMemoria ahora = Memoria();
            std::printf("hora %-5d %16d %16d\n", hora, ahora.Propia, ahora.Todas);
            alFinal.push_back(ahora.Propia);
        }
        std::printf("La agenda abierta: %d kB propios más que el programa vacío\n",
                    alFinal.back() - vacia.Propia);
        ficha.close();
    }
    goConfAgendaN.reset();
    const int crece = alFinal.back() - alFinal.front();
    std::printf("Crece entre la primera hora y la última: %d kB\n", crece);
    return crece > MargenKB ? 1 : 0;
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication programa(argc, argv);
    QApplication::setFont(QFont(QStringLiteral("Arial"), 9));
    return Trabaja();
}
