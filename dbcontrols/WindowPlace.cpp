#include "dbcontrols/WindowPlace.h"

#include <QtCore/QSettings>
#include <QtWidgets/QWidget>

namespace dbcontrols
{

namespace
{
const QString placeKey = QStringLiteral("Lugar");
const QString resolutionKey = QStringLiteral("PuntosPorPulgada");
} // namespace

bool restorePlace(QWidget &window, const QString &file)
{
    if (file.isEmpty())
        return false;
    QSettings memory(file, QSettings::IniFormat);
    memory.beginGroup(window.objectName());
    return memory.value(resolutionKey).toInt() == window.logicalDpiX() &&
           window.restoreGeometry(memory.value(placeKey).toByteArray());
}

void rememberPlace(const QWidget &window, const QString &file)
{
    if (file.isEmpty())
        return;
    QSettings memory(file, QSettings::IniFormat);
    memory.beginGroup(window.objectName());
    memory.setValue(resolutionKey, window.logicalDpiX());
    memory.setValue(placeKey, window.saveGeometry());
}

} // namespace dbcontrols
