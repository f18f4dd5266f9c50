#include "host/Aspecto.h"

#include <QtCore/QLibraryInfo>
#include <QtCore/QLocale>
#include <QtGui/QFont>
#include <QtWidgets/QApplication>

TAspecto::TAspecto()
{
    // By name, so that widths are the same everywhere; where it is missing its metric twin takes its place.
    QFont letra(QStringLiteral("Arial"));
    letra.setPointSize(9);
    QApplication::setFont(letra);
    QLocale::setDefault(QLocale(QStringLiteral("es_ES")));
    if (m_traduccion.load(QStringLiteral("qtbase_es"), QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(&m_traduccion);
}
