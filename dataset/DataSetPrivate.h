#pragma once

#include "dataset/RecordStore.h"
#include "dataset/RowChanges.h"

#include <QtCore/QHash>
#include <QtCore/QSet>

namespace dataset
{

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

    // The cursor. Each brings `number`, `record` and `place` into line.
    bool goTo(Bookmark target);
    void goToPlace(const std::optional<Place> &target);
    void goToNowhere();
    /// After the current record went away: the next one, or else the one before.
    void goToNeighbour();
    void moveToEnd(bool forward);
    void step(bool forward);
    [[nodiscard]] bool insideRange() const;
    [[nodiscard]] bool recordHas(const Record &candidate, const QList<KeyPart> &parts) const;
    std::optional<Place> search(const KeyBounds &bounds) const;

    // Rows
    const RowSet &rowSet() const;
    /// The same for questions, which must not fail: what cannot be read now is what was read last.
    const RowSet &rowSetOrLast() const;
    void forgetRows() { rowsStale = true; }
    [[nodiscard]] const Record *cached(Bookmark wanted) const;
    /// Looks which of the cached records have another content by now, and takes that in.
    void recheckCache();
    [[nodiscard]] const Record &shown() const { return editing() ? pending : record; }
    [[nodiscard]] bool editing() const
    {
        return state == DataSet::State::edit || state == DataSet::State::insert;
    }
    void takeInForeignChanges();
    /// The lines of a group are in the table now, or gone.
    void afterGroup();

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
    Place place;
    Record record;
    Record pending;
    bool modified = false;
    bool grouped = false;
    Bookmark beforeInsert = 0;
    Place placeBeforeInsert;
    bool bof = true;
    bool eof = true;

    bool ranged = false;
    std::string low;
    std::string high;

    mutable std::shared_ptr<const RowSet> rows;
    mutable bool rowsStale = true;
    mutable QHash<Bookmark, Record> cache;
    mutable bool cacheForgot = false; ///< some row may have been shown whose record is no longer in the cache

    // Noted since the watchers were last told
    int depth = 0;
    int disabled = 0;
    std::shared_ptr<const RowSet> toldRows;
    Bookmark toldNumber = 0;
    DataSet::State toldState = DataSet::State::inactive;
    bool resetNoted = false;
    bool allFieldsNoted = false;
    QSet<int> fieldsNoted;
    QSet<Bookmark> recordsNoted;
    bool everyRecordNoted = false;
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
