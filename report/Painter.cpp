#include "report/Painter.h"

#include "report/Fonts.h"

#include <QtGui/QPainter>
#include <QtGui/QPen>

#include <algorithm>
#include <cmath>

namespace report
{

namespace
{
constexpr double coarseBelow = 4; // dots to a unit
}

PagePainter::PagePainter(QPainter &painter, double scale)
    : m_painter(painter)
    , m_scale(scale)
    , m_coarse(scale < coarseBelow)
    , m_fontScale(scale * unitsPerInch / painter.device()->logicalDpiY())
{
}

PagePainter::~PagePainter() = default;

void PagePainter::paint(const Page &page, QPointF origin)
{
    m_painter.save();
    m_painter.setRenderHint(QPainter::Antialiasing, false);
    m_painter.setRenderHint(QPainter::TextAntialiasing, true);
    for (const RectanglePrimitive &rectangle : page.rectangles) {
        m_painter.setPen(rectangle.width > 0 ? penFor(rectangle.width, rectangle.color, Qt::SquareCap)
                                             : QPen(Qt::NoPen));
        m_painter.setBrush(QColor::fromRgba(rectangle.fill));
        m_painter.drawRect(
            QRectF(dotOf(rectangle.box.topLeft(), origin), dotOf(rectangle.box.bottomRight(), origin)));
    }
    for (const LinePrimitive &line : page.lines) {
        m_painter.setPen(penFor(line.width, line.color, Qt::FlatCap));
        m_painter.drawLine(QLineF(dotOf(line.line.p1(), origin), dotOf(line.line.p2(), origin)));
    }
    for (const TextPrimitive &text : page.texts) {
        paintText(text, QPointF(text.left, text.baseline) * m_scale + origin);
    }
    m_painter.restore();
}

void PagePainter::paintText(const TextPrimitive &text, QPointF at)
{
    m_painter.setPen(QColor::fromRgba(text.color));
    m_painter.setFont(fontFor(text));
    if (!m_coarse) {
        m_painter.drawText(at, text.text);
        return;
    }
    // A face made for the screen steps by whole dots, and a line would outgrow its column.
    m_painter.save();
    m_painter.translate(at);
    m_painter.scale(m_scale / magnification, m_scale / magnification);
    m_painter.drawText(QPointF(), text.text);
    m_painter.restore();
}

/// On a screen every line of a width gets the same number of dots; none is thinner than one, or it would come
/// and go with the zoom.
QPen PagePainter::penFor(double width, QRgb color, Qt::PenCapStyle cap) const
{
    const double dots = m_coarse ? std::round(width * m_scale) : width * m_scale;
    return {QColor::fromRgba(color), std::max(1.0, dots), Qt::SolidLine, cap, Qt::MiterJoin};
}

QPointF PagePainter::dotOf(QPointF place, QPointF origin) const
{
    const QPointF dot = place * m_scale + origin;
    return m_coarse ? QPointF(std::round(dot.x()), std::round(dot.y())) : dot;
}

QImage pageImage(const Page &page, const PageSetup &setup, int dotsPerInch)
{
    const double scale = dotsPerInch / unitsPerInch;
    QImage image((setup.paperRect().size() * scale).toSize(), QImage::Format_RGB32);
    image.setDotsPerMeterX(qRound(dotsPerInch / 0.0254));
    image.setDotsPerMeterY(qRound(dotsPerInch / 0.0254));
    image.fill(Qt::white);
    QPainter painter(&image);
    PagePainter(painter, scale).paint(page);
    return image;
}

const QFont &PagePainter::fontFor(const TextPrimitive &text)
{
    for (const KnownFont &known : m_fonts) {
        if (known.points == text.points && known.bold == text.bold)
            return known.font;
    }
    const QFont font =
        m_coarse ? magnifiedFont(text.points, text.bold) : reportFont(text.points * m_fontScale, text.bold);
    return m_fonts.emplace_back(KnownFont{text.points, text.bold, font}).font;
}

} // namespace report
