#pragma once

#include "report/Run.h"

#include <gtest/gtest.h>

#include <QtCore/QProcess>
#include <QtCore/QRegularExpression>
#include <QtCore/QStandardPaths>
#include <QtCore/QStringList>

#include <algorithm>

namespace support
{

/// The first text of a page that reads so, or a failure.
inline const report::TextPrimitive *textoDe(const report::Page &pagina, const QString &texto)
{
    for (const report::TextPrimitive &uno : pagina.texts) {
        if (uno.text == texto)
            return &uno;
    }
    return nullptr;
}

/// Every text of a page whose top lies between two heights, from left to right.
inline QStringList textosEntre(const report::Page &pagina, double arriba, double abajo)
{
    std::vector<std::pair<double, QString>> hallados;
    for (const report::TextPrimitive &uno : pagina.texts) {
        if (uno.top >= arriba && uno.top < abajo)
            hallados.emplace_back(uno.left, uno.text);
    }
    std::sort(hallados.begin(), hallados.end());
    QStringList textos;
    for (const auto &[izquierda, texto] : hallados)
        textos << texto;
    return textos;
}

/// A word of a PDF as an independent reader sees it; places in units of 1/96 inch.
struct PalabraPdf {
    int pagina = 0;
    QString texto;
    double izquierda = 0;
    double arriba = 0;
    double derecha = 0;
};

/// The words of a PDF; nothing, with the reason, where the reader is not installed.
inline std::vector<PalabraPdf> palabrasDePdf(const QString &fichero)
{
    QProcess lector;
    lector.start(QStringLiteral("pdftotext"), {QStringLiteral("-bbox"), fichero, QStringLiteral("-")});
    std::vector<PalabraPdf> palabras;
    EXPECT_TRUE(lector.waitForFinished()) << "pdftotext did not end";
    static const QRegularExpression forma(
        QStringLiteral("<page |<word xMin=\"([\\d.]+)\" yMin=\"([\\d.]+)\" xMax=\"([\\d.]+)\" "
                       "yMax=\"[\\d.]+\">([^<]*)</word>"));
    int pagina = 0;
    constexpr double unidades = 96.0 / 72;
    auto hallados = forma.globalMatch(QString::fromUtf8(lector.readAllStandardOutput()));
    while (hallados.hasNext()) {
        const auto uno = hallados.next();
        if (uno.captured(1).isEmpty())
            ++pagina;
        else
            palabras.push_back({pagina, uno.captured(4), uno.captured(1).toDouble() * unidades,
                                uno.captured(2).toDouble() * unidades,
                                uno.captured(3).toDouble() * unidades});
    }
    return palabras;
}

inline bool hayLectorDePdf()
{
    return !QStandardPaths::findExecutable(QStringLiteral("pdftotext")).isEmpty();
}

} // namespace support
