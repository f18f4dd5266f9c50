#include "agendan/IconosAgendaN.h"

#include <QtCore/QtMath>
#include <QtGui/QGuiApplication>
#include <QtGui/QIconEngine>
#include <QtGui/QPainter>
#include <QtGui/QPainterPath>
#include <QtGui/QPalette>

namespace
{

// Accents that can be told apart on a light and on a dark tool bar.
constexpr QColor Azul{0x2F, 0x7F, 0xD8};
constexpr QColor Verde{0x2E, 0xA0, 0x4E};
constexpr QColor Rojo{0xD9, 0x3F, 0x3F};

QPen Trazo(const QColor &color, double grosor)
{
    return {color, grosor, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin};
}

// Every picture is drawn on a square of 16 units.

void DibujaFlecha(QPainter &pintor, double punta, double base)
{
    pintor.setPen(Trazo(Azul, 2.4));
    pintor.drawPolyline(QPolygonF{{base, 3}, {punta, 8}, {base, 13}});
}

void DibujaNuevo(QPainter &pintor, const QColor &tinta)
{
    pintor.setPen(Trazo(tinta, 1.2));
    pintor.drawPolyline(QPolygonF{{6.5, 14}, {2.5, 14}, {2.5, 1.5}, {8, 1.5}, {11.5, 5}, {11.5, 7}});
    pintor.drawPolyline(QPolygonF{{8, 1.5}, {8, 5}, {11.5, 5}});
    pintor.setPen(Trazo(Verde, 2.2));
    pintor.drawLine(QPointF(11, 8.8), QPointF(11, 14.4));
    pintor.drawLine(QPointF(8.2, 11.6), QPointF(13.8, 11.6));
}

void DibujaModificar(QPainter &pintor, const QColor &tinta)
{
    pintor.setPen(Trazo(tinta, 1.2));
    pintor.drawLine(QPointF(2, 14.2), QPointF(14, 14.2));
    pintor.setBrush(QColor(Azul.red(), Azul.green(), Azul.blue(), 90));
    pintor.drawPolygon(QPolygonF{{3, 11.8}, {3.6, 9}, {11, 1.6}, {13.2, 3.8}, {5.8, 11.2}});
    pintor.drawLine(QPointF(9.4, 3.2), QPointF(11.6, 5.4));
}

void DibujaBorrar(QPainter &pintor)
{
    pintor.setPen(Trazo(Rojo, 2.6));
    pintor.drawLine(QPointF(3.5, 3.5), QPointF(12.5, 12.5));
    pintor.drawLine(QPointF(12.5, 3.5), QPointF(3.5, 12.5));
}

void DibujaImprimir(QPainter &pintor, const QColor &tinta)
{
    pintor.setPen(Trazo(tinta, 1.2));
    pintor.drawPolyline(QPolygonF{{4.5, 6}, {4.5, 1.8}, {11.5, 1.8}, {11.5, 6}});
    pintor.drawPolyline(QPolygonF{{4.5, 11.5}, {2, 11.5}, {2, 6}, {14, 6}, {14, 11.5}, {11.5, 11.5}});
    pintor.setBrush(QColor(Azul.red(), Azul.green(), Azul.blue(), 90));
    pintor.drawRect(QRectF(4.5, 9.2, 7, 5));
}

void DibujaContacto(QPainter &pintor, const QColor &tinta)
{
    pintor.setPen(Trazo(tinta, 1.2));
    pintor.setBrush(QColor(Azul.red(), Azul.green(), Azul.blue(), 90));
    pintor.drawEllipse(QPointF(8, 5), 3, 3.2);
    QPainterPath hombros(QPointF(2.2, 14.2));
    hombros.cubicTo(2.4, 10.6, 5, 9.8, 8, 9.8);
    hombros.cubicTo(11, 9.8, 13.6, 10.6, 13.8, 14.2);
    hombros.closeSubpath();
    pintor.drawPath(hombros);
}

void DibujaConfiguracion(QPainter &pintor, const QColor &tinta)
{
    pintor.setPen(Trazo(tinta, 2.4));
    for (int diente = 0; diente < 8; ++diente) {
        const double angulo = diente * M_PI / 4;
        const QPointF direccion(std::cos(angulo), std::sin(angulo));
        pintor.drawLine(QPointF(8, 8) + direccion * 5, QPointF(8, 8) + direccion * 6);
    }
    pintor.setPen(Trazo(tinta, 1.6));
    pintor.drawEllipse(QPointF(8, 8), 4.4, 4.4);
    pintor.setPen(Trazo(Azul, 1.6));
    pintor.drawEllipse(QPointF(8, 8), 1.6, 1.6);
}

void DibujaSalir(QPainter &pintor, const QColor &tinta)
{
    pintor.setPen(Trazo(tinta, 1.2));
    pintor.drawPolyline(QPolygonF{{9, 5}, {9, 2}, {2.5, 2}, {2.5, 14}, {9, 14}, {9, 11}});
    pintor.setPen(Trazo(Azul, 2));
    pintor.drawLine(QPointF(6, 8), QPointF(13.6, 8));
    pintor.drawPolyline(QPolygonF{{11, 5}, {14, 8}, {11, 11}});
}

void DibujaLimpiar(QPainter &pintor, const QColor &tinta)
{
    pintor.setPen(Trazo(tinta, 1.2));
    pintor.setBrush(QColor(Azul.red(), Azul.green(), Azul.blue(), 90));
    pintor.drawPolygon(QPolygonF{{2, 10}, {8.5, 3}, {13, 7}, {6.8, 13.6}, {5, 13.6}});
    pintor.drawLine(QPointF(5.2, 6.6), QPointF(9.8, 10.6));
    pintor.drawLine(QPointF(6.8, 14.2), QPointF(14, 14.2));
}

void DibujaSalida(QPainter &pintor, const QColor &tinta)
{
    pintor.setPen(Trazo(tinta, 1.2));
    pintor.drawPolyline(QPolygonF{{2.5, 14}, {2.5, 6.5}, {7, 2.5}, {11.5, 6.5}});
    pintor.drawLine(QPointF(2.5, 14), QPointF(6, 14));
    pintor.setPen(Trazo(Rojo, 2));
    pintor.drawLine(QPointF(6.5, 10.5), QPointF(13.8, 10.5));
    pintor.drawPolyline(QPolygonF{{11.2, 7.8}, {14, 10.5}, {11.2, 13.2}});
}

void DibujaAusente(QPainter &pintor, const QColor &tinta)
{
    DibujaContacto(pintor, tinta);
    pintor.setPen(Trazo(Rojo, 2));
    pintor.drawLine(QPointF(2, 2), QPointF(14, 14));
}

void DibujaHoja(QPainter &pintor, const QPointF &esquina)
{
    pintor.drawRect(QRectF(esquina, QSizeF(7.5, 9.5)));
    for (int renglon = 1; renglon <= 3; ++renglon)
        pintor.drawLine(esquina + QPointF(1.8, renglon * 2.4), esquina + QPointF(5.7, renglon * 2.4));
}

void DibujaCopiar(QPainter &pintor, const QColor &tinta)
{
    pintor.setPen(Trazo(tinta, 1.1));
    pintor.drawPolyline(QPolygonF{{4.5, 11}, {2, 11}, {2, 1.5}, {9.5, 1.5}, {9.5, 3.5}});
    pintor.setBrush(QColor(Azul.red(), Azul.green(), Azul.blue(), 90));
    DibujaHoja(pintor, {6, 5});
}

void DibujaPegar(QPainter &pintor, const QColor &tinta)
{
    pintor.setPen(Trazo(tinta, 1.1));
    pintor.drawPolyline(QPolygonF{{5, 13.5}, {2, 13.5}, {2, 3}, {11.5, 3}, {11.5, 4.5}});
    pintor.drawRect(QRectF(4.6, 1.4, 4.4, 2.4));
    pintor.setBrush(QColor(Verde.red(), Verde.green(), Verde.blue(), 90));
    DibujaHoja(pintor, {6.5, 5.5});
}

void Dibuja(QPainter &pintor, TDibujoAgendaN dibujo, const QColor &tinta)
{
    switch (dibujo) {
    case TDibujoAgendaN::anterior:
        return DibujaFlecha(pintor, 5, 10);
    case TDibujoAgendaN::siguiente:
        return DibujaFlecha(pintor, 11, 6);
    case TDibujoAgendaN::nuevo:
        return DibujaNuevo(pintor, tinta);
    case TDibujoAgendaN::modificar:
        return DibujaModificar(pintor, tinta);
    case TDibujoAgendaN::borrar:
        return DibujaBorrar(pintor);
    case TDibujoAgendaN::imprimir:
        return DibujaImprimir(pintor, tinta);
    case TDibujoAgendaN::limpiar:
        return DibujaLimpiar(pintor, tinta);
    case TDibujoAgendaN::salida:
        return DibujaSalida(pintor, tinta);
    case TDibujoAgendaN::ausente:
        return DibujaAusente(pintor, tinta);
    case TDibujoAgendaN::copiar:
        return DibujaCopiar(pintor, tinta);
    case TDibujoAgendaN::pegar:
        return DibujaPegar(pintor, tinta);
    case TDibujoAgendaN::contacto:
        return DibujaContacto(pintor, tinta);
    case TDibujoAgendaN::configuracion:
        return DibujaConfiguracion(pintor, tinta);
    case TDibujoAgendaN::salir:
        return DibujaSalir(pintor, tinta);
    }
}

class TMotorIcono : public QIconEngine
{
public:
    explicit TMotorIcono(TDibujoAgendaN dibujo)
        : m_dibujo(dibujo)
    {
    }

    void paint(QPainter *pintor, const QRect &lugar, QIcon::Mode modo, QIcon::State /*estado*/) override
    {
        const double lado = qMin(lugar.width(), lugar.height());
        pintor->save();
        pintor->setRenderHint(QPainter::Antialiasing);
        pintor->translate(lugar.x() + (lugar.width() - lado) / 2, lugar.y() + (lugar.height() - lado) / 2);
        pintor->scale(lado / 16, lado / 16);
        if (modo == QIcon::Disabled)
            pintor->setOpacity(0.35);
        pintor->setBrush(Qt::NoBrush);
        Dibuja(*pintor, m_dibujo, QGuiApplication::palette().color(QPalette::Active, QPalette::ButtonText));
        pintor->restore();
    }

    QPixmap pixmap(const QSize &medida, QIcon::Mode modo, QIcon::State estado) override
    {
        QPixmap imagen(medida);
        imagen.fill(Qt::transparent);
        QPainter pintor(&imagen);
        paint(&pintor, imagen.rect(), modo, estado);
        return imagen;
    }

    [[nodiscard]] QIconEngine *clone() const override { return new TMotorIcono(m_dibujo); }

private:
    TDibujoAgendaN m_dibujo;
};

} // namespace

QIcon IconoAgendaN(TDibujoAgendaN dibujo)
{
    return QIcon(new TMotorIcono(dibujo)); // the icon owns its engine
}
