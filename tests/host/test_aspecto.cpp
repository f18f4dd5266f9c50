// What the toolkit itself says: its dialogs are none of ours, and speak Spanish all the same.

#include "host/Aspecto.h"

#include <gtest/gtest.h>

#include <QtCore/QFileInfo>
#include <QtCore/QLibraryInfo>
#include <QtPrintSupport/QPrintDialog>
#include <QtPrintSupport/QPrinter>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QColorDialog>
#include <QtWidgets/QLabel>

namespace
{

QStringList textosDe(const QWidget &dialogo)
{
    QStringList textos{dialogo.windowTitle()};
    for (const QAbstractButton *const boton : dialogo.findChildren<QAbstractButton *>())
        textos << boton->text();
    for (const QLabel *const rotulo : dialogo.findChildren<QLabel *>())
        textos << rotulo->text();
    textos.removeAll(QString());
    return textos;
}

TEST(AspectoTest, TheDialogsOfTheToolkitSpeakSpanish)
{
    if (!QFileInfo::exists(QLibraryInfo::path(QLibraryInfo::TranslationsPath) + "/qtbase_es.qm"))
        GTEST_SKIP() << "Qt's own translations are not installed";
    const TAspecto aspecto;
    const QColorDialog colores;
    QPrinter impresora;
    const QPrintDialog imprimir(&impresora);
    const struct {
        const QWidget &dialogo;
        QStringList dice;
        QStringList noDice;
    } casos[] = {
        {colores, {"Aceptar", "Cancelar", "&Rojo:"}, {"OK", "&OK", "Cancel", "&Red:", "Select Color"}},
        {imprimir, {"Cancelar", "Im&primir", "Copias:"}, {"Cancel", "&Print", "Print", "Copies:"}}};
    for (const auto &caso : casos) {
        const QStringList textos = textosDe(caso.dialogo);
        for (const QString &texto : caso.dice)
            EXPECT_TRUE(textos.contains(texto))
                << qPrintable(texto) << " in " << qPrintable(textos.join(" | "));
        for (const QString &texto : caso.noDice)
            EXPECT_FALSE(textos.contains(texto)) << qPrintable(texto);
    }
}

} // namespace
