#pragma once

#include "report/Export.h"
#include "report/Page.h"

#include <QtGui/QFont>
#include <QtGui/QImage>

#include <deque>

class QPainter;
class QPen;

namespace report
{

/// Paints pages: the same for a printer, a PDF and the screen.
class REPORT_EXPORT PagePainter
{
public:
    /// @param painter  not owned; its origin is the paper's corner, its scale 1.
    /// @param scale    dots of the device to a unit.
    PagePainter(QPainter &painter, double scale);
    ~PagePainter();
    PagePainter(const PagePainter &) = delete;
    PagePainter &operator=(const PagePainter &) = delete;

    /// @param origin  of the paper's corner, in dots.
    void paint(const Page &page, QPointF origin = {});

private:
    struct KnownFont {
        double points;
        bool bold;
        QFont font;
    };
    void paintText(const TextPrimitive &text, QPointF at);
    const QFont &fontFor(const TextPrimitive &text);
    [[nodiscard]] QPen penFor(double width, QRgb color, Qt::PenCapStyle cap) const;
    [[nodiscard]] QPointF dotOf(QPointF place, QPointF origin) const;

    QPainter &m_painter;
    double m_scale;
    bool m_coarse;      ///< dots are so large that lines must keep to them
    double m_fontScale; ///< from points on the page to points of the device
    std::deque<KnownFont> m_fonts;
};

/// A page as a picture, on white paper.
[[nodiscard]] REPORT_EXPORT QImage pageImage(const Page &page, const PageSetup &setup, int dotsPerInch);

} // namespace report
