#include "report/Fonts.h"

#include <QtCore/QStringList>

#include <algorithm>

namespace report
{

namespace
{

constexpr double pointsPerInch = 72;
/// A text that fills its line exactly must not fall out of it for the last digit of a sum.
constexpr double slack = 0.01;

/// What cannot be printed as a letter must not disturb the line.
QString printable(QString text)
{
    for (QChar &character : text) {
        if (character < u' ' && character != u'\n')
            character = u' ';
    }
    return text;
}

/// Whether a text may be parted before this position.
bool isLetterStart(QStringView text, qsizetype at)
{
    return at >= text.size() || (!text[at].isLowSurrogate() && !text[at].isMark());
}

} // namespace

QFont reportFont(double points, bool bold)
{
    static const QStringList families{QStringLiteral("Arial"), QStringLiteral("Liberation Sans"),
                                      QStringLiteral("Arimo"), QStringLiteral("Helvetica")};
    QFont font(families);
    font.setStyleHint(QFont::SansSerif);
    font.setPointSizeF(points);
    font.setBold(bold);
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

QFont magnifiedFont(double points, bool bold)
{
    QFont font = reportFont(points, bold);
    font.setPixelSize(qMax(1, qRound(points * unitsPerInch / pointsPerInch * magnification)));
    return font;
}

TextMeasure::TextMeasure(double points, bool bold)
    : m_points(points)
    , m_bold(bold)
    , m_metrics(magnifiedFont(points, bold))
    , m_ascent(m_metrics.ascent() / magnification)
    , m_lineHeight((m_metrics.ascent() + m_metrics.descent()) / magnification)
{
}

double TextMeasure::width(const QString &text) const
{
    return m_metrics.horizontalAdvance(text) / magnification;
}

/// How many characters from the beginning fit into a line; at least one letter.
qsizetype TextMeasure::fitting(QStringView text, double lineWidth) const
{
    if (width(text.toString()) <= lineWidth + slack)
        return text.size(); // most of them
    qsizetype fits = 0;
    qsizetype tooMany = text.size();
    while (tooMany - fits > 1) {
        const qsizetype middle = fits + (tooMany - fits) / 2;
        if (width(text.first(middle).toString()) <= lineWidth + slack)
            fits = middle;
        else
            tooMany = middle;
    }
    while (fits > 0 && !isLetterStart(text, fits))
        --fits;
    if (fits == 0) {
        fits = 1;
        while (!isLetterStart(text, fits))
            ++fits;
    }
    return std::min(fits, text.size());
}

TextMeasure::TextLine TextMeasure::singleLine(const QString &text) const
{
    QString line = printable(text).replace(u'\n', u' ');
    const double lineWidth = width(line);
    return {std::move(line), lineWidth};
}

std::vector<TextMeasure::TextLine> TextMeasure::wrap(const QString &text, double lineWidth,
                                                     int maxLines) const
{
    std::vector<TextLine> lines;
    const QString clean = printable(text);
    QStringView rest(clean);
    while (!rest.isEmpty() && static_cast<int>(lines.size()) < maxLines) {
        const qsizetype hardBreak = rest.indexOf(u'\n');
        const QStringView paragraph = hardBreak < 0 ? rest : rest.first(hardBreak);
        const qsizetype take = lineEnd(paragraph, lineWidth);
        QString line = paragraph.first(take).toString();
        while (line.endsWith(u' '))
            line.chop(1);
        const double needed = width(line);
        lines.push_back({std::move(line), needed});
        rest = rest.sliced(take);
        if (rest.startsWith(u'\n'))
            rest = rest.sliced(1);
        else
            while (rest.startsWith(u' '))
                rest = rest.sliced(1);
    }
    return lines;
}

/// Where the first line of a paragraph ends.
qsizetype TextMeasure::lineEnd(QStringView paragraph, double lineWidth) const
{
    if (paragraph.isEmpty())
        return 0;
    const qsizetype fits = fitting(paragraph, lineWidth);
    if (fits == paragraph.size() || paragraph[fits] == u' ')
        return fits;
    const qsizetype blank = paragraph.first(fits).lastIndexOf(u' ');
    return blank > 0 ? blank : fits;
}

} // namespace report
