#include "report/PreviewView.h"

#include "report/Painter.h"

#include <QtGui/QKeyEvent>
#include <QtGui/QPainter>
#include <QtGui/QWheelEvent>
#include <QtWidgets/QScrollBar>

#include <algorithm>
#include <cmath>

namespace report
{

namespace
{
constexpr double gap = 14; // dots around a page
constexpr double zoomStep = 1.25;
} // namespace

PreviewView::PreviewView(QWidget *parent)
    : QAbstractScrollArea(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    viewport()->setAutoFillBackground(false);
    // With bars that come and go a fitted page would change its size for ever.
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    setAccessibleName(QStringLiteral("Páginas del impreso"));
}

PreviewView::~PreviewView() = default;

void PreviewView::setPages(std::vector<Page> pages, const PageSetup &setup)
{
    m_pages = std::move(pages);
    m_setup = setup;
    m_toldPage = 0;
    if (m_fit != Fit::none)
        m_zoom = fittingZoom();
    updateScrollBars();
    verticalScrollBar()->setValue(0);
    viewport()->update();
    tellPage();
}

double PreviewView::scale() const
{
    return m_zoom * logicalDpiY() / unitsPerInch;
}

QSizeF PreviewView::pageDots() const
{
    return m_setup.paperRect().size() * scale();
}

double PreviewView::pagePitch() const
{
    return pageDots().height() + gap;
}

int PreviewView::currentPage() const
{
    if (m_pages.empty())
        return 0;
    // The page that fills the upper third is the one being looked at.
    const double at =
        verticalScrollBar()->value() + std::min(pageDots().height(), viewport()->height() / 3.0);
    return std::clamp(static_cast<int>(at / pagePitch()) + 1, 1, pageCount());
}

void PreviewView::goToPage(int page)
{
    const int wanted = std::clamp(page, 1, std::max(1, pageCount()));
    verticalScrollBar()->setValue(static_cast<int>(std::lround((wanted - 1) * pagePitch())));
}

void PreviewView::setZoom(double zoom)
{
    m_fit = Fit::none;
    applyZoom(zoom);
}

void PreviewView::zoomIn()
{
    setZoom(m_zoom * zoomStep);
}
void PreviewView::zoomOut()
{
    setZoom(m_zoom / zoomStep);
}

void PreviewView::setFit(Fit fit)
{
    m_fit = fit;
    applyZoom(fit == Fit::none ? m_zoom : fittingZoom());
}

double PreviewView::fittingZoom() const
{
    const QSizeF paper = m_setup.paperRect().size() * (logicalDpiY() / unitsPerInch);
    const double byWidth = (viewport()->width() - 2 * gap) / paper.width();
    if (m_fit == Fit::width)
        return byWidth;
    return std::min(byWidth, (viewport()->height() - 2 * gap) / paper.height());
}

void PreviewView::applyZoom(double zoom)
{
    const int page = currentPage();
    const double into = verticalScrollBar()->value() - (page - 1) * pagePitch();
    const double before = m_zoom;
    m_zoom = std::clamp(zoom, smallestZoom, greatestZoom);
    updateScrollBars();
    verticalScrollBar()->setValue(
        static_cast<int>(std::lround((page - 1) * pagePitch() + into * m_zoom / before)));
    viewport()->update();
    emit zoomChanged();
    tellPage();
}

void PreviewView::updateScrollBars()
{
    const QSize view = viewport()->size();
    const double height = gap + pageCount() * pagePitch();
    // A page zoomed to just this width may come out wider by what a double cannot hold.
    constexpr double slack = 1e-6;
    const double width = pageDots().width() + 2 * gap - slack;
    verticalScrollBar()->setRange(0, std::max(0, static_cast<int>(std::ceil(height)) - view.height()));
    verticalScrollBar()->setPageStep(view.height());
    verticalScrollBar()->setSingleStep(40);
    horizontalScrollBar()->setRange(0, std::max(0, static_cast<int>(std::ceil(width)) - view.width()));
    horizontalScrollBar()->setPageStep(view.width());
    horizontalScrollBar()->setSingleStep(40);
}

void PreviewView::tellPage()
{
    if (currentPage() == m_toldPage)
        return;
    m_toldPage = currentPage();
    emit currentPageChanged(m_toldPage);
}

void PreviewView::paintEvent(QPaintEvent *event)
{
    QPainter painter(viewport());
    painter.fillRect(event->rect(), palette().color(QPalette::Mid));
    PagePainter pages(painter, scale());
    const QSizeF size = pageDots();
    const double left =
        std::floor(std::max(gap, (viewport()->width() - size.width()) / 2) - horizontalScrollBar()->value());
    const int top = verticalScrollBar()->value();
    const int first = std::max(0, static_cast<int>((top - gap) / pagePitch()));
    for (int i = first; i < pageCount(); ++i) {
        const QRectF paper(QPointF(left, std::floor(gap + i * pagePitch() - top)), size);
        if (paper.top() > viewport()->height())
            break;
        painter.fillRect(paper.translated(2, 2), palette().color(QPalette::Shadow));
        // Paper is white, and what is printed on it black, whatever the desktop's colours.
        painter.fillRect(paper, Qt::white);
        painter.save();
        painter.setClipRect(paper);
        pages.paint(m_pages[static_cast<std::size_t>(i)], paper.topLeft());
        painter.restore();
    }
}

void PreviewView::resizeEvent(QResizeEvent *event)
{
    QAbstractScrollArea::resizeEvent(event);
    if (m_fit == Fit::none)
        updateScrollBars();
    else
        applyZoom(fittingZoom());
}

void PreviewView::keyPressEvent(QKeyEvent *event)
{
    const bool control = event->modifiers() & Qt::ControlModifier;
    switch (event->key()) {
    case Qt::Key_PageUp:
        return goToPage(currentPage() - 1);
    case Qt::Key_PageDown:
        return goToPage(currentPage() + 1);
    case Qt::Key_Home:
        if (control)
            return goToPage(1);
        break;
    case Qt::Key_End:
        if (control)
            return goToPage(pageCount());
        break;
    case Qt::Key_Plus:
        return zoomIn();
    case Qt::Key_Minus:
        return zoomOut();
    default:
        break;
    }
    QAbstractScrollArea::keyPressEvent(event);
}

void PreviewView::wheelEvent(QWheelEvent *event)
{
    if (!(event->modifiers() & Qt::ControlModifier)) {
        QAbstractScrollArea::wheelEvent(event);
        return;
    }
    event->accept();
    if (event->angleDelta().y() != 0)
        setZoom(m_zoom * std::pow(zoomStep, event->angleDelta().y() / 120.0));
}

void PreviewView::scrollContentsBy(int /*dx*/, int /*dy*/)
{
    viewport()->update();
    tellPage();
}

} // namespace report
