// The report layer on its own: bands, pages, hooks, wrapping, and what stops a run.

#include "dataset/MemTable.h"
#include "report/Error.h"
#include "report/Painter.h"
#include "report/Pdf.h"
#include "tests/support/Paginas.h"
#include "tests/support/TempFolder.h"

#include <QtTest/QSignalSpy>

#include <cmath>

namespace
{

using dataset::FieldKind;
using namespace report;

class ReportTest : public testing::Test
{
protected:
    ReportTest()
    {
        rows.create({{"NAME", FieldKind::text, 254}, {"DAY", FieldKind::date}});
        report.name = "Hoja";
        report.dataSet = &rows;
        report.page = {{100, 100}, {10, 10, 10, 10}}; // 302.4 units between the margins
        band(report.pageHeader, 20, "header");
        band(report.title, 40, "title");
        band(report.summary, 30, "summary");
        band(report.pageFooter, 22, "footer");
        report.detail.height = 50;
        report.detail.addField("name", {10, 5, 100, 17}, "NAME");
    }
    static void band(Band &band, double height, const QString &text)
    {
        band.height = height;
        band.addLabel(text, {0, 0, 100, 15}, text);
    }
    void fill(int count)
    {
        for (int i = 1; i <= count; ++i)
            row(QString::number(i));
    }
    void row(const QString &name)
    {
        rows.append();
        rows.field(u"NAME").setText(name);
        rows.field(u"DAY").setDate({2026, 3, 2});
        rows.post();
    }
    /// The texts of every page from top to bottom: "header 1 2 footer | ..."
    QString pages()
    {
        QStringList all;
        for (const Page &page : layOut(report)) {
            std::vector<std::pair<double, QString>> texts;
            for (const TextPrimitive &text : page.texts)
                texts.emplace_back(text.top, text.text);
            std::sort(texts.begin(), texts.end());
            QStringList line;
            for (const auto &[top, text] : texts)
                line << text;
            all << line.join(' ');
        }
        return all.join(" | ");
    }
    dataset::MemTable rows;
    Report report;
};

TEST_F(ReportTest, BandsFillPagesInOrder)
{
    // Room between header and footer: 302.4 - 20 - 22 = 260.4; details take 50.
    const struct {
        int rows;
        bool firstHeader;
        bool lastFooter;
        bool summaryOpensPage;
        QString pages;
    } cases[] = {
        {0, true, true, true, "header title summary footer"},
        {3, true, true, true, "header title 1 2 3 summary footer"},
        {3, false, false, true, "title 1 2 3 summary"},
        {4, true, false, true, "header title 1 2 3 4 footer | header summary"},
        {4, false, true, true, "title 1 2 3 4 summary footer"},
        {4, true, true, false, "header title 1 2 3 4 summary footer"},
        {9, true, true, true,
         "header title 1 2 3 4 footer | header 5 6 7 8 9 footer | header summary footer"},
    };
    for (const auto &one : cases) {
        rows.emptyTable();
        fill(one.rows);
        report.headerOnFirstPage = one.firstHeader;
        report.footerOnLastPage = one.lastFooter;
        report.summary.opensPage = one.summaryOpensPage;
        EXPECT_EQ(pages().toStdString(), one.pages.toStdString()) << one.rows << " rows";
    }
}

TEST_F(ReportTest, HooksSkipChangeAndBreakBeforeTheirBandIsPlaced)
{
    fill(5);
    QStringList heard;
    const auto at = [this] { return rows.field(u"NAME").asText(); };
    report.pageHeader.beforePrint = [&](BandPrint &) { heard << "header at " + at(); };
    report.detail.beforePrint = [&](BandPrint &call) {
        heard << at();
        call.print = at() != "2";
        call.newPage = at() == "4" || at() == "2"; // a band that is left out breaks nothing
        call.band.fields[0].style.color = at() == "3" ? 0xFF0000FFU : black;
    };
    const auto made = layOut(report);
    ASSERT_EQ(made.size(), 2U);
    EXPECT_EQ(heard.join(", ").toStdString(), "header at 1, 1, 2, 3, 4, header at 4, 5");
    EXPECT_EQ(support::textoDe(made[0], "3")->color, 0xFF0000FFU);
    EXPECT_EQ(support::textoDe(made[1], "4")->color, black);
    EXPECT_FALSE(support::textoDe(made[0], "2"));
    // The places: 10 mm and what stands above; the page header of the second page is all that does there.
    EXPECT_NEAR(support::textoDe(made[0], "3")->top, 37.795 + 20 + 40 + 50 + 5, 0.001);
    EXPECT_NEAR(support::textoDe(made[1], "4")->top, 37.795 + 20 + 5, 0.001);
    EXPECT_NEAR(support::textoDe(made[1], "4")->left, 37.795 + 10, 0.001);
}

TEST_F(ReportTest, TextIsWrappedInsideItsHeightAndAligned)
{
    const struct {
        QString text;
        double width;
        double height;
        TextStyle style;
        QStringList lines;
    } cases[] = {
        {"uno dos tres cuatro", 60, 17, {}, {"uno dos tres"}},
        {"uno dos tres cuatro", 60, 30, {}, {"uno dos tres", "cuatro"}},
        {"uno  dos", 20, 30, {}, {"uno", "dos"}},
        {"WWWWWWWW", 45, 30, {}, {"WWWW", "WWWW"}}, // 10.07 units a letter
        {"WW", 5, 5, {}, {"W"}},                    // never less than a letter and a line
        {"uno\ndos", 60, 30, {}, {"uno", "dos"}},
        {"uno\n\ndos", 60, 60, {}, {"uno", "dos"}},
        {"uno dos tres", 17, 17, {8, false, Alignment::left, false}, {"uno dos tres"}},
        {QString::fromUcs4(U"\U0001F600\U0001F600"),
         2,
         30,
         {},
         {QString::fromUcs4(U"\U0001F600"), QString::fromUcs4(U"\U0001F600")}},
    };
    report.dataSet = nullptr;
    report.detail = {};
    for (const auto &one : cases) {
        report.title = {};
        report.title.addLabel("t", {10, 0, one.width, one.height}, one.text, one.style);
        QStringList lines;
        const auto made = layOut(report);
        for (const TextPrimitive &text : made[0].texts) {
            if (text.text != "header" && text.text != "footer" && text.text != "summary")
                lines << text.text;
        }
        EXPECT_EQ(lines, one.lines) << one.text.toStdString();
    }
    report.title = {};
    report.title.addLabel("c", {10, 0, 80, 17}, "centro", {8, true, Alignment::center, false});
    report.title.addLabel("r", {10, 0, 80, 17}, "derecha", {8, false, Alignment::right, true});
    const auto made = layOut(report);
    const auto *const middle = support::textoDe(made[0], "centro");
    const auto *const right = support::textoDe(made[0], "derecha");
    EXPECT_NEAR(middle->left + middle->width / 2, 37.795 + 50, 0.001);
    EXPECT_NEAR(right->left + right->width, 37.795 + 90, 0.001);
    EXPECT_TRUE(middle->bold);
}

TEST_F(ReportTest, OnAScreenALineIsAsWideAsItWasMeasured)
{
    report.page = PageSetup::a4Portrait();
    report.title = {};
    report.title.height = 100;
    for (int i = 0; i < 5; ++i)
        report.title.addLabel({}, {10, 15.0 * i, 600, 15}, QString(60, QChar(u"iltfj"[i])), {});
    report.pageHeader = report.summary = report.pageFooter = {};
    const auto made = layOut(report);
    for (const int dotsPerInch : {70, 96, 104, 144}) {
        const double scale = dotsPerInch / 96.0;
        const QImage image = pageImage(made[0], report.page, dotsPerInch);
        for (const TextPrimitive &text : made[0].texts) {
            int last = 0;
            for (int y = static_cast<int>(text.top * scale); y < static_cast<int>(text.baseline * scale);
                 ++y) {
                for (int x = 0; x < image.width(); ++x) {
                    if (qGray(image.pixel(x, y)) < 200)
                        last = qMax(last, x);
                }
            }
            EXPECT_NEAR(last / scale, text.left + text.width, 3)
                << text.text[0].toLatin1() << " at " << dotsPerInch;
        }
    }
}

TEST_F(ReportTest, AMissingFieldIsNamedWithItsLayout)
{
    fill(1);
    report.summary.addField("late", {0, 0, 10, 10}, "NOBODY"); // found before anything is laid out
    int handed = 0;
    try {
        run(report, [&](Page &&) { return ++handed > 0; });
        ADD_FAILURE() << "nothing thrown";
    } catch (const EReportError &error) {
        EXPECT_EQ(error.field(), "NOBODY");
        EXPECT_EQ(error.layout(), "Hoja");
        EXPECT_TRUE(error.text().contains("NOBODY") && error.text().contains("Hoja"));
    }
    EXPECT_EQ(handed, 0);
}

TEST_F(ReportTest, TheDataSetIsLeftAsItWas)
{
    fill(5);
    rows.setCurrentRow(2);
    const QSignalSpy moved(&rows, &dataset::DataSet::currentChanged);
    static_cast<void>(layOut(report));
    EXPECT_EQ(rows.field(u"NAME").asText(), "3");
    report.detail.beforePrint = [](BandPrint &) { throw std::runtime_error("hook"); };
    EXPECT_THROW(static_cast<void>(layOut(report)), std::runtime_error);
    EXPECT_EQ(rows.field(u"NAME").asText(), "3");
    EXPECT_FALSE(rows.controlsDisabled());
    EXPECT_EQ(moved.count(), 0);
}

TEST_F(ReportTest, PagesAreHandedOutOneByOneAndARunCanBeStopped)
{
    fill(20000); // 5 a page
    int pagesTaken = 0;
    int told = 0;
    const auto sink = [&](Page &&page) {
        EXPECT_EQ(page.number, ++pagesTaken);
        EXPECT_LE(page.texts.size(), 8U);
        return true;
    };
    EXPECT_TRUE(run(report, sink, [&](int done, int total) {
        EXPECT_GE(done, told);
        EXPECT_EQ(total, 20000);
        told = done;
        return true;
    }));
    EXPECT_EQ(pagesTaken, 4001);
    EXPECT_EQ(told, 20000);

    pagesTaken = 0;
    EXPECT_FALSE(run(report, sink, [](int done, int) { return done < 1000; }));
    EXPECT_LT(pagesTaken, 210);
    EXPECT_EQ(rows.field(u"NAME").asText(), "20000"); // where the cursor stood
}

TEST_F(ReportTest, APdfReplacesItsFileOnlyWhenItIsWhole)
{
    const support::TempFolder folder;
    const auto file = folder.path() / "hoja.pdf";
    const QString name = QString::fromStdString(file.string());
    support::writeFile(file, "antes");
    fill(600);
    EXPECT_FALSE(writePdf(report, name, [](int done, int) { return done < 300; }));
    EXPECT_EQ(support::readFile(file), "antes");
    report.detail.beforePrint = [this](BandPrint &) {
        if (rows.field(u"NAME").asText() == "400")
            throw std::runtime_error("hook");
    };
    EXPECT_THROW(std::ignore = writePdf(report, name), std::runtime_error);
    EXPECT_EQ(support::readFile(file), "antes");
    report.detail.beforePrint = {};
    EXPECT_TRUE(writePdf(report, name));
    EXPECT_EQ(support::readFile(file).substr(0, 5), "%PDF-");
    EXPECT_THROW(std::ignore = writePdf(report, name + "/no/hay.pdf"), EReportError);
}

TEST_F(ReportTest, WhatNobodyShowsIsTold)
{
    EXPECT_THROW(report.preview(), EReportError);
    int shown = 0;
    report.onPreview = [&shown](Report &) { ++shown; };
    report.preview();
    EXPECT_EQ(shown, 1);
}

TEST_F(ReportTest, APageThatAnotherFollowsIsClosed)
{
    fill(7);
    report.pageEnd.push_back({{0, 2, 50, 2}, 1, black});
    QList<double> heights;
    for (const Page &page : layOut(report))
        heights << (page.lines.empty()
                        ? -1
                        : std::round(page.lines.front().line.y1() - report.page.printableRect().top()));
    EXPECT_EQ(heights, (QList<double>{20 + 40 + 4 * 50 + 2, -1}));
}

} // namespace
