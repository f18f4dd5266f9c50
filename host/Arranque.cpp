#include "host/Arranque.h"

#include <QtCore/QEvent>
#include <QtCore/QTimer>
#include <QtWidgets/QApplication>
#include <QtWidgets/QWidget>

#include <cstdio>

TMideArranque::TMideArranque(const QElapsedTimer &reloj)
    : m_reloj(reloj)
{
    qApp->installEventFilter(this);
}

bool TMideArranque::eventFilter(QObject *objeto, QEvent *evento)
{
    QWidget *const ventana = QApplication::activeModalWidget();
    if (!m_visto && evento->type() == QEvent::Paint && ventana &&
        objeto->objectName() == QLatin1String("qt_scrollarea_viewport")) {
        m_visto = true;
        // After this pass of the event loop everything that was to be painted has been.
        QTimer::singleShot(0, ventana, [this, ventana] {
            std::printf("arranque_ms %lld\n", static_cast<long long>(m_reloj.elapsed()));
            std::fflush(stdout);
            ventana->close();
        });
    }
    return QObject::eventFilter(objeto, evento);
}
