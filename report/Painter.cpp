#include "report/Painter.h"

#include "report/Fonts.h"

#include <QtGui/QPainter>
#include <QtGui/QPen>

namespace report
{

PagePainter::PagePainter(QPainter &painter, double scale)
    : m_painter(painter)
    , m_scale(scale)
    , m_fontScale(scale * unitsPerInch / painter.device()->logicalDpiY())
{
}

PagePainter::~PagePainter() = default;

void PagePainter::paint(const Page &page, QPointF origin)
{
    const auto pen = [this](double width, QRgb color, Qt::PenCapStyle cap) {
        // A line thinner than a dot would come and go with the zoom.
        return QPen(QColor::fromRgba(color), qMax(1.0, width * m_scale), Qt::SolidLine, cap, Qt::MiterJoin);
    };
    m_painter.save();
    m_painter.setRenderHint(QPainter::Antialiasing, false);
    m_painter.setRenderHint(QPainter::TextAntialiasing, true);
    for (const RectanglePrimitive &rectangle : page.rectangles) {
        m_painter.setPen(rectangle.width > 0 ? pen(rectangle.width, rectangle.color, Qt::SquareCap)
                                             : QPen(Qt::NoPen));
        m_painter.setBrush(QColor::fromRgba(rectangle.fill));
        m_painter.drawRect(
            QRectF(rectangle.box.topLeft() * m_scale + origin, rectangle.box.size() * m_scale));
    }
    for (const LinePrimitive &line : page.lines) {
        m_painter.setPen(pen(line.width, line.color, Qt::FlatCap));
        m_painter.drawLine(QLineF(line.line.p1() * m_scale + origin, line.line.p2() * m_scale + origin));
    }
    for (const TextPrimitive &text : page.texts) {
        m_painter.setPen(QColor::fromRgba(text.color));
        m_painter.setFont(fontFor(text));
        m_painter.drawText(QPointF(text.left, text.baseline) * m_scale + origin, text.text);
    }
    m_painter.restore();
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
    return m_fonts
        .emplace_back(KnownFont{text.points, text.bold, reportFont(text.points * m_fontScale, text.bold)})
        .font;
}

} // namespace report
