#include "host/PanelOficina.h"

#include "dbcontrols/PlainText.h"

#include <QtCore/QLocale>
#include <QtGui/QAction>
#include <QtGui/QKeyEvent>
#include <QtGui/QPainter>
#include <QtGui/QPainterPath>
#include <QtWidgets/QFrame>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QVBoxLayout>

namespace
{

/// Half-way between two colours of the theme, so that it fits a light one and a dark one.
QColor Mezcla(const QColor &uno, const QColor &otro, int porCientoDelOtro)
{
    const auto parte = [&](int a, int b) { return a + (b - a) * porCientoDelOtro / 100; };
    return {parte(uno.red(), otro.red()), parte(uno.green(), otro.green()), parte(uno.blue(), otro.blue())};
}

QFont ConTamano(QFont letra, double veces, bool negrita)
{
    letra.setPointSizeF(letra.pointSizeF() * veces);
    letra.setBold(negrita);
    return letra;
}

} // namespace

TBotonGrande::TBotonGrande(QAction &comando, QWidget *padre)
    : QAbstractButton(padre)
    , m_explicacion(comando.statusTip())
    , m_tecla(comando.shortcut().toString(QKeySequence::NativeText))
{
    QString titulo = comando.text();
    setText(titulo.remove(u'&').remove(QStringLiteral("...")));
    setAccessibleName(text());
    setAccessibleDescription(m_explicacion);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::MinimumExpanding, QSizePolicy::Fixed);
    setStatusTip(m_explicacion);
    connect(this, &QAbstractButton::clicked, &comando, &QAction::trigger);
}

QFont TBotonGrande::LetraTitulo() const
{
    return ConTamano(font(), 1.4, true);
}

QSize TBotonGrande::sizeHint() const
{
    const QFontMetrics titulo(LetraTitulo());
    const int alto = fontMetrics().height();
    const int ancho = qMax(titulo.horizontalAdvance(text()), fontMetrics().horizontalAdvance(m_explicacion)) +
                      fontMetrics().horizontalAdvance(m_tecla) + 5 * alto;
    return {ancho, titulo.height() + alto + 2 * alto};
}

void TBotonGrande::paintEvent(QPaintEvent * /*evento*/)
{
    QPainter pintor(this);
    pintor.setRenderHint(QPainter::Antialiasing);
    const QPalette &tema = palette();
    const int alto = fontMetrics().height();
    const bool senalado = isEnabled() && (hasFocus() || underMouse());
    const QColor texto =
        tema.color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::ButtonText);
    const QColor fondo = tema.color(QPalette::Base);
    const QColor acento = tema.color(QPalette::Highlight);
    const double borde = hasFocus() ? 2.5 : 1;
    const QRectF marco = QRectF(rect()).adjusted(borde, borde, -borde, -borde);

    pintor.setPen(QPen(senalado ? acento : Mezcla(fondo, texto, 30), borde));
    pintor.setBrush(Mezcla(fondo, acento, isDown() ? 25 : underMouse() ? 10 : 0));
    pintor.drawRoundedRect(marco, alto / 2.0, alto / 2.0);
    QPainterPath tira;
    tira.addRoundedRect(marco, alto / 2.0, alto / 2.0);
    pintor.setClipPath(tira);
    pintor.fillRect(QRectF(marco.left(), marco.top(), alto / 2.0, marco.height()), acento);
    pintor.setClipping(false);

    const QRect dentro = rect().adjusted(3 * alto / 2, alto, -alto, -alto);
    pintor.setFont(LetraTitulo());
    pintor.setPen(texto);
    pintor.drawText(dentro, Qt::AlignLeft | Qt::AlignTop, text());
    pintor.setFont(font());
    pintor.setPen(Mezcla(fondo, texto, 75));
    pintor.drawText(dentro, Qt::AlignLeft | Qt::AlignBottom, m_explicacion);
    const QSize tecla(fontMetrics().horizontalAdvance(m_tecla) + alto, alto + alto / 2);
    const QRect chapa(QPoint(dentro.right() - tecla.width(), rect().center().y() - tecla.height() / 2),
                      tecla);
    pintor.setPen(Mezcla(fondo, texto, 50));
    pintor.setBrush(Qt::NoBrush);
    pintor.drawRoundedRect(chapa, 4, 4);
    pintor.drawText(chapa, Qt::AlignCenter, m_tecla);
}

void TBotonGrande::keyPressEvent(QKeyEvent *evento)
{
    switch (evento->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        click();
        return;
    case Qt::Key_Down:
        focusNextChild();
        return;
    case Qt::Key_Up:
        focusPreviousChild();
        return;
    default:
        QAbstractButton::keyPressEvent(evento);
    }
}

void TBotonGrande::enterEvent(QEnterEvent *evento)
{
    QAbstractButton::enterEvent(evento);
    update();
}

void TBotonGrande::leaveEvent(QEvent *evento)
{
    QAbstractButton::leaveEvent(evento);
    update();
}

TPanelOficina::TPanelOficina(QWidget *padre)
    : QWidget(padre)
{
    const int hueco = fontMetrics().height();
    m_fecha = dbcontrols::plainLabel({}, this);
    m_fecha->setObjectName(QStringLiteral("LFecha"));
    m_fecha->setFont(ConTamano(font(), 1.9, false));
    auto *const raya = new QFrame(this);
    raya->setFrameShape(QFrame::HLine);
    raya->setFrameShadow(QFrame::Sunken);
    m_botones = new QVBoxLayout;
    m_botones->setSpacing(hueco);
    m_botones->addStretch(1);

    auto *const rotulo = dbcontrols::plainLabel(QStringLiteral("Notarios de la oficina"), this);
    rotulo->setFont(ConTamano(font(), 1.1, true));
    m_notarios = dbcontrols::plainLabel({}, this);
    m_notarios->setObjectName(QStringLiteral("LNotarios"));
    m_notarios->setFont(ConTamano(font(), 1.1, false));
    m_notarios->setWordWrap(true);
    m_notarios->setMinimumWidth(14 * hueco);
    m_notarios->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    auto *const derecha = new QVBoxLayout;
    derecha->addWidget(rotulo);
    derecha->addSpacing(hueco / 2);
    derecha->addWidget(m_notarios, 1);

    auto *const cuerpo = new QHBoxLayout;
    cuerpo->addLayout(m_botones, 3);
    cuerpo->addSpacing(2 * hueco);
    cuerpo->addLayout(derecha, 2);
    auto *const orden = new QVBoxLayout(this);
    orden->setContentsMargins(2 * hueco, 2 * hueco, 2 * hueco, hueco);
    orden->setSpacing(hueco);
    orden->addWidget(m_fecha);
    orden->addWidget(raya);
    orden->addLayout(cuerpo, 1);
}

void TPanelOficina::AnadeAgenda(QAction &comando)
{
    m_botones->insertWidget(m_botones->count() - 1, new TBotonGrande(comando, this));
}

void TPanelOficina::PonFecha(QDate hoy)
{
    QString texto =
        QLocale(QStringLiteral("es_ES")).toString(hoy, QStringLiteral("dddd, d 'de' MMMM 'de' yyyy"));
    texto[0] = texto.at(0).toUpper();
    m_fecha->setText(texto);
}

void TPanelOficina::PonNotarios(const QStringList &nombres)
{
    m_notarios->setText(nombres.join(QStringLiteral("\n\n")));
}

void TPanelOficina::TomaElFoco()
{
    if (auto *const primero = findChild<TBotonGrande *>())
        primero->setFocus();
}
