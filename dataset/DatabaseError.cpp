#include "dataset/DatabaseError.h"

#include <QtCore/QLoggingCategory>

namespace dataset
{

namespace
{

Q_LOGGING_CATEGORY(errorLog, "dataset.errors")

} // namespace

EDatabaseError::EDatabaseError(const QString &text, dbase::ErrorKind kind)
    : std::runtime_error(text.toStdString())
    , m_status(kind, text.toStdString())
{
}

EDatabaseError::EDatabaseError(const dbase::Status &status)
    : std::runtime_error(status.message())
    , m_status(status)
{
}

EDatabaseError::~EDatabaseError() = default;

QString EDatabaseError::text() const
{
    return QString::fromUtf8(what());
}

QString plainText(const std::exception &error)
{
    const auto whole = QString::fromUtf8(error.what());
    const auto *const failure = dynamic_cast<const EDatabaseError *>(&error);
    if (!failure)
        return whole;
    auto plain = QString::fromStdString(failure->status().plainText());
    if (plain == whole)
        return plain;
    qCWarning(errorLog, "%s", error.what());
    return plain.left(1).toUpper() + plain.mid(1); // it stood behind the file's name
}

bool isTableBusy(const std::exception &error)
{
    const auto *const failure = dynamic_cast<const EDatabaseError *>(&error);
    return failure && failure->kind() == dbase::ErrorKind::locked && !failure->status().record();
}

EConvertError::EConvertError(const QString &text)
    : std::runtime_error(text.toStdString())
{
}

EConvertError::~EConvertError() = default;

QString EConvertError::text() const
{
    return QString::fromUtf8(what());
}

} // namespace dataset
