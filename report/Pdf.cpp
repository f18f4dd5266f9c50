#include "report/Pdf.h"

#include "report/Error.h"
#include "report/Painter.h"
#include "report/Paper.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QSaveFile>
#include <QtGui/QPainter>
#include <QtGui/QPdfWriter>

#include <optional>

namespace report
{

namespace
{

constexpr int resolution = 1200; // dots to an inch

/// Paints each page into a PDF as it comes.
class PdfPages
{
public:
    PdfPages(const Report &report, QIODevice &device)
        : m_writer(&device)
    {
        m_writer.setResolution(resolution);
        m_writer.setPageLayout(paperLayout(report.page));
        m_writer.setTitle(report.documentName);
        m_writer.setCreator(QStringLiteral("Agenda"));
    }

    bool add(const Page &page)
    {
        if (page.number == 1) {
            if (!m_painter.begin(&m_writer))
                return false;
            m_pages.emplace(m_painter, resolution / unitsPerInch);
        } else if (!m_writer.newPage()) {
            return false;
        }
        m_pages->paint(page);
        return true;
    }

    bool finish()
    {
        m_pages.reset();
        return m_painter.isActive() && m_painter.end();
    }

private:
    QPdfWriter m_writer;
    QPainter m_painter;
    std::optional<PagePainter> m_pages;
};

/// Why a file cannot be written, for the user where it is one of the usual reasons.
QString reasonOf(const QSaveFile &target)
{
    if (QFileInfo(target.fileName()).isSymbolicLink())
        return QStringLiteral("es un enlace a otro fichero.");
    const QFileInfo folder(QFileInfo(target.fileName()).absolutePath());
    if (!folder.isDir())
        return QStringLiteral("la carpeta no existe.");
    if (!folder.isWritable())
        return QStringLiteral("no hay permiso para escribir en la carpeta.");
    return target.errorString();
}

} // namespace

bool writePdf(Report &report, const QString &file, const Progress &progress,
              std::optional<QFileDevice::Permissions> most)
{
    QSaveFile target(file);
    const auto notWritten = [&] {
        return EReportError::notWritten(report.name, QDir::toNativeSeparators(file), reasonOf(target));
    };
    // Through a link it would be written where nobody has asked for it.
    if (QFileInfo(file).isSymbolicLink() || !target.open(QIODevice::WriteOnly))
        throw notWritten();
    if (most)
        target.setPermissions(target.permissions() & *most);
    bool written = true;
    {
        PdfPages pages(report, target);
        const bool complete = run(
            report, [&](Page &&page) { return written = pages.add(page); }, progress);
        if (written && !complete)
            return false; // the target goes without having taken the file's place
        written = pages.finish() && written;
    }
    if (!written || !target.commit())
        throw notWritten();
    return true;
}

} // namespace report
