#include "report/Print.h"

#include "report/Error.h"
#include "report/Painter.h"
#include "report/Paper.h"

#include <QtGui/QPainter>
#include <QtPrintSupport/QPrinter>

#include <optional>

namespace report
{

void preparePrinter(const Report &report, QPrinter &printer)
{
    printer.setPageLayout(paperLayout(report.page));
    printer.setFullPage(true);
    printer.setDocName(report.documentName);
    printer.setCreator(QStringLiteral("Agenda"));
}

namespace
{

class PrintJob
{
public:
    explicit PrintJob(QPrinter &printer)
        : m_printer(printer)
    {
    }
    ~PrintJob()
    {
        if (m_painter.isActive() && !m_finished) {
            m_printer.abort();
            m_painter.end();
        }
    }
    PrintJob(const PrintJob &) = delete;
    PrintJob &operator=(const PrintJob &) = delete;

    bool add(const Page &page)
    {
        if (!m_pages) {
            if (!m_painter.begin(&m_printer))
                return false;
            m_pages.emplace(m_painter, m_printer.resolution() / unitsPerInch);
        } else if (!m_printer.newPage()) {
            return false;
        }
        m_pages->paint(page);
        return true;
    }
    /// @return false when the printer has not taken it. Nothing to print is no fault.
    bool finish()
    {
        m_finished = true;
        m_pages.reset();
        return !m_painter.isActive() || (m_painter.end() && m_printer.printerState() != QPrinter::Error);
    }

private:
    QPrinter &m_printer;
    QPainter m_painter;
    std::optional<PagePainter> m_pages;
    bool m_finished = false;
};

} // namespace

bool printReport(Report &report, QPrinter &printer, const PageRange &range, const Progress &progress)
{
    PrintJob job(printer);
    bool taken = true;
    const bool complete = run(
        report, [&](Page &&page) { return taken = !range.holds(page.number) || job.add(page); }, progress);
    if (taken && !complete)
        return false;
    if (!taken || !job.finish())
        throw EReportError(QStringLiteral("La impresora no ha podido imprimir el documento."), report.name);
    return true;
}

} // namespace report
