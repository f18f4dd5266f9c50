#include "report/Run.h"

#include "dataset/DataSet.h"
#include "report/Error.h"
#include "report/Fonts.h"

#include <QtCore/QLoggingCategory>

#include <array>
#include <deque>
#include <utility>

namespace report
{

namespace
{

using dataset::DataSet;

Q_LOGGING_CATEGORY(runLog, "report.run")

/// Sums of heights may differ from the page by the last digit.
constexpr double heightSlack = 0.01;
/// How often the progress is told while no page gets full.
constexpr int recordsPerNotice = 256;

/// Silences a data set's controls, and puts its cursor back at the end.
class Reading
{
public:
    explicit Reading(DataSet &dataSet)
        : m_dataSet(dataSet)
        , m_quiet(dataSet)
    {
        // As any move would; a line that is being added has a place to come back to only afterwards.
        if (dataSet.isEditing())
            dataSet.isModified() ? dataSet.post() : dataSet.cancel();
        m_place = dataSet.bookmark();
    }
    ~Reading()
    {
        try {
            if (m_dataSet.isActive() && !m_dataSet.goToBookmark(m_place))
                m_dataSet.first();
        } catch (const std::exception &error) {
            qCWarning(runLog, "The cursor could not be put back: %s", error.what());
        }
    }
    Reading(const Reading &) = delete;
    Reading &operator=(const Reading &) = delete;

private:
    DataSet &m_dataSet;
    dataset::ControlsGuard m_quiet;
    dataset::Bookmark m_place = 0;
};

/// One run of a report.
class Runner
{
public:
    Runner(Report &report, const PageSink &sink, const Progress &progress)
        : m_report(report)
        , m_sink(sink)
        , m_progress(progress)
        , m_area(report.page.printableRect())
        , m_bottom(m_area.bottom() - report.pageFooter.height)
    {
        for (const Band *const band :
             {&report.title, &report.pageHeader, &report.detail, &report.summary, &report.pageFooter}) {
            for (const DataField &field : band->fields)
                static_cast<void>(fieldOf(field));
        }
    }

    bool run()
    {
        m_total = m_report.dataSet ? m_report.dataSet->rowCount() : 0;
        if (m_report.dataSet)
            m_report.dataSet->first();
        beginPage();
        place(m_report.title);
        if (m_report.dataSet)
            details(*m_report.dataSet);
        place(m_report.summary);
        endPage(true);
        return !m_stopped && tell();
    }

private:
    void details(DataSet &dataSet)
    {
        for (; !dataSet.eof() && !m_stopped; dataSet.next()) {
            place(m_report.detail);
            if (++m_done % recordsPerNotice == 0)
                m_stopped = m_stopped || !tell();
        }
    }

    [[nodiscard]] bool tell() const { return !m_progress || m_progress(m_done, m_total); }

    void beginPage()
    {
        m_page = {};
        m_page.number = ++m_pages;
        m_y = m_area.top();
        if (m_pages > 1 || m_report.headerOnFirstPage)
            printOutside(m_report.pageHeader, m_y);
        m_pageStarted = false;
    }

    void endPage(bool last)
    {
        if (m_stopped)
            return;
        if (!last || m_report.footerOnLastPage) {
            double y = m_bottom;
            printOutside(m_report.pageFooter, y);
        }
        m_stopped = !m_sink(std::move(m_page)) || (!last && !tell());
    }

    /// Page header and footer: they have their room, whatever is in it.
    void printOutside(Band &band, double &y)
    {
        BandPrint call{band};
        if (band.beforePrint)
            band.beforePrint(call);
        if (!call.print)
            return;
        print(band, y);
        y += band.height;
    }

    void place(Band &band)
    {
        if (m_stopped)
            return;
        BandPrint call{band};
        if (band.beforePrint)
            band.beforePrint(call);
        if (!call.print)
            return;
        const bool full = band.opensPage && m_y + band.height > m_bottom + heightSlack;
        // A page that has nothing yet is not left for another: the band would fit there no better.
        if ((full || call.newPage) && m_pageStarted) {
            for (const Rule &rule : m_report.pageEnd)
                m_page.lines.push_back({rule.line.translated(m_area.left(), m_y), rule.width, rule.color});
            endPage(false);
            if (m_stopped)
                return;
            beginPage();
        }
        print(band, m_y);
        m_y += band.height;
        m_pageStarted = m_pageStarted || band.height > 0;
    }

    void print(const Band &band, double y)
    {
        const QPointF at(m_area.left(), y);
        for (const Shape &shape : band.shapes)
            m_page.rectangles.push_back({shape.box.translated(at), shape.width, shape.color, shape.fill});
        for (const Rule &rule : band.rules)
            m_page.lines.push_back({rule.line.translated(at), rule.width, rule.color});
        for (const Label &label : band.labels)
            printText(label.text, label.box.translated(at), label.style);
        for (const DataField &field : band.fields)
            printText(m_report.dataSet->field(fieldOf(field)).asText(), field.box.translated(at),
                      field.style);
    }

    void printText(const QString &text, const QRectF &box, const TextStyle &style)
    {
        if (text.isEmpty())
            return;
        const TextMeasure &measure = measureFor(style);
        if (!style.wordWrap) {
            addLine(measure.singleLine(text), box, box.top(), style, measure);
            return;
        }
        const int maxLines = qMax(1, static_cast<int>((box.height() + heightSlack) / measure.lineHeight()));
        double top = box.top();
        for (TextMeasure::TextLine &line : measure.wrap(text, box.width(), maxLines)) {
            addLine(std::move(line), box, top, style, measure);
            top += measure.lineHeight();
        }
    }

    void addLine(TextMeasure::TextLine line, const QRectF &box, double top, const TextStyle &style,
                 const TextMeasure &measure)
    {
        if (line.text.isEmpty())
            return;
        const double room = box.width() - line.width;
        double left = box.left();
        if (style.alignment == Alignment::center)
            left += room / 2;
        else if (style.alignment == Alignment::right)
            left += room;
        m_page.texts.push_back({std::move(line.text), left, top, top + measure.ascent(), line.width,
                                style.points, style.color, style.bold});
    }

    const TextMeasure &measureFor(const TextStyle &style)
    {
        for (const TextMeasure &known : m_measures) {
            if (known.points() == style.points && known.bold() == style.bold)
                return known;
        }
        return m_measures.emplace_back(style.points, style.bold);
    }

    [[nodiscard]] int fieldOf(const DataField &field) const
    {
        const int index = m_report.dataSet ? m_report.dataSet->fieldIndex(field.field) : -1;
        if (index < 0)
            throw EReportError::missingField(m_report.name, field.field);
        return index;
    }

    Report &m_report;
    const PageSink &m_sink;
    const Progress &m_progress;
    const QRectF m_area;
    const double m_bottom; ///< where the room of the page footer begins
    std::deque<TextMeasure> m_measures;
    Page m_page;
    double m_y = 0;
    int m_pages = 0;
    bool m_pageStarted = false; ///< more than its header is on the page
    bool m_stopped = false;
    int m_done = 0;
    int m_total = 0;
};

} // namespace

bool run(Report &report, const PageSink &sink, const Progress &progress)
{
    if (!report.dataSet)
        return Runner(report, sink, progress).run();
    const Reading reading(*report.dataSet);
    return Runner(report, sink, progress).run();
}

std::vector<Page> layOut(Report &report, const Progress &progress)
{
    std::vector<Page> pages;
    run(
        report,
        [&pages](Page &&page) {
            pages.push_back(std::move(page));
            return true;
        },
        progress);
    return pages;
}

} // namespace report
