#pragma once

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QVariant>

namespace dataset
{

/// One field and the value it must have.
struct KeyPart {
    QString field;
    QVariant value;
};

/// A list of field-name/value pairs, for searches and ranges: {{"FECHA", date}, {"HORA", "09:30"}}.
using Key = QList<KeyPart>;

enum class SearchMode {
    exact,  ///< the first line with the key, or nowhere
    nearest ///< that line or else the first one after where it would stand
};

} // namespace dataset
