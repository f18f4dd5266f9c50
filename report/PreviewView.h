#pragma once

#include "report/Page.h"

#include <QtWidgets/QAbstractScrollArea>

namespace report
{

/// Shows the pages of a report one below the other. Only the pages in sight are painted.
///
/// Keys: PgUp and PgDn one page back and forth, Ctrl+Home and Ctrl+End the first and the last one, + and -
/// the zoom; arrows scroll. The wheel scrolls, with Ctrl it zooms.
class PreviewView : public QAbstractScrollArea
{
    Q_OBJECT
public:
    enum class Fit { none, width, page };

    static constexpr double smallestZoom = 0.1;
    static constexpr double greatestZoom = 5;

    explicit PreviewView(QWidget *parent = nullptr);
    ~PreviewView() override;

    /// @param setup  paper of all the pages.
    void setPages(std::vector<Page> pages, const PageSetup &setup);
    [[nodiscard]] int pageCount() const { return static_cast<int>(m_pages.size()); }
    /// The page in the upper part of the view, from 1; 0 when there is none.
    [[nodiscard]] int currentPage() const;
    /// 1 is the size on paper.
    [[nodiscard]] double zoom() const { return m_zoom; }
    [[nodiscard]] Fit fit() const { return m_fit; }

    /// Brings a page to the top; numbers beyond the ends mean the first and the last.
    void goToPage(int page);
    /// Heeds the limits; the view no longer follows its own size.
    void setZoom(double zoom);
    void zoomIn();
    void zoomOut();
    /// Whole width or whole page, also when the view changes its size.
    void setFit(Fit fit);

signals:
    void currentPageChanged(int page);
    void zoomChanged();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;

private:
    [[nodiscard]] double scale() const;     ///< dots to a unit
    [[nodiscard]] double pagePitch() const; ///< dots from one page's top to the next one's
    [[nodiscard]] QSizeF pageDots() const;
    [[nodiscard]] double fittingZoom() const;
    void applyZoom(double zoom);
    void updateScrollBars();
    void tellPage();

    std::vector<Page> m_pages;
    PageSetup m_setup;
    double m_zoom = 1;
    Fit m_fit = Fit::width;
    int m_toldPage = 0;
};

} // namespace report
