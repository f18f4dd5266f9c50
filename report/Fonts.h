#pragma once

#include "report/Page.h"

#include <QtGui/QFont>
#include <QtGui/QFontMetricsF>

#include <memory>

namespace report
{

/// The face of every report: Arial, or where it is missing one with the same widths.
/// @param points  may be fractional.
[[nodiscard]] QFont reportFont(double points, bool bold);

/// Texts are measured this much larger than life, where a device's rounding to whole dots no longer matters.
inline constexpr double magnification = 30;
/// The face that texts are measured with: so many dots high as a letter has units, times the magnification.
[[nodiscard]] QFont magnifiedFont(double points, bool bold);

/// Measures text in units, independent of any device.
class TextMeasure
{
public:
    TextMeasure(double points, bool bold);

    [[nodiscard]] double points() const { return m_points; }
    [[nodiscard]] bool bold() const { return m_bold; }
    [[nodiscard]] double ascent() const { return m_ascent; }
    [[nodiscard]] double lineHeight() const { return m_lineHeight; }
    [[nodiscard]] double width(const QString &text) const;

    struct TextLine {
        QString text;
        double width = 0;
    };
    /// The lines that a text is set in: broken between words, inside a word only when it is wider than the
    /// line.
    /// @param maxLines  no more are worked out.
    [[nodiscard]] std::vector<TextLine> wrap(const QString &text, double lineWidth, int maxLines) const;
    /// The text as one line, however wide.
    [[nodiscard]] TextLine singleLine(const QString &text) const;

private:
    [[nodiscard]] qsizetype fitting(QStringView text, double lineWidth) const;
    [[nodiscard]] qsizetype lineEnd(QStringView paragraph, double lineWidth) const;

    double m_points;
    bool m_bold;
    QFontMetricsF m_metrics;
    double m_ascent;
    double m_lineHeight;
};

} // namespace report
