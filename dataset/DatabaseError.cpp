#include "dataset/DatabaseError.h"

namespace dataset
{

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
