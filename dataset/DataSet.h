#pragma once

#include "dataset/DatabaseError.h"
#include "dataset/Export.h"
#include "dataset/Field.h"
#include "dataset/Key.h"
#include "dataset/SeenRecord.h"

#include <QtCore/QObject>
#include <QtCore/QStringView>

#include <memory>

namespace dataset
{

class RecordStore;
class DataSetPrivate;
struct View;
/// What a data set has shown at some time; see DataSet::keepView().
using KeptView = std::shared_ptr<const View>;

/// A set of records with one current record: the table cursor that engines, grids and reports work on.
///
///                    edit()                         setters
///     inactive        +------------------> edit ---------------> edit, modified
///       |  ^          |                      |
///  open |  | close    |   post() cancel()    |
///       v  |          |  <-------------------+
///      browse --------+
///                     |   insert()           post() writes, cancel() drops
///                     +------------------> insert -----------------------> browse
///
/// Rules that hold for every kind of data set:
///  - edit() takes the record's lock on a shared table and reads the record afresh; post() writes, cancel()
///    drops, both give the lock back. A failed post() leaves the state as it was, with what was typed.
///  - What a user did not see is neither changed nor deleted: edit() and remove() are refused, kind conflict,
///    when the table's record is not the one last shown, and show it as it now is.
///  - Moving (first, last, next, prior, going to a bookmark or row, a search, a range, close) while a record
///    is being edited posts it when it was changed and cancels it otherwise.
///  - A range restricts first/last/next/prior and the rows to the keys between two bounds, both included. A
///    search looks at the whole table; outside the range the cursor moves in table order until it is
///    positioned inside again.
///  - next() on the last record sets eof() and stays there; prior() on the first sets bof(); an empty set has
///    both.
///  - Records deleted or lines written by others are seen at the next refresh, search, range or edit. A line
///  of
///    the range that others have moved out of it counts as deleted: the cursor goes to its neighbour.
///
/// Every operation but the plain queries throws EDatabaseError when it fails, and when the set is not open.
class DATASET_EXPORT DataSet : public QObject
{
    Q_OBJECT
public:
    enum class State { inactive, browse, edit, insert };
    Q_ENUM(State)

    ~DataSet() override;

    // Life
    void open();
    /// Posts or cancels as a move does, and drops a group that was begun; closing a closed set does nothing.
    /// When the last writing of the files fails the set is closed all the same, and what was posted is as
    /// safe as it was. The end of the set's life closes it as well, and logs such a failure.
    void close();
    [[nodiscard]] bool isActive() const;
    [[nodiscard]] State state() const;
    [[nodiscard]] bool isEditing() const;  ///< edit or insert
    [[nodiscard]] bool isModified() const; ///< the pending record differs from what was read
    [[nodiscard]] bool isReadOnly() const;
    /// What opening, and the work since, has found and done that the user should be told, with the table's
    /// name; mostly empty. It is handed out once: who takes it tells it.
    [[nodiscard]] QString takeNotice();
    /// A number of the owner's, 0 at first; the set itself never looks at it.
    [[nodiscard]] int tag() const;
    void setTag(int tag);

    // Fields
    [[nodiscard]] int fieldCount() const;
    [[nodiscard]] const FieldInfo &fieldInfo(int index) const;
    [[nodiscard]] int fieldIndex(QStringView name) const; ///< -1 when there is none
    /// @throws EDatabaseError when there is no such field.
    [[nodiscard]] Field field(QStringView name);
    [[nodiscard]] Field field(int index);
    /// Whether a text field keeps this very character; a table lacks what its code page lacks.
    [[nodiscard]] bool canKeep(QChar character) const;

    // The current record
    void first();
    void last();
    void next();
    void prior();
    [[nodiscard]] bool bof() const;
    [[nodiscard]] bool eof() const;
    [[nodiscard]] bool isEmpty() const; ///< no record in the range, or in the table when there is no range
    [[nodiscard]] Bookmark bookmark() const;
    /// @return false, and the cursor where it was, when the record is gone, or was among the rows and others
    /// have moved it out of the range.
    bool goToBookmark(Bookmark bookmark);
    /// Goes to a line that is still as it was seen. @throws EDatabaseError, kind conflict, when the table
    /// holds something else: the cursor is on the line as it now is, or where it was when it has gone or left
    /// the range.
    void goToSeen(const SeenRecord &line);

    // Rows: the records of the range (or table) in order, as a grid numbers them, from 0. A pending insert is
    // no row.
    [[nodiscard]] int rowCount() const;
    /// Row of the current record; -1 when there is none or it stands outside the range.
    [[nodiscard]] int currentRow() const;
    void setCurrentRow(int row);
    [[nodiscard]] Bookmark bookmarkAt(int row) const;
    /// The bookmarks of all rows in order; shared with the set, so the list costs nothing until it is
    /// changed.
    [[nodiscard]] QList<Bookmark> rows() const;
    [[nodiscard]] int rowOf(Bookmark bookmark) const; ///< -1 when not in the range
    /// Value of a field in a row, without moving; on the row being edited, what has been typed so far.
    [[nodiscard]] QVariant valueAt(int row, int field) const;
    /// The same as text for the user (see Field::asText).
    [[nodiscard]] QString textAt(int row, int field) const;

    /// A line as it was shown last; one that has not been shown, as it is. Without what is being typed.
    /// @param bookmark  0 gives no line.
    [[nodiscard]] SeenRecord seen(Bookmark bookmark) const;
    [[nodiscard]] SeenRecord seen() const { return seen(bookmark()); }       ///< the current line
    [[nodiscard]] QVariant valueOf(const SeenRecord &line, int field) const; ///< as valueAt()
    [[nodiscard]] QString textOf(const SeenRecord &line, int field) const;   ///< as textAt()

    // Changes
    void insert(); ///< a new blank record, written by post()
    void append(); ///< the same; its place follows from its key
    /// @throws EDatabaseError, kind locked, when another workstation keeps the record; kind conflict, and the
    /// record is shown as it now is, when it has gone, or with EditOf::seen is not what was last shown.
    void edit(EditOf what = EditOf::seen);
    /// Goes to a line and edits it as it was seen. @throws EDatabaseError as edit() does.
    void edit(const SeenRecord &line);
    void post();   ///< does nothing in browse state; the cursor stands on the written record afterwards
    void cancel(); ///< does nothing in browse state; after an insert the cursor is where it was before
    /// Deletes the current record; the next one, or else the one before, becomes current.
    /// @throws EDatabaseError, kind conflict, when it is not what was last shown any more: nothing is
    /// deleted, and the record is shown as it now is.
    void remove();
    /// Goes to a line and deletes it as it was seen. @throws EDatabaseError as remove() does.
    void remove(const SeenRecord &line);

    /// Makes the following posts and removals one commit, all of them or none. Others wait meanwhile, so no
    /// question is asked of the user before commitGroup(). New lines can be read at once; ranges and searches
    /// find them afterwards. Prefer CommitGroup. @throws EDatabaseError, also when there is a group already.
    void beginGroup();
    void commitGroup(); ///< @throws EDatabaseError, also when there is no group, or none any more
    void dropGroup();   ///< the changes are undone; does nothing without a group

    // Order, search, range
    /// Orders by one or more field names, separated by ";", or by the index of that name; empty: order of the
    /// file. Another order drops the range. On failure order, range, rows and current line are as before.
    void setIndexFieldNames(const QString &names);
    [[nodiscard]] QString indexFieldNames() const;
    /// @return true when a line with the key was found. Exact and not found: the cursor stays. Nearest and
    /// nothing at or after the key: the last line, with eof().
    bool locate(const Key &key, SearchMode mode);
    /// Restricts to the keys between the bounds and goes to the first line; a bound that names only the
    /// leading fields of the order stands for all keys that begin so. On failure the range, its rows and the
    /// current line are as before. @return true when the range holds a line.
    bool setRange(const Key &low, const Key &high);
    /// Back to the whole table, on the same line; when the range was empty, on the line nearest after its
    /// lower bound. On failure the range is as before.
    void cancelRange();
    [[nodiscard]] bool hasRange() const;
    /// Range, rows and current line, for who is going to look elsewhere on the way to something that may
    /// fail.
    [[nodiscard]] KeptView keepView() const;
    /// Shows again what has been kept. Nothing is read for it, so it does not fail; what has been written
    /// since comes with the next refresh. Does nothing while a record is being edited, and in another order.
    void showAgain(const KeptView &view);

    /// Takes in what others have written, keeps the current line and tells the watchers only what changed.
    /// Does nothing while a record is being edited.
    void refresh();

    /// Watchers are told nothing until enableControls() has been called as often; then they are told once.
    /// Prefer ControlsGuard.
    void disableControls();
    void enableControls();
    [[nodiscard]] bool controlsDisabled() const;

signals:
    void activeChanged();
    void stateChanged();
    /// Another record is current, or there is none now.
    void currentChanged();
    /// The current record's field has another value; -1: any of them may.
    void fieldChanged(int field);
    // The rows have changed already when these come; row numbers are those after the change, for rowsRemoved
    // those before it. A watcher that keeps its own count follows them in the order in which they come.
    void rowsReset();
    void rowsInserted(int first, int count);
    void rowsRemoved(int first, int count);
    void rowsChanged(int first, int count);

protected:
    DataSet(std::unique_ptr<RecordStore> store, QObject *parent);
    [[nodiscard]] RecordStore &store() const;
    /// The store has lost all its records.
    void storeEmptied();

private:
    friend class Field;
    friend class DataSetPrivate;
    [[nodiscard]] QVariant currentValue(int field) const;
    void setPendingValue(int field, const QVariant &value);
    std::unique_ptr<DataSetPrivate> d;
};

/// Stops the notices of a data set for as long as it lives.
class DATASET_EXPORT ControlsGuard
{
public:
    explicit ControlsGuard(DataSet &dataSet)
        : m_dataSet(dataSet)
    {
        m_dataSet.disableControls();
    }
    ~ControlsGuard() { m_dataSet.enableControls(); }
    ControlsGuard(const ControlsGuard &) = delete;
    ControlsGuard &operator=(const ControlsGuard &) = delete;

private:
    DataSet &m_dataSet;
};

/// A group of changes of a data set, dropped at the end of its life unless commit() was called.
class DATASET_EXPORT CommitGroup
{
public:
    explicit CommitGroup(DataSet &dataSet)
        : m_dataSet(dataSet)
    {
        m_dataSet.beginGroup();
    }
    ~CommitGroup() { m_dataSet.dropGroup(); }
    /// @throws EDatabaseError, with nothing of the group written.
    void commit() { m_dataSet.commitGroup(); }
    CommitGroup(const CommitGroup &) = delete;
    CommitGroup &operator=(const CommitGroup &) = delete;

private:
    DataSet &m_dataSet;
};

/// Cancels the pending insert or edit at the end of its life, unless keep() was called.
class DATASET_EXPORT PendingEditGuard
{
public:
    explicit PendingEditGuard(DataSet &dataSet)
        : m_dataSet(&dataSet)
    {
    }
    ~PendingEditGuard();
    void keep() { m_dataSet = nullptr; }
    PendingEditGuard(const PendingEditGuard &) = delete;
    PendingEditGuard &operator=(const PendingEditGuard &) = delete;

private:
    DataSet *m_dataSet;
};

} // namespace dataset
