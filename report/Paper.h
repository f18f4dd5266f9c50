#pragma once

#include "report/Page.h"

#include <QtGui/QPageLayout>

namespace report
{

/// The paper as printers and PDFs know it, by its name where it has one. Without margins: the pages bring
/// their own.
[[nodiscard]] inline QPageLayout paperLayout(const PageSetup &page)
{
    const bool wide = page.paper.width() > page.paper.height();
    const QPageSize size(wide ? page.paper.transposed() : page.paper, QPageSize::Millimeter, {},
                         QPageSize::FuzzyMatch);
    QPageLayout layout(size, wide ? QPageLayout::Landscape : QPageLayout::Portrait, {},
                       QPageLayout::Millimeter);
    layout.setMode(QPageLayout::FullPageMode);
    return layout;
}

} // namespace report
