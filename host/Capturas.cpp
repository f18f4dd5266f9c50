#include "host/Capturas.h"

#include "host/AsistenteOficina.h"
#include "host/CapturasInformes.h"
#include "host/MantenimientoDatos.h"
#include "host/VentanaOficina.h"
#include "host/VentanaTablas.h"

#include <QtCore/QDir>
#include <QtCore/QTimer>
#include <QtGui/QAction>
#include <QtGui/QKeyEvent>
#include <QtGui/QPalette>
#include <QtGui/QPixmap>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QApplication>
#include <QtWidgets/QDialog>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMenu>
#include <QtWidgets/QTabWidget>
#include <QtWidgets/QTableView>

namespace
{
constexpr int PausaMs = 100;
// In place of the folder in hand, so that pictures made on two machines are the same.
const QString CarpetaDeMuestra = QStringLiteral("/srv/notaria");

template <class T> T *Pieza(QWidget *ventana, const char *nombre)
{
    return ventana ? ventana->findChild<T *>(QLatin1String(nombre)) : nullptr;
}

QPalette PaletaOscura()
{
    QPalette paleta(QColor(60, 60, 64), QColor(45, 45, 48)); // the other shades follow from these
    paleta.setColor(QPalette::Base, QColor(30, 30, 30));
    paleta.setColor(QPalette::AlternateBase, QColor(40, 40, 43));
    return paleta;
}

/// The first line with a subject, so that a picture shows the memo filled.
QModelIndex PrimeraOcupada(const QTableView &rejilla)
{
    constexpr int Cita = 1;
    const QAbstractItemModel &modelo = *rejilla.model();
    for (int fila = 0; fila < modelo.rowCount(); ++fila) {
        if (!modelo.index(fila, Cita).data().toString().isEmpty())
            return modelo.index(fila, Cita);
    }
    return modelo.index(0, Cita);
}

} // namespace

TCapturas::TCapturas(const QString &carpeta, TOficina &oficina)
    : m_carpeta(QDir(carpeta).absolutePath())
{
    QDir().mkpath(m_carpeta);
    QApplication::setCursorFlashTime(0); // seen in every picture, not in every other one
    m_pasos = PasosDeLaAgenda();
    for (const auto &pasos :
         {PasosDeInformes(*this, m_carpeta), PasosDeLaUnica(oficina), PasosDeLaConjunta(oficina),
          PasosDeLosDialogos(oficina), PasosDeLosDatos(oficina)})
        m_pasos.insert(m_pasos.end(), pasos.begin(), pasos.end());
    m_pasos.emplace_back([this] { Delante()->close(); });
}

TCapturas::TPaso TCapturas::CierraDialogo() const
{
    return [this] {
        if (auto *const dialogo = qobject_cast<QDialog *>(Delante()))
            dialogo->reject();
    };
}

TCapturas::TPaso TCapturas::Abre(const TPaso &orden)
{
    return [this, orden] { QTimer::singleShot(0, this, orden); };
}

TCapturas::TPaso TCapturas::Pulsa(const QString &titulo)
{
    return Abre([this, titulo] {
        for (auto *const boton : Delante()->findChildren<QAbstractButton *>()) {
            if (boton->text() == titulo)
                return boton->click();
        }
    });
}

TCapturas::TPaso TCapturas::Retrata(const QString &nombre)
{
    return [this, nombre] { Dibuja(*Delante(), nombre); };
}

std::vector<TCapturas::TPaso> TCapturas::PasosDeLaAgenda()
{
    const auto ejecuta = [this](const char *comando) {
        return [this, comando] {
            if (auto *const accion = Pieza<QAction>(Delante(), comando))
                QTimer::singleShot(0, accion, &QAction::trigger);
        };
    };
    return {
        [this] {
            if (auto *const rejilla = Pieza<QTableView>(Delante(), "DBGAgendaN1"))
                rejilla->setCurrentIndex(PrimeraOcupada(*rejilla));
        },
        Retrata(QStringLiteral("agenda")),
        [this] {
            if (auto *const rejilla = Pieza<QTableView>(Delante(), "DBGAgendaN1")) {
                for (const int fila : {1, 3})
                    rejilla->selectionModel()->select(rejilla->model()->index(fila, 0),
                                                      QItemSelectionModel::Select |
                                                          QItemSelectionModel::Rows);
            }
        },
        Retrata(QStringLiteral("agenda-seleccion")),
        ejecuta("ADetalles"),
        Retrata(QStringLiteral("ficha-cita")),
        CierraDialogo(),
        ejecuta("AModificar"),
        Retrata(QStringLiteral("ficha-cita-edicion")),
        Pulsa(QStringLiteral("&Cancelar")),
        Pulsa(QStringLiteral("&Sí")), // the card asks before what was typed goes
        CierraDialogo(),
        [this] {
            if (auto *const menu = Pieza<QMenu>(Delante(), "PMAgendaN")) {
                menu->popup(Delante()->mapToGlobal(QPoint(150, 150)));
                Dibuja(*menu, QStringLiteral("menu"));
                menu->close();
            }
        },
        [this] {
            if (auto *const pestanas = Pieza<QTabWidget>(Delante(), "PCAgenda"))
                pestanas->setCurrentIndex(1);
        },
        Retrata(QStringLiteral("agenda-segundo-notario")),
        ejecuta("ADiaSiguiente"),
        Retrata(QStringLiteral("agenda-dia-siguiente")),
        ejecuta("ABuscarDia"),
        Retrata(QStringLiteral("buscar-dia")),
        CierraDialogo(),
        ejecuta("ABorrar"),
        Retrata(QStringLiteral("borrar")),
        CierraDialogo(),
        ejecuta("AConfiguracion"),
        [this] {
            if (Delante()->objectName() == QLatin1String("FConfAgendaN"))
                Dibuja(*Delante(), QStringLiteral("configuracion"));
        },
        CierraDialogo(),
    };
}

std::vector<TCapturas::TPaso> TCapturas::PasosDeLaUnica(TOficina &oficina)
{
    const auto ejecuta = [this](const char *comando) {
        return [this, comando] {
            if (auto *const accion = Pieza<QAction>(Delante(), comando))
                accion->trigger();
        };
    };
    std::vector<TPaso> pasos{
        Abre([&oficina] { oficina.Modulo->CreaAgenda1(nullptr, oficina.Reloj.Hoy())->IAgenda(); }),
        Retrata(QStringLiteral("agenda-unica")),
        ejecuta("Modificar"),
        Retrata(QStringLiteral("agenda-unica-edicion")),
        [this] {
            if (auto *const aceptar = Pieza<QAbstractButton>(Delante(), "BAceptar"))
                aceptar->click();
        },
    };
    const auto informes = PasosDeInformesUnica(*this, m_carpeta);
    pasos.insert(pasos.end(), informes.begin(), informes.end());
    const std::vector<TPaso> resto{
        [this] { Delante()->close(); },
        Abre([&oficina] { oficina.Modulo->CreaAgenda1(nullptr, oficina.Reloj.Hoy())->IConfiguracion(); }),
        Retrata(QStringLiteral("agenda-unica-configuracion")),
        CierraDialogo(),
    };
    pasos.insert(pasos.end(), resto.begin(), resto.end());
    return pasos;
}

std::vector<TCapturas::TPaso> TCapturas::PasosDeLaConjunta(TOficina &oficina)
{
    const auto teclea = [this](int tecla) {
        return [this, tecla] {
            if (auto *const rejilla = Pieza<QTableView>(Delante(), "RejillaConjunta")) {
                QKeyEvent pulsada(QEvent::KeyPress, tecla, Qt::NoModifier);
                QApplication::sendEvent(rejilla, &pulsada);
            }
        };
    };
    const QPalette claro = QApplication::palette();
    return {
        Abre([&oficina] { oficina.MuestraAgendaConjunta(nullptr); }),
        [this] {
            if (auto *const rejilla = Pieza<QTableView>(Delante(), "RejillaConjunta"))
                rejilla->setCurrentIndex(rejilla->model()->index(2, 0));
        },
        Retrata(QStringLiteral("agenda-conjunta")),
        teclea(Qt::Key_F2),
        Retrata(QStringLiteral("agenda-conjunta-edicion")),
        [] { QApplication::setPalette(PaletaOscura()); },
        Retrata(QStringLiteral("agenda-conjunta-oscuro")),
        [claro] { QApplication::setPalette(claro); },
        [this] { Delante()->close(); },
    };
}

std::vector<TCapturas::TPaso> TCapturas::PasosDeLosDialogos(TOficina &oficina)
{
    const auto abreLista =
        Abre([&oficina] { oficina.Clientes.Elige(QStringLiteral("Lista de clientes"), {}); });
    const auto busca = [this] {
        if (auto *const busqueda = Pieza<QLineEdit>(Delante(), "EBusqueda"))
            busqueda->setText(QStringLiteral("mar"));
    };
    const QPalette claro = QApplication::palette();
    return {
        abreLista,
        busca,
        Retrata(QStringLiteral("clientes")),
        CierraDialogo(),
        [] { QApplication::setPalette(PaletaOscura()); },
        abreLista,
        busca,
        Retrata(QStringLiteral("clientes-oscuro")),
        CierraDialogo(),
        [claro] { QApplication::setPalette(claro); },
        Abre([&oficina] { oficina.Clientes.MuestraFicha(1); }),
        Retrata(QStringLiteral("ficha-cliente")),
        CierraDialogo(),
        Abre([&oficina] {
            QString oficial;
            oficina.Rut.PreguntaOficial(oficial);
        }),
        Retrata(QStringLiteral("oficiales")),
        CierraDialogo(),
        Abre([&oficina] {
            oficina.Mensaje.Mensaje_NoSi(QStringLiteral("¿Desea cancelar la operación?"), {},
                                         QStringLiteral(" ATENCIÓN:"));
        }),
        Retrata(QStringLiteral("pregunta")),
        CierraDialogo(),
        Abre([&oficina] {
            oficina.Mensaje.Mensaje_Error(QStringLiteral("La fecha introducida no es correcta"),
                                          QStringLiteral(" ATENCIÓN:"));
        }),
        Retrata(QStringLiteral("error")),
        CierraDialogo(),
    };
}

std::vector<TCapturas::TPaso> TCapturas::PasosDeLosDatos(TOficina &oficina)
{
    const auto anade = [this] {
        if (auto *const boton = Pieza<QAbstractButton>(Delante(), "BAnadir"))
            QTimer::singleShot(0, boton, &QAbstractButton::click);
    };
    std::vector<TPaso> pasos;
    const std::pair<void (*)(TOficina &, QWidget *), QString> ventanas[] = {
        {MantieneClientes, QStringLiteral("datos-clientes")},
        {MantieneOficiales, QStringLiteral("datos-oficiales")},
        {MantieneNotarios, QStringLiteral("datos-notarios")},
    };
    for (const auto &[ventana, nombre] : ventanas) {
        const std::vector<TPaso> suyos{Abre([&oficina, mantiene = ventana] { mantiene(oficina, nullptr); }),
                                       Retrata(nombre),
                                       anade,
                                       Retrata(nombre + QStringLiteral("-ficha")),
                                       CierraDialogo(),
                                       CierraDialogo()};
        pasos.insert(pasos.end(), suyos.begin(), suyos.end());
    }
    const std::vector<TPaso> resto{
        Abre([&oficina] { TVentanaTablas(oficina, nullptr).exec(); }),
        // Until its first look at the tables has ended.
        [this] { EsperaA("BCopia"); },
        Pulsa(QStringLiteral("&Comprobar")),
        [this] { EsperaA("BCopia"); },
        Retrata(QStringLiteral("tablas")),
        CierraDialogo(),
        Abre([&oficina] { TAsistenteOficina(CarpetaDeMuestra, oficina.Reloj.Hoy()).exec(); }),
        Retrata(QStringLiteral("asistente")),
        CierraDialogo(),
    };
    pasos.insert(pasos.end(), resto.begin(), resto.end());
    return pasos;
}

QWidget *TCapturas::Delante() const
{
    return QApplication::activeModalWidget();
}

void TCapturas::Empieza()
{
    QTimer::singleShot(PausaMs, this, &TCapturas::Sigue);
}

void TCapturas::Sigue()
{
    if (m_siguiente >= m_pasos.size())
        return;
    if (!Delante()) {
        m_fallo = true; // the agenda did not open, or closed too soon
        return;
    }
    // Before the step: it may open a window and come back only when that is closed.
    QTimer::singleShot(PausaMs, this, &TCapturas::Sigue);
    m_pasos[m_siguiente++]();
}

void TCapturas::EsperaA(const char *boton)
{
    const auto *const uno = Pieza<QAbstractButton>(Delante(), boton);
    if (uno && !uno->isEnabled())
        --m_siguiente; // asked again at the next turn
}

bool TCapturas::Dibuja(QWidget &ventana, const QString &nombre)
{
    if (auto *const datos = Pieza<QLabel>(&ventana, "LDatos"))
        datos->setText(QStringLiteral("Datos: ") + CarpetaDeMuestra);
    const bool bien = ventana.grab().save(QDir(m_carpeta).filePath(nombre + QStringLiteral(".png")));
    Anota(bien);
    return bien;
}

void TCapturas::Anota(bool bien)
{
    m_fallo = m_fallo || !bien;
    ++m_hechas;
}
