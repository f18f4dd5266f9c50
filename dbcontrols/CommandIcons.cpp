#include "dbcontrols/CommandIcons.h"

#include <QtCore/QtMath>
#include <QtGui/QGuiApplication>
#include <QtGui/QIconEngine>
#include <QtGui/QPainter>
#include <QtGui/QPainterPath>
#include <QtGui/QPalette>

namespace dbcontrols
{

namespace
{

// Accents that can be told apart on a light and on a dark tool bar.
constexpr QColor Blue{0x2F, 0x7F, 0xD8};
constexpr QColor Green{0x2E, 0xA0, 0x4E};
constexpr QColor Red{0xD9, 0x3F, 0x3F};

QPen stroke(const QColor &color, double width)
{
    return {color, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin};
}

// Every picture is drawn on a square of 16 units.

void drawArrow(QPainter &painter, double tip, double tail)
{
    painter.setPen(stroke(Blue, 2.4));
    painter.drawPolyline(QPolygonF{{tail, 3}, {tip, 8}, {tail, 13}});
}

void drawAdd(QPainter &painter, const QColor &ink)
{
    painter.setPen(stroke(ink, 1.2));
    painter.drawPolyline(QPolygonF{{6.5, 14}, {2.5, 14}, {2.5, 1.5}, {8, 1.5}, {11.5, 5}, {11.5, 7}});
    painter.drawPolyline(QPolygonF{{8, 1.5}, {8, 5}, {11.5, 5}});
    painter.setPen(stroke(Green, 2.2));
    painter.drawLine(QPointF(11, 8.8), QPointF(11, 14.4));
    painter.drawLine(QPointF(8.2, 11.6), QPointF(13.8, 11.6));
}

void drawEdit(QPainter &painter, const QColor &ink)
{
    painter.setPen(stroke(ink, 1.2));
    painter.drawLine(QPointF(2, 14.2), QPointF(14, 14.2));
    painter.setBrush(QColor(Blue.red(), Blue.green(), Blue.blue(), 90));
    painter.drawPolygon(QPolygonF{{3, 11.8}, {3.6, 9}, {11, 1.6}, {13.2, 3.8}, {5.8, 11.2}});
    painter.drawLine(QPointF(9.4, 3.2), QPointF(11.6, 5.4));
}

void drawRemove(QPainter &painter)
{
    painter.setPen(stroke(Red, 2.6));
    painter.drawLine(QPointF(3.5, 3.5), QPointF(12.5, 12.5));
    painter.drawLine(QPointF(12.5, 3.5), QPointF(3.5, 12.5));
}

void drawPrint(QPainter &painter, const QColor &ink)
{
    painter.setPen(stroke(ink, 1.2));
    painter.drawPolyline(QPolygonF{{4.5, 6}, {4.5, 1.8}, {11.5, 1.8}, {11.5, 6}});
    painter.drawPolyline(QPolygonF{{4.5, 11.5}, {2, 11.5}, {2, 6}, {14, 6}, {14, 11.5}, {11.5, 11.5}});
    painter.setBrush(QColor(Blue.red(), Blue.green(), Blue.blue(), 90));
    painter.drawRect(QRectF(4.5, 9.2, 7, 5));
}

void drawContact(QPainter &painter, const QColor &ink)
{
    painter.setPen(stroke(ink, 1.2));
    painter.setBrush(QColor(Blue.red(), Blue.green(), Blue.blue(), 90));
    painter.drawEllipse(QPointF(8, 5), 3, 3.2);
    QPainterPath shoulders(QPointF(2.2, 14.2));
    shoulders.cubicTo(2.4, 10.6, 5, 9.8, 8, 9.8);
    shoulders.cubicTo(11, 9.8, 13.6, 10.6, 13.8, 14.2);
    shoulders.closeSubpath();
    painter.drawPath(shoulders);
}

void drawSettings(QPainter &painter, const QColor &ink)
{
    painter.setPen(stroke(ink, 2.4));
    for (int tooth = 0; tooth < 8; ++tooth) {
        const double angle = tooth * M_PI / 4;
        const QPointF direction(std::cos(angle), std::sin(angle));
        painter.drawLine(QPointF(8, 8) + direction * 5, QPointF(8, 8) + direction * 6);
    }
    painter.setPen(stroke(ink, 1.6));
    painter.drawEllipse(QPointF(8, 8), 4.4, 4.4);
    painter.setPen(stroke(Blue, 1.6));
    painter.drawEllipse(QPointF(8, 8), 1.6, 1.6);
}

void drawLeave(QPainter &painter, const QColor &ink)
{
    painter.setPen(stroke(ink, 1.2));
    painter.drawPolyline(QPolygonF{{9, 5}, {9, 2}, {2.5, 2}, {2.5, 14}, {9, 14}, {9, 11}});
    painter.setPen(stroke(Blue, 2));
    painter.drawLine(QPointF(6, 8), QPointF(13.6, 8));
    painter.drawPolyline(QPolygonF{{11, 5}, {14, 8}, {11, 11}});
}

void drawClear(QPainter &painter, const QColor &ink)
{
    painter.setPen(stroke(ink, 1.2));
    painter.setBrush(QColor(Blue.red(), Blue.green(), Blue.blue(), 90));
    painter.drawPolygon(QPolygonF{{2, 10}, {8.5, 3}, {13, 7}, {6.8, 13.6}, {5, 13.6}});
    painter.drawLine(QPointF(5.2, 6.6), QPointF(9.8, 10.6));
    painter.drawLine(QPointF(6.8, 14.2), QPointF(14, 14.2));
}

void drawOuting(QPainter &painter, const QColor &ink)
{
    painter.setPen(stroke(ink, 1.2));
    painter.drawPolyline(QPolygonF{{2.5, 14}, {2.5, 6.5}, {7, 2.5}, {11.5, 6.5}});
    painter.drawLine(QPointF(2.5, 14), QPointF(6, 14));
    painter.setPen(stroke(Red, 2));
    painter.drawLine(QPointF(6.5, 10.5), QPointF(13.8, 10.5));
    painter.drawPolyline(QPolygonF{{11.2, 7.8}, {14, 10.5}, {11.2, 13.2}});
}

void drawAbsent(QPainter &painter, const QColor &ink)
{
    drawContact(painter, ink);
    painter.setPen(stroke(Red, 2));
    painter.drawLine(QPointF(2, 2), QPointF(14, 14));
}

void drawSheet(QPainter &painter, const QPointF &corner)
{
    painter.drawRect(QRectF(corner, QSizeF(7.5, 9.5)));
    for (int row = 1; row <= 3; ++row)
        painter.drawLine(corner + QPointF(1.8, row * 2.4), corner + QPointF(5.7, row * 2.4));
}

void drawCopy(QPainter &painter, const QColor &ink)
{
    painter.setPen(stroke(ink, 1.1));
    painter.drawPolyline(QPolygonF{{4.5, 11}, {2, 11}, {2, 1.5}, {9.5, 1.5}, {9.5, 3.5}});
    painter.setBrush(QColor(Blue.red(), Blue.green(), Blue.blue(), 90));
    drawSheet(painter, {6, 5});
}

void drawPaste(QPainter &painter, const QColor &ink)
{
    painter.setPen(stroke(ink, 1.1));
    painter.drawPolyline(QPolygonF{{5, 13.5}, {2, 13.5}, {2, 3}, {11.5, 3}, {11.5, 4.5}});
    painter.drawRect(QRectF(4.6, 1.4, 4.4, 2.4));
    painter.setBrush(QColor(Green.red(), Green.green(), Green.blue(), 90));
    drawSheet(painter, {6.5, 5.5});
}

void draw(QPainter &painter, CommandIcon icon, const QColor &ink)
{
    switch (icon) {
    case CommandIcon::previous:
        return drawArrow(painter, 5, 10);
    case CommandIcon::next:
        return drawArrow(painter, 11, 6);
    case CommandIcon::add:
        return drawAdd(painter, ink);
    case CommandIcon::edit:
        return drawEdit(painter, ink);
    case CommandIcon::remove:
        return drawRemove(painter);
    case CommandIcon::print:
        return drawPrint(painter, ink);
    case CommandIcon::clear:
        return drawClear(painter, ink);
    case CommandIcon::outing:
        return drawOuting(painter, ink);
    case CommandIcon::absent:
        return drawAbsent(painter, ink);
    case CommandIcon::copy:
        return drawCopy(painter, ink);
    case CommandIcon::paste:
        return drawPaste(painter, ink);
    case CommandIcon::contact:
        return drawContact(painter, ink);
    case CommandIcon::settings:
        return drawSettings(painter, ink);
    case CommandIcon::leave:
        return drawLeave(painter, ink);
    }
}

class CommandIconEngine : public QIconEngine
{
public:
    explicit CommandIconEngine(CommandIcon icon)
        : m_icon(icon)
    {
    }

    void paint(QPainter *painter, const QRect &place, QIcon::Mode mode, QIcon::State /*state*/) override
    {
        const double side = qMin(place.width(), place.height());
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->translate(place.x() + (place.width() - side) / 2, place.y() + (place.height() - side) / 2);
        painter->scale(side / 16, side / 16);
        if (mode == QIcon::Disabled)
            painter->setOpacity(0.35);
        painter->setBrush(Qt::NoBrush);
        draw(*painter, m_icon, QGuiApplication::palette().color(QPalette::Active, QPalette::ButtonText));
        painter->restore();
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap image(size);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        paint(&painter, image.rect(), mode, state);
        return image;
    }

    [[nodiscard]] QIconEngine *clone() const override { return new CommandIconEngine(m_icon); }

private:
    CommandIcon m_icon;
};

} // namespace

QIcon commandIcon(CommandIcon icon)
{
    return QIcon(new CommandIconEngine(icon)); // the icon owns its engine
}

} // namespace dbcontrols
