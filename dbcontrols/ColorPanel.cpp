#include "dbcontrols/ColorPanel.h"

#include <QtGui/QPainter>
#include <QtGui/QPalette>
#include <QtWidgets/QColorDialog>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QPushButton>

#include <cmath>

namespace dbcontrols
{

namespace
{

constexpr QSize DrawnSize{47, 17};
constexpr quint32 OfTheDesktop = 0x80000000;

/// Spanish also where Qt's translation is not installed.
void nameButtons(const QColorDialog &dialog)
{
    const auto *const buttons = dialog.findChild<QDialogButtonBox *>();
    if (!buttons)
        return;
    if (QPushButton *const ok = buttons->button(QDialogButtonBox::Ok))
        ok->setText(QStringLiteral("&Aceptar"));
    if (QPushButton *const cancel = buttons->button(QDialogButtonBox::Cancel))
        cancel->setText(QStringLiteral("&Cancelar"));
}

double brightnessOf(const QColor &color)
{
    return 0.299 * color.red() + 0.587 * color.green() + 0.114 * color.blue();
}

} // namespace

QColor readableOn(const QColor &background, const QColor &usual)
{
    constexpr double enough = 90;
    if (std::abs(brightnessOf(background) - brightnessOf(usual)) >= enough)
        return usual;
    return brightnessOf(background) > 140 ? Qt::black : Qt::white;
}

QColor screenColor(quint32 number, const QPalette &palette)
{
    if (!(number & OfTheDesktop))
        return {static_cast<int>(number & 0xFFU), static_cast<int>((number >> 8U) & 0xFFU),
                static_cast<int>((number >> 16U) & 0xFFU)};
    switch (number & ~OfTheDesktop) {
    case 7:  // menu text
    case 8:  // window text
    case 18: // button text
        return palette.color(QPalette::WindowText);
    case 2:  // active caption
    case 13: // selection
    case 26: // link
    case 29: // selected menu entry
        return palette.color(QPalette::Highlight);
    case 0:  // scroll bar
    case 3:  // inactive caption
    case 4:  // menu
    case 15: // button face
    case 22: // light edge
    case 30: // menu bar
        return palette.color(QPalette::Button);
    case 12: // work area
    case 16: // shadow
    case 17: // grey text
        return palette.color(QPalette::Mid);
    case 24: // tool tip
        return palette.color(QPalette::ToolTipBase);
    default:
        return palette.color(QPalette::Base);
    }
}

ColorPanel::ColorPanel(QWidget *parent)
    : QAbstractButton(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setCursor(Qt::PointingHandCursor);
}

ColorPanel::~ColorPanel() = default;

void ColorPanel::setColor(quint32 color)
{
    m_color = color;
    update();
}

std::optional<quint32> ColorPanel::askColor(const QString &title)
{
    QColorDialog dialog(visibleColor(), window());
    dialog.setObjectName(QStringLiteral("CDColor"));
    dialog.setOption(QColorDialog::DontUseNativeDialog);
    dialog.setWindowTitle(title);
    nameButtons(dialog);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    const QColor color = dialog.selectedColor();
    if (!color.isValid() || color == visibleColor())
        return m_color;
    return static_cast<quint32>(color.blue()) << 16U | static_cast<quint32>(color.green()) << 8U |
           static_cast<quint32>(color.red());
}

QSize ColorPanel::sizeHint() const
{
    return DrawnSize.expandedTo({fontMetrics().height() * 3, fontMetrics().height() + 2});
}

void ColorPanel::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    const QColor fill = visibleColor();
    painter.setPen(palette().color(hasFocus() ? QPalette::Highlight : QPalette::Mid));
    painter.setBrush(fill);
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
    if (!hasFocus())
        return;
    // Two rings, one of them always in contrast with the colour.
    painter.drawRect(rect().adjusted(1, 1, -2, -2));
    painter.setPen(QPen(fill.lightness() > 127 ? Qt::black : Qt::white, 1, Qt::DotLine));
    painter.drawRect(rect().adjusted(3, 3, -4, -4));
}

} // namespace dbcontrols
