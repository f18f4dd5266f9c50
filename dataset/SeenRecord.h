#pragma once

#include "dataset/Export.h"

#include <QtCore/QVariant>

#include <cstdint>
#include <vector>

namespace dataset
{

/// Number of a record; survives a refresh. 0 names no record.
using Bookmark = quint32;

/// The contents of one record: the bytes of a file's record, or the values of a row in memory. Only its store
/// looks inside; the data set keeps, compares and hands it back.
struct Record {
    std::vector<std::uint8_t> bytes;
    QVariantList values;
    friend bool operator==(const Record &, const Record &) = default;
};

/// A line as a data set has shown it. Whoever is to work on several lines, or asks a question first, takes
/// these when the command is given: what is done to them afterwards is refused where the table holds
/// something else by then.
class DATASET_EXPORT SeenRecord
{
public:
    SeenRecord() = default; ///< no line
    [[nodiscard]] Bookmark bookmark() const { return m_bookmark; }

private:
    friend class DataSet;
    friend class DataSetPrivate;
    Bookmark m_bookmark = 0;
    Record m_record;
    bool m_lost = false; ///< what was shown is not at hand any more, and the table has something else by now
};

/// Which contents of the line an edit begins with.
enum class EditOf {
    seen, ///< what has been shown, or none: for a change that is typed over what the user sees
    fresh ///< what the table holds now: for who shows that before anything is typed, or merges it himself
};

} // namespace dataset
