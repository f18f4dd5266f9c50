#pragma once

#include "report/Export.h"

#include <QtCore/QString>

#include <stdexcept>

namespace report
{

/// What running, printing or writing a report throws. what() and text() are Spanish, fit for the user.
class REPORT_EXPORT EReportError : public std::runtime_error
{
public:
    /// @param layout  name of the layout that was being run.
    /// @param field   the field concerned; empty when the fault is no field's.
    EReportError(const QString &text, QString layout, QString field = {});
    ~EReportError() override;

    /// A data field names a field that the data set does not have.
    [[nodiscard]] static EReportError missingField(const QString &layout, const QString &field);
    /// The file of a PDF cannot be written.
    [[nodiscard]] static EReportError notWritten(const QString &layout, const QString &file,
                                                 const QString &reason);

    /// Nobody has been named who shows the report.
    [[nodiscard]] static EReportError noViewer(const QString &layout);

    [[nodiscard]] QString text() const;
    [[nodiscard]] const QString &layout() const { return m_layout; }
    [[nodiscard]] const QString &field() const { return m_field; }

private:
    QString m_layout;
    QString m_field;
};

} // namespace report
