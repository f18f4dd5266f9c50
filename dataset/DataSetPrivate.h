#pragma once

#include "dataset/DatabaseError.h"
#include "dataset/RecordStore.h"
#include "dataset/RowChanges.h"
#include "dataset/ShownRecords.h"

#include <QtCore/QSet>

#include <functional>

namespace dataset
{

/// What is shown, so that it can be put back from memory.
struct View {
    QString order;
    bool ranged = false;
    std::string low;
    std::string high;
    std::shared_ptr<const RowSet> rows;
    bool rowsStale = true;
    ShownRecords shownRecords;
    Bookmark number = 0;
    Record record;
    bool bof = true;
    bool eof = true;
    bool resetNoted = false;
};

/// The workings of a DataSet. Every operation notes what it does; the notices go out in one go when the
/// outermost operation (or the last disableControls()) ends, so that watchers only ever see a finished state.
class DataSetPrivate
{
public:
    DataSetPrivate(DataSet &owner, std::unique_ptr<RecordStore> recordStore);

    void requireOpen() const;
    /// Posts or cancels what is being edited, as every move does.
    void finishEditing();
    void dropPending();

    // The cursor. Each brings `number` and `record` into line.
    bool goTo(Bookmark target);
    bool goToRow(Bookmark target);
    /// A row, which may come as it was when the rows were collected. @return false for one that has left the
    /// range since, or has gone: it is none any more.
    bool readRow(Bookmark wanted, Record &row) const;
    /// Takes in a record that has been read into `incoming`.
    void arriveAt(Bookmark target);
    /// Reads the record of a place into `incoming`. @return the place; nothing when there is none or it has
    /// gone.
    [[nodiscard]] std::optional<Place> readPlace(std::optional<Place> target);
    /// Takes in what has been read into `incoming`, if anything has. Does not fail.
    void arriveOrGoNowhere(const std::optional<Place> &target);
    /// Where the current record stands in the order; usable as well when it has just gone.
    [[nodiscard]] Place place() const { return number == 0 ? Place() : store->placeOf(number, record); }
    void goToPlace(const std::optional<Place> &target);
    void goToNowhere();
    /// After the current record went away: the next one, or else the one before.
    void goToNeighbour();
    void moveToEnd(bool forward);
    void step(bool forward);
    /// Whether a record's key lies between the bounds of the range; true without one.
    [[nodiscard]] bool isInRange(Bookmark which, const Record &candidate) const;
    /// Whether the current record has been among the rows until now, as far as they have been looked at.
    [[nodiscard]] bool wasInRange() const;
    /// Whether a line is among the rows of a range; false while they are to be collected anew, since they may
    /// hold a line then that this set itself has written elsewhere.
    [[nodiscard]] bool isRow(Bookmark which) const;
    [[nodiscard]] bool recordHas(const Record &candidate, const QList<KeyPart> &parts) const;
    std::optional<Place> search(const KeyBounds &bounds) const;

    // Rows
    const RowSet &rowSet() const;
    /// The same for questions, which must not fail: what cannot be read now is what was read last.
    const RowSet &rowSetOrLast() const;
    void forgetRows() { rowsStale = true; }
    /// The same after one record went.
    void forgetRow(Bookmark gone);
    /// The record of a row, for showing it; null when it is gone.
    [[nodiscard]] const Record *rowRecord(Bookmark wanted);
    [[nodiscard]] const Record &shown() const { return editing() ? pending : record; }
    [[nodiscard]] bool editing() const
    {
        return state == DataSet::State::edit || state == DataSet::State::insert;
    }
    /// Looks what others have written, and takes it in.
    void takeInNews();
    void takeInForeignChanges();
    [[nodiscard]] SeenRecord seenOf(Bookmark wanted) const;
    /// Goes to a line. @throws EDatabaseError, kind conflict, when the table holds something else than was
    /// seen.
    void goToSeen(const SeenRecord &line);
    /// Why a line that was current is not any more, now that others' changes have been taken in.
    [[nodiscard]] EDatabaseError whyGone(Bookmark gone);
    /// Why a line that is there is not worked on.
    [[nodiscard]] static EDatabaseError otherThanSeen();
    /// The lines of a group are in the table now, or gone. Does not fail.
    void afterGroup();
    /// Looks at the table after a change that is in it, whatever the look comes to: what has been done must
    /// not be told as refused. What cannot be read now is taken in by the next refresh.
    /// @return false when the table could not be looked at.
    bool lookAfterwards(const std::function<void()> &look);

    // Notices
    void begin();
    void end();
    void tell();
    void tellRows();

    DataSet &q;
    std::unique_ptr<RecordStore> store;
    DataSet::State state = DataSet::State::inactive;
    int tag = 0;
    QString order;

    Bookmark number = 0; ///< current record; 0: none
    Record record;       ///< what it held when it was read; with an insert pending, the record before it
    Record incoming;     ///< being read
    Record pending;
    bool modified = false;
    bool grouped = false;
    Bookmark beforeInsert = 0;
    bool bof = true;
    bool eof = true;

    bool newsPending = false; ///< the store has met other people's writing that has not been taken in yet

    bool ranged = false;
    std::string low;
    std::string high;

    mutable std::shared_ptr<const RowSet> rows;
    mutable bool rowsStale = true;
    ShownRecords shownRecords;

    // Noted since the watchers were last told
    int depth = 0;
    int disabled = 0;
    std::shared_ptr<const RowSet> toldRows;
    bool rowsUntold = false; ///< toldRows is what the watchers know since a notice that could not be made
    Bookmark toldNumber = 0;
    DataSet::State toldState = DataSet::State::inactive;
    bool resetNoted = false;
    bool allFieldsNoted = false;
    QSet<int> fieldsNoted;
    QSet<Bookmark> recordsNoted;
};

/// One operation: what it changes is told at its end, also when it fails half-way.
class Operation
{
public:
    explicit Operation(DataSetPrivate &d)
        : m_d(d)
    {
        m_d.begin();
    }
    ~Operation() { m_d.end(); }
    Operation(const Operation &) = delete;
    Operation &operator=(const Operation &) = delete;

private:
    DataSetPrivate &m_d;
};

} // namespace dataset
