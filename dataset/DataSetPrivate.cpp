#include "dataset/DataSetPrivate.h"

#include <algorithm>

namespace dataset
{

DataSetPrivate::DataSetPrivate(DataSet &owner, std::unique_ptr<RecordStore> recordStore)
    : q(owner)
    , store(std::move(recordStore))
{
}

void DataSetPrivate::requireOpen() const
{
    if (state == DataSet::State::inactive)
        throw EDatabaseError(QStringLiteral("La tabla no está abierta"));
}

void DataSetPrivate::finishEditing()
{
    requireOpen();
    if (!editing())
        return;
    if (q.isModified())
        q.post();
    else
        q.cancel();
}

void DataSetPrivate::dropPending()
{
    if (state == DataSet::State::edit)
        store->unlock();
    if (state == DataSet::State::insert)
        number = beforeInsert;
    pending = {};
    modified = false;
    state = DataSet::State::browse;
}

// ---------------------------------------------------------------------------------------------------------------------
// The cursor

bool DataSetPrivate::goTo(Bookmark target)
{
    if (target == 0 || !store->read(target, incoming))
        return false;
    arriveAt(target);
    return true;
}

bool DataSetPrivate::readRow(Bookmark wanted, Record &row) const
{
    return store->readRow(wanted, row) && isInRange(wanted, row);
}

bool DataSetPrivate::goToRow(Bookmark target)
{
    if (!readRow(target, incoming))
        return false;
    arriveAt(target);
    return true;
}

void DataSetPrivate::arriveAt(Bookmark target)
{
    number = target;
    std::swap(record, incoming);
    if (shownRecords.replace(number, record))
        recordsNoted.insert(number);
}

std::optional<Place> DataSetPrivate::readPlace(std::optional<Place> target)
{
    if (target && !store->read(target->number, incoming))
        target.reset();
    return target;
}

void DataSetPrivate::arriveOrGoNowhere(const std::optional<Place> &target)
{
    if (target)
        arriveAt(target->number);
    else
        goToNowhere();
}

void DataSetPrivate::goToPlace(const std::optional<Place> &target)
{
    if (!target || !goTo(target->number))
        goToNowhere();
}

void DataSetPrivate::goToNowhere()
{
    number = 0;
    record = {};
    bof = eof = true;
}

void DataSetPrivate::goToNeighbour()
{
    const Place gone = place();
    bof = eof = false;
    if (!ranged) {
        if (const auto behind = store->next(gone); behind && goTo(behind->number))
            return;
        goToPlace(store->prior(gone));
        return;
    }
    // The rows are those of before: the neighbours of the row that went away are still known.
    const RowSet &all = rowSet();
    const int row = all.rowOf(gone.number);
    for (int after = row + 1; row >= 0 && after < all.count(); ++after) {
        if (goToRow(all.at(after)))
            return;
    }
    for (int before = row - 1; before >= 0; --before) {
        if (goToRow(all.at(before)))
            return;
    }
    if (row < 0) {
        moveToEnd(false);
        return;
    }
    goToNowhere();
}

void DataSetPrivate::moveToEnd(bool forward)
{
    bof = !forward;
    eof = forward;
    if (!ranged) {
        goToPlace(forward ? store->last() : store->first());
        return;
    }
    const RowSet &all = rowSet();
    for (int i = 0; i < all.count(); ++i) {
        if (goToRow(all.at(forward ? all.count() - 1 - i : i)))
            return;
    }
    goToNowhere();
}

void DataSetPrivate::step(bool forward)
{
    if (number == 0)
        return;
    bool moved = false;
    const int here = ranged ? rowSet().rowOf(number) : -1;
    if (here >= 0) {
        const RowSet &all = rowSet();
        const int way = forward ? 1 : -1;
        for (int row = here + way; !moved && row >= 0 && row < all.count(); row += way)
            moved = goToRow(all.at(row));
    } else {
        const auto target = forward ? store->next(place()) : store->prior(place());
        moved = target && goTo(target->number);
    }
    (forward ? eof : bof) = !moved;
    if (moved)
        (forward ? bof : eof) = false;
}

bool DataSetPrivate::isInRange(Bookmark which, const Record &candidate) const
{
    if (!ranged)
        return true;
    const std::string key = store->placeOf(which, candidate).key;
    const int way = store->descends() ? -1 : 1;
    return way * key.compare(0, low.size(), low) >= 0 && way * key.compare(0, high.size(), high) <= 0;
}

bool DataSetPrivate::wasInRange() const
{
    // Going to a row reads it afresh: by now the record may say that it has left, while the rows have it yet.
    return isInRange(number, record) || (rows && !rowsStale && rows->rowOf(number) >= 0);
}

bool DataSetPrivate::isRow(Bookmark which) const
{
    return ranged && rows && !rowsStale && rows->rowOf(which) >= 0;
}

bool DataSetPrivate::recordHas(const Record &candidate, const QList<KeyPart> &parts) const
{
    return std::ranges::all_of(parts, [&](const KeyPart &part) {
        const int field = q.fieldIndex(part.field);
        const QVariant value = store->value(candidate, field);
        // A blank text and no text are the same in a file.
        if (q.fieldInfo(field).kind == FieldKind::text)
            return value.toString() == part.value.toString();
        return value == part.value;
    });
}

std::optional<Place> DataSetPrivate::search(const KeyBounds &bounds) const
{
    auto found = store->atOrAfter(bounds.prefix);
    Record candidate;
    while (found && found->key.starts_with(bounds.prefix)) {
        if (store->read(found->number, candidate) && recordHas(candidate, bounds.theRest))
            return found;
        found = store->next(*found);
    }
    return {};
}

// ---------------------------------------------------------------------------------------------------------------------
// Rows

const RowSet &DataSetPrivate::rowSet() const
{
    if (!rows || rowsStale) {
        rows = std::make_shared<const RowSet>(state == DataSet::State::inactive ? std::vector<Bookmark>()
                                                                                : store->collect(low, high));
        rowsStale = false;
    }
    return *rows;
}

const RowSet &DataSetPrivate::rowSetOrLast() const
{
    try {
        return rowSet();
    } catch (const EDatabaseError &error) {
        qWarning("Rows could not be collected: %s", error.what());
    }
    if (!rows)
        rows = std::make_shared<const RowSet>(std::vector<Bookmark>());
    return *rows; // still stale: the next question tries again
}

void DataSetPrivate::forgetRow(Bookmark gone)
{
    // While a group holds the table nobody else writes: the other rows are as they were, and deleting many
    // does not collect them each time.
    const int row = grouped && ranged && !rowsStale ? rows->rowOf(gone) : -1;
    if (row >= 0)
        rows = rows->without(row);
    else
        forgetRows();
}

const Record *DataSetPrivate::rowRecord(Bookmark wanted)
{
    if (const Record *const known = shownRecords.find(wanted))
        return known;
    Record fresh;
    if (!readRow(wanted, fresh)) {
        newsPending = true; // others have written, whether or not the files have said so yet
        return nullptr;
    }
    // Who was shown it before, and hears of the change only now, need not be the one that asks.
    if (shownRecords.replace(wanted, fresh))
        recordsNoted.insert(wanted);
    return &shownRecords.keep(wanted, std::move(fresh));
}

void DataSetPrivate::takeInNews()
{
    newsPending = store->refresh() || newsPending;
    if (newsPending)
        takeInForeignChanges();
}

/// The store has met other people's writing: brings the current line up to date and has the rows collected
/// anew.
void DataSetPrivate::takeInForeignChanges()
{
    // All of it is read before anything of it is shown: a line must not stand as it now is among the rows of
    // before, which it may have left. For the same reason the rows come last: others go on writing meanwhile.
    QSet<Bookmark> changed;
    ShownRecords shownNow = shownRecords.rechecked(*store, changed);
    const bool there = number != 0 && store->read(number, incoming);
    std::shared_ptr<const RowSet> fresh;
    if (rows && !rowsStale)
        fresh = std::make_shared<const RowSet>(store->collect(low, high));
    shownRecords = std::move(shownNow);
    recordsNoted.unite(changed);
    for (const Bookmark one : changed) {
        // Shown no more: should it come back, it is read anew.
        if (const Record *const now = shownRecords.find(one); now && !isInRange(one, *now))
            shownRecords.forget(one);
    }
    if (number != 0) {
        // A line that has left the range is as good as deleted: nobody is to work on what he does not see.
        const bool in = there && isInRange(number, incoming) && (!fresh || fresh->rowOf(number) >= 0);
        if (!there || (ranged && wasInRange() && !in)) {
            goToNeighbour();
        } else {
            // The grid and the current record say the same, also where the line has changed between two
            // looks.
            shownRecords.replace(number, incoming);
            if (incoming != record) {
                std::swap(record, incoming);
                allFieldsNoted = true;
                recordsNoted.insert(number);
            }
        }
    }
    forgetRows();
    if (fresh) {
        rows = std::move(fresh);
        rowsStale = false;
    }
    if (number == 0)
        moveToEnd(false);
    newsPending = false;
}

SeenRecord DataSetPrivate::seenOf(Bookmark wanted) const
{
    SeenRecord line;
    line.m_bookmark = wanted;
    if (wanted == number) {
        line.m_record = record;
    } else if (const Record *const known = shownRecords.find(wanted)) {
        line.m_record = *known;
    } else {
        line.m_lost = !readRow(wanted, line.m_record) || shownRecords.wasOther(wanted, line.m_record);
    }
    return line;
}

void DataSetPrivate::goToSeen(const SeenRecord &line)
{
    const Bookmark target = line.m_bookmark;
    if (target == 0)
        throw EDatabaseError(QStringLiteral("No hay ninguna línea con la que trabajar"),
                             dbase::ErrorKind::notFound);
    if (!grouped) // nobody else writes during a group
        takeInNews();
    const bool there = store->read(target, incoming);
    if (!there || ((line.m_lost || isInRange(target, line.m_record)) && !isInRange(target, incoming)))
        throw whyGone(target);
    arriveAt(target);
    bof = eof = false;
    if (line.m_lost || record != line.m_record)
        throw otherThanSeen();
}

EDatabaseError DataSetPrivate::otherThanSeen()
{
    return EDatabaseError(QStringLiteral("Otro puesto ha cambiado la línea mientras tanto"),
                          dbase::ErrorKind::conflict);
}

EDatabaseError DataSetPrivate::whyGone(Bookmark gone)
{
    return EDatabaseError(store->read(gone, incoming)
                              ? QStringLiteral("Otro puesto ha cambiado de sitio la línea mientras tanto")
                              : QStringLiteral("Otro puesto ha borrado la línea mientras tanto"),
                          dbase::ErrorKind::conflict);
}

void DataSetPrivate::afterGroup()
{
    forgetRows();
    lookAfterwards([this] {
        shownRecords = shownRecords.rechecked(*store, recordsNoted);
        if (number != 0 && !goTo(number))
            goToNeighbour();
    });
}

bool DataSetPrivate::lookAfterwards(const std::function<void()> &look)
{
    try {
        look();
        return true;
    } catch (const EDatabaseError &error) {
        qWarning("After a change: %s", error.what());
        newsPending = true;
        return false;
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Notices

void DataSetPrivate::begin()
{
    if (depth++ == 0 && disabled == 0) {
        // Rows may have been collected since for a question, without anybody being told.
        if (!std::exchange(rowsUntold, false))
            toldRows = rows;
        toldNumber = number;
        toldState = state;
    }
}

void DataSetPrivate::end()
{
    if (--depth == 0 && disabled == 0)
        tell();
}

void DataSetPrivate::tellRows()
{
    const auto before = std::exchange(toldRows, nullptr);
    const bool reset = std::exchange(resetNoted, false);
    QSet<Bookmark> changed = std::exchange(recordsNoted, {});
    if (reset) {
        shownRecords.clear();
        if (rowsStale)
            rows.reset();
        emit q.rowsReset();
        return;
    }
    // Nobody has asked for rows yet, so nobody needs to hear about them.
    if (!before)
        return;
    try {
        rowSet();
    } catch (...) {
        toldRows = before; // what the watchers know is what the next notice goes out from
        rowsUntold = true;
        recordsNoted = std::move(changed);
        throw;
    }
    const std::shared_ptr<const RowSet> after = rows;
    if (before != after) {
        const RowChanges changes = rowChanges(*before, *after);
        for (const RowRun &run : changes.removed)
            emit q.rowsRemoved(run.first, run.count);
        for (const RowRun &run : changes.inserted)
            emit q.rowsInserted(run.first, run.count);
    }
    std::vector<int> rowsOfChanged;
    for (const Bookmark one : changed) {
        if (const int row = after->rowOf(one); row >= 0)
            rowsOfChanged.push_back(row);
    }
    std::ranges::sort(rowsOfChanged);
    for (const RowRun &run : asRuns(rowsOfChanged))
        emit q.rowsChanged(run.first, run.count);
}

void DataSetPrivate::tell()
{
    const bool wasOpen = toldState != DataSet::State::inactive;
    const bool isOpen = state != DataSet::State::inactive;
    const bool moved = toldNumber != number;
    const bool otherState = toldState != state;
    const bool allFields = std::exchange(allFieldsNoted, false);
    const QSet<int> fields = std::exchange(fieldsNoted, {});
    toldNumber = number;
    toldState = state;

    if (wasOpen != isOpen)
        emit q.activeChanged();
    try {
        tellRows();
    } catch (const EDatabaseError &error) {
        // Notices end an operation that has been done: what cannot be read now is said by the next one.
        qWarning("Rows could not be collected: %s", error.what());
    }
    if (moved)
        emit q.currentChanged();
    if (otherState)
        emit q.stateChanged();
    if (allFields) {
        emit q.fieldChanged(-1);
        return;
    }
    for (const int field : fields)
        emit q.fieldChanged(field);
}

} // namespace dataset
