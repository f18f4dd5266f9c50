#include "host/Capturas.h"

#include "host/CapturasInformes.h"

#include <QtCore/QDir>
#include <QtCore/QTimer>
#include <QtGui/QAction>
#include <QtGui/QPixmap>
#include <QtWidgets/QApplication>
#include <QtWidgets/QDialog>
#include <QtWidgets/QMenu>
#include <QtWidgets/QTabWidget>
#include <QtWidgets/QTableView>

namespace
{
constexpr int PausaMs = 150;

template <class T> T *Pieza(QWidget *ventana, const char *nombre)
{
    return ventana ? ventana->findChild<T *>(QLatin1String(nombre)) : nullptr;
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

TCapturas::TCapturas(const QString &carpeta)
    : m_carpeta(QDir(carpeta).absolutePath())
{
    QDir().mkpath(m_carpeta);
    const auto ejecuta = [this](const char *comando) {
        if (auto *const accion = Pieza<QAction>(Delante(), comando)) {
            // What it opens is modal: the next steps go on from within.
            QTimer::singleShot(0, accion, &QAction::trigger);
        }
    };
    const auto cierraDialogo = [this] {
        if (auto *const dialogo = qobject_cast<QDialog *>(Delante()))
            dialogo->reject();
    };
    m_pasos = {
        [this] {
            if (auto *const rejilla = Pieza<QTableView>(Delante(), "DBGAgendaN1"))
                rejilla->setCurrentIndex(PrimeraOcupada(*rejilla));
        },
        [this] { Dibuja(*Delante(), QStringLiteral("agenda")); },
        [this] {
            if (auto *const rejilla = Pieza<QTableView>(Delante(), "DBGAgendaN1")) {
                for (const int fila : {1, 3})
                    rejilla->selectionModel()->select(rejilla->model()->index(fila, 0),
                                                      QItemSelectionModel::Select |
                                                          QItemSelectionModel::Rows);
            }
        },
        [this] { Dibuja(*Delante(), QStringLiteral("agenda-seleccion")); },
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
        [this] { Dibuja(*Delante(), QStringLiteral("agenda-segundo-notario")); },
        [ejecuta] { ejecuta("ADiaSiguiente"); },
        [this] { Dibuja(*Delante(), QStringLiteral("agenda-dia-siguiente")); },
        [ejecuta] { ejecuta("ABuscarDia"); },
        [this] { Dibuja(*Delante(), QStringLiteral("buscar-dia")); },
        cierraDialogo,
        [ejecuta] { ejecuta("ABorrar"); },
        [this] { Dibuja(*Delante(), QStringLiteral("borrar")); },
        cierraDialogo,
        [this] { Delante()->close(); },
    };
    const auto informes = PasosDeInformes(*this, m_carpeta);
    m_pasos.insert(m_pasos.end() - 1, informes.begin(), informes.end());
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

bool TCapturas::Dibuja(QWidget &ventana, const QString &nombre)
{
    const bool bien = ventana.grab().save(QDir(m_carpeta).filePath(nombre + QStringLiteral(".png")));
    Anota(bien);
    return bien;
}

void TCapturas::Anota(bool bien)
{
    m_fallo = m_fallo || !bien;
    ++m_hechas;
}
