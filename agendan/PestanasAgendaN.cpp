#include "agendan/PestanasAgendaN.h"

#include <QtGui/QPainter>
#include <QtWidgets/QStyleOptionFocusRect>
#include <QtWidgets/QStyleOptionTab>
#include <QtWidgets/QStylePainter>
#include <QtWidgets/QTabBar>
#include <QtWidgets/QToolButton>

namespace
{

// Where a caption begins inside its tab.
constexpr QPoint LugarActiva{6, 4};
constexpr QPoint LugarOtras{4, 2};
constexpr int MargenDerecho = 8;

QFont Negrita(QFont letra)
{
    letra.setBold(true);
    return letra;
}

/// Caption as it is read, from the form in which the tab bar keeps it.
QString SinMarcas(QString rotulo)
{
    return rotulo.replace(QLatin1String("&&"), QLatin1String("&"));
}

class TBarraPestanas : public QTabBar
{
public:
    explicit TBarraPestanas(QWidget *padre)
        : QTabBar(padre)
    {
    }

protected:
    [[nodiscard]] QSize tabSizeHint(int pestana) const override
    {
        // Bold for every tab, so that none changes its width when it becomes the active one.
        const QFontMetrics medidas(Negrita(font()));
        return {LugarActiva.x() + medidas.horizontalAdvance(SinMarcas(tabText(pestana))) + MargenDerecho,
                LugarActiva.y() + medidas.height() + LugarActiva.y()};
    }

    void paintEvent(QPaintEvent * /*evento*/) override
    {
        QStylePainter pintor(this);
        for (int pestana = 0; pestana < count(); ++pestana) {
            if (pestana != currentIndex())
                DrawTab(pintor, pestana);
        }
        // Last, because its shape overlaps its neighbours.
        if (currentIndex() >= 0)
            DrawTab(pintor, currentIndex());
    }

private:
    void DrawTab(QStylePainter &pintor, int pestana)
    {
        if (!isTabVisible(pestana))
            return;
        QStyleOptionTab opcion;
        initStyleOption(&opcion, pestana);
        pintor.drawControl(QStyle::CE_TabBarTabShape, opcion);
        const bool activa = pestana == currentIndex();
        const QPoint lugar = tabRect(pestana).topLeft() + (activa ? LugarActiva : LugarOtras);
        const QRect texto(lugar, tabRect(pestana).bottomRight());
        pintor.setFont(activa ? Negrita(font()) : font());
        pintor.setPen(palette().color(QPalette::WindowText));
        pintor.drawText(texto, static_cast<int>(Qt::AlignLeft | Qt::AlignTop) | Qt::TextSingleLine,
                        SinMarcas(tabText(pestana)));
        if (activa && hasFocus()) {
            QStyleOptionFocusRect foco;
            foco.initFrom(this);
            foco.rect = tabRect(pestana).adjusted(3, 2, -3, -2);
            foco.backgroundColor = palette().color(QPalette::Window);
            pintor.drawPrimitive(QStyle::PE_FrameFocusRect, foco);
        }
    }
};

} // namespace

TPestanasAgendaN::TPestanasAgendaN(QWidget *padre)
    : QTabWidget(padre)
{
    auto *const barra = new TBarraPestanas(this);
    setTabBar(barra);
    // A click takes the focus, as from any other control: what is being typed elsewhere is then seen to.
    barra->setFocusPolicy(Qt::StrongFocus);
    // The bar alone: as a stop of its own the tab control would send Tab back to it, past the date field.
    setFocusProxy(nullptr);
    setFocusPolicy(Qt::NoFocus);
    setUsesScrollButtons(true);
    // The scroll buttons would give their names in English.
    const QList<QToolButton *> botones = barra->findChildren<QToolButton *>();
    for (QToolButton *const boton : botones) {
        const bool izquierda = boton->arrowType() == Qt::LeftArrow;
        boton->setAccessibleName(izquierda ? QStringLiteral("Pestañas anteriores")
                                           : QStringLiteral("Pestañas siguientes"));
    }
}

TPestanasAgendaN::~TPestanasAgendaN() = default;

void TPestanasAgendaN::PonRotulo(int pagina, const QString &rotulo)
{
    QString escrito = rotulo;
    setTabText(pagina, escrito.replace(QLatin1Char('&'), QLatin1String("&&")));
}

QString TPestanasAgendaN::Rotulo(int pagina) const
{
    return SinMarcas(tabText(pagina));
}
