#include "report/Error.h"

#include <utility>

namespace report
{

EReportError::EReportError(const QString &text, QString layout, QString field)
    : std::runtime_error(text.toStdString())
    , m_layout(std::move(layout))
    , m_field(std::move(field))
{
}

EReportError::~EReportError() = default;

EReportError EReportError::missingField(const QString &layout, const QString &field)
{
    return {
        QStringLiteral("El impreso «%1» necesita el campo «%2», que los datos no tienen.").arg(layout, field),
        layout, field};
}

EReportError EReportError::notWritten(const QString &layout, const QString &file, const QString &reason)
{
    return {QStringLiteral("No se puede escribir el fichero «%1»: %2").arg(file, reason), layout};
}

EReportError EReportError::noViewer(const QString &layout)
{
    return {QStringLiteral("El impreso «%1» no tiene quien lo muestre.").arg(layout), layout};
}

QString EReportError::text() const
{
    return QString::fromUtf8(what());
}

} // namespace report
