#pragma once

#include "report/Error.h"
#include "report/Export.h"
#include "report/Page.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>

#include <deque>
#include <functional>

namespace dataset
{
class DataSet;
}

namespace report
{

enum class Alignment { left, center, right };

/// How a text is set inside its box. Of a wrapped text whole lines are printed, as many as the box is high,
/// and at least the first. Without wrapping it is one line, which may run over the box's edges.
struct TextStyle {
    double points = 8;
    bool bold = false;
    Alignment alignment = Alignment::left;
    bool wordWrap = true;
    QRgb color = black;
};

// The items of a band. Places are relative to the band's upper left corner, in units (1/96 inch).

struct Label {
    QString name;
    QRectF box;
    QString text;
    TextStyle style;
};

/// Prints a field of the report's data set as it is shown to the user.
struct DataField {
    QString name;
    QRectF box;
    QString field;
    TextStyle style;
};

struct Rule {
    QLineF line;
    double width = 1;
    QRgb color = black;
};

struct Shape {
    QRectF box;
    double width = 1; ///< of the pen; 0: no outline
    QRgb color = black;
    QRgb fill = 0; ///< transparent: not filled
};

struct Band;

/// What a band's hook may decide.
struct BandPrint {
    Band &band;
    bool print = true;    ///< false: the band is left out this time
    bool newPage = false; ///< the band begins a page; heeded for title, detail and summary
};

/// A strip across the page. Items are kept where they are added, so a hook may hold references to them.
struct Band {
    QString name;
    double height = 0;
    /// A band that does not fit begins a new page. One that does not is printed all the same, over the room
    /// of the page footer: right for a closing rule, which must not open a page for itself.
    bool opensPage = true;
    std::function<void(BandPrint &)> beforePrint; ///< called every time, before the band is placed

    std::deque<Label> labels;
    std::deque<DataField> fields;
    std::deque<Rule> rules;
    std::deque<Shape> shapes;

    Label &addLabel(const QString &itemName, const QRectF &box, const QString &text,
                    const TextStyle &style = {})
    {
        return labels.emplace_back(Label{itemName, box, text, style});
    }
    DataField &addField(const QString &itemName, const QRectF &box, const QString &field,
                        const TextStyle &style = {})
    {
        return fields.emplace_back(DataField{itemName, box, field, style});
    }
    void addRule(double x1, double y1, double x2, double y2, double width = 1)
    {
        rules.push_back({{x1, y1, x2, y2}, width, black});
    }
    void addShape(const QRectF &box, double width = 1) { shapes.push_back({box, width, black, 0}); }
};

/// A banded report: a page, a data set and five bands. It holds no pages; run() lays it out, as often as
/// wanted, and each run calls the hooks anew.
///
/// First page: page header (unless left out there), title, details. Every page has room for the page footer.
/// The summary follows the last detail.
struct Report {
    QString name;                        ///< of the layout, for error messages
    QString documentName;                ///< for print jobs and file names, without an extension
    QString printerName;                 ///< to be offered first; empty: the system's default
    QPointer<QObject> owner;             ///< window behind the preview when no other is in front
    dataset::DataSet *dataSet = nullptr; ///< not owned; null for a report without details
    PageSetup page;
    bool headerOnFirstPage = true;
    bool footerOnLastPage = true;
    Band title;
    Band pageHeader;
    Band detail;
    Band summary;
    Band pageFooter;
    /// Under the last band of every page but the last: what closes a frame that goes on overleaf. Heights
    /// count from the end of that band.
    std::deque<Rule> pageEnd;
    /// Shows the report to the user; what preview() calls.
    std::function<void(Report &)> onPreview;

    /// @throws EReportError when nobody has said who shows it: a print command that does nothing tells
    /// nobody.
    void preview()
    {
        if (!onPreview)
            throw EReportError::noViewer(name);
        onPreview(*this);
    }
};

} // namespace report
