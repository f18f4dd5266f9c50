#pragma once

#include "dataset/DataSet.h"
#include "dataset/Field.h"
#include "dataset/Key.h"
#include "dataset/SeenRecord.h"

#include <QtCore/QList>
#include <QtCore/QVariant>

#include <optional>
#include <string>
#include <vector>

namespace dataset
{

/// A place in the order in force. Usable when its record has gone: its neighbours are still found.
struct Place {
    std::string key; ///< bytes, compared as unsigned; empty in the order of the table
    Bookmark number = 0;
};

/// A key as the order in force compares it.
struct KeyBounds {
    std::string prefix;     ///< leading bytes that the key fixes
    QList<KeyPart> theRest; ///< parts that the order does not cover: to be compared record by record
};

/// Where a data set keeps its records. All operations throw EDatabaseError on failure. Deleted records are
/// not seen.
class RecordStore
{
public:
    RecordStore() = default;
    virtual ~RecordStore() = default;
    RecordStore(const RecordStore &) = delete;
    RecordStore &operator=(const RecordStore &) = delete;

    virtual void open() = 0;
    /// Closed in any case; a failure says that something did not go as it should on the way.
    virtual void close() = 0;
    [[nodiscard]] virtual bool isReadOnly() const = 0;
    /// What opening, and the work since, has found and done that the user should be told, and that has not
    /// been handed out yet; mostly empty.
    [[nodiscard]] virtual QString takeNotice() { return {}; }
    [[nodiscard]] virtual const QList<FieldInfo> &fields() const = 0;

    [[nodiscard]] virtual Record blank() const = 0;
    /// Null is an invalid QVariant; otherwise the kind's own type.
    [[nodiscard]] virtual QVariant value(const Record &record, int field) const = 0;
    /// @param value  null or of the kind's own type; a text is cut to the field.
    virtual void setValue(Record &record, int field, const QVariant &value) const = 0;

    /// Whether a text keeps this character as it is.
    [[nodiscard]] virtual bool canKeep(QChar /*character*/) const { return true; }

    /// Reads a record as it now is. @param record  takes it in, and keeps its memory for the next one.
    /// @return false, with anything in `record`, when it is gone.
    [[nodiscard]] virtual bool read(Bookmark number, Record &record) const = 0;
    /// The same for a row, which may come as it was when the rows were collected.
    [[nodiscard]] virtual bool readRow(Bookmark number, Record &record) const { return read(number, record); }
    virtual void lock(Bookmark number) = 0;
    virtual void unlock() noexcept = 0;
    virtual Bookmark append(const Record &record) = 0;
    virtual void update(Bookmark number, const Record &before, const Record &after) = 0;
    /// @param before  the record as it was read last.
    virtual void erase(Bookmark number, const Record &before) = 0;
    /// From here to commitGroup() all changes are one; dropGroup() undoes them.
    virtual void beginGroup() {}
    virtual void commitGroup() {}
    virtual void dropGroup() noexcept {}
    /// Takes in what others have written. @return whether anything may have changed.
    virtual bool refresh() = 0;

    /// @return whether the order changed.
    virtual bool setOrder(const QString &names) = 0;
    /// Whether the order in force runs from the highest key to the lowest.
    [[nodiscard]] virtual bool descends() const { return false; }
    [[nodiscard]] virtual Place placeOf(Bookmark number, const Record &record) const = 0;
    [[nodiscard]] virtual KeyBounds boundsOf(const Key &key) const = 0;
    [[nodiscard]] virtual std::optional<Place> first() const = 0;
    [[nodiscard]] virtual std::optional<Place> last() const = 0;
    [[nodiscard]] virtual std::optional<Place> next(const Place &place) const = 0;
    [[nodiscard]] virtual std::optional<Place> prior(const Place &place) const = 0;
    /// First record whose key is at or after the prefix.
    [[nodiscard]] virtual std::optional<Place> atOrAfter(const std::string &prefix) const = 0;
    /// Records between two bounds, both included, in order; an empty bound is none, a short one a prefix. The
    /// first of them may be kept for readRow().
    [[nodiscard]] virtual std::vector<Bookmark> collect(const std::string &low,
                                                        const std::string &high) const = 0;
};

} // namespace dataset
