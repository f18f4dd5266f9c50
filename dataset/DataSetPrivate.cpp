#include "dataset/DataSetPrivate.h"

#include "dataset/DatabaseError.h"

#include <algorithm>

namespace dataset
{

namespace
{
// Enough for every line that a grid shows at a time, and small in memory.
constexpr qsizetype cacheLimit = 1024;
} // namespace

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
    pending = {};
    modified = false;
    state = DataSet::State::browse;
}

// ---------------------------------------------------------------------------------------------------------------------
// The cursor

bool DataSetPrivate::goTo(Bookmark target)
{
    if (target == 0)
        return false;
    auto found = store->read(target);
    if (!found)
        return false;
    number = target;
    record = std::move(*found);
    place = store->placeOf(number, record);
    if (const auto known = cache.find(number); known != cache.end() && *known != record) {
        *known = record;
        recordsNoted.insert(number);
    }
    return true;
}

void DataSetPrivate::goToPlace(const std::optional<Place> &target)
{
    if (!target || !goTo(target->number))
        goToNowhere();
}

void DataSetPrivate::goToNowhere()
{
    number = 0;
    place = {};
    record = {};
    bof = eof = true;
}

bool DataSetPrivate::insideRange() const
{
    return !ranged || (number != 0 && rowSet().rowOf(number) >= 0);
}

void DataSetPrivate::goToNeighbour()
{
    const Place gone = place;
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
        if (goTo(all.at(after)))
            return;
    }
    for (int before = row - 1; before >= 0; --before) {
        if (goTo(all.at(before)))
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
        if (goTo(all.at(forward ? all.count() - 1 - i : i)))
            return;
    }
    goToNowhere();
}

void DataSetPrivate::step(bool forward)
{
    if (number == 0)
        return;
    bool moved = false;
    if (ranged && insideRange()) {
        const RowSet &all = rowSet();
        for (int row = all.rowOf(number) + (forward ? 1 : -1); !moved && row >= 0 && row < all.count();
             row += forward ? 1 : -1)
            moved = goTo(all.at(row));
    } else {
        auto target = forward ? store->next(place) : store->prior(place);
        moved = target && goTo(target->number);
    }
    (forward ? eof : bof) = !moved;
    if (moved)
        (forward ? bof : eof) = false;
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
    while (found && found->key.starts_with(bounds.prefix)) {
        const auto candidate = store->read(found->number);
        if (candidate && recordHas(*candidate, bounds.theRest))
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

const Record *DataSetPrivate::cached(Bookmark wanted) const
{
    if (const auto known = cache.constFind(wanted); known != cache.constEnd())
        return &*known;
    auto fresh = store->read(wanted);
    if (!fresh)
        return nullptr;
    if (cache.size() >= cacheLimit) {
        cache.clear();
        cacheForgot = true;
    }
    return &*cache.insert(wanted, *fresh);
}

void DataSetPrivate::recheckCache()
{
    everyRecordNoted = everyRecordNoted || cacheForgot;
    for (auto known = cache.begin(); known != cache.end();) {
        auto fresh = store->read(known.key());
        if (fresh && *fresh == *known) {
            ++known;
            continue;
        }
        recordsNoted.insert(known.key());
        if (!fresh) {
            known = cache.erase(known);
            continue;
        }
        *known = std::move(*fresh);
        ++known;
    }
}

/// The store has met other people's writing: brings the current line up to date and has the rows collected
/// anew.
void DataSetPrivate::takeInForeignChanges()
{
    recheckCache();
    if (number != 0) {
        auto fresh = store->read(number);
        if (!fresh) {
            goToNeighbour();
        } else if (*fresh != record) {
            record = std::move(*fresh);
            place = store->placeOf(number, record);
            allFieldsNoted = true;
            recordsNoted.insert(number);
        }
    }
    forgetRows();
    if (number == 0)
        moveToEnd(false);
}

void DataSetPrivate::afterGroup()
{
    recheckCache();
    forgetRows();
    if (number != 0 && !goTo(number))
        goToNeighbour();
}

// ---------------------------------------------------------------------------------------------------------------------
// Notices

void DataSetPrivate::begin()
{
    if (depth++ == 0 && disabled == 0) {
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
    const bool every = std::exchange(everyRecordNoted, false);
    const QSet<Bookmark> changed = std::exchange(recordsNoted, {});
    if (reset) {
        cache.clear();
        cacheForgot = false;
        if (rowsStale)
            rows.reset();
        emit q.rowsReset();
        return;
    }
    // Nobody has asked for rows yet, so nobody needs to hear about them.
    if (!before)
        return;
    rowSet();
    const std::shared_ptr<const RowSet> after = rows;
    if (before != after) {
        const RowChanges changes = rowChanges(*before, *after);
        for (const RowRun &run : changes.removed)
            emit q.rowsRemoved(run.first, run.count);
        for (const RowRun &run : changes.inserted)
            emit q.rowsInserted(run.first, run.count);
    }
    if (every && after->count() > 0) {
        emit q.rowsChanged(0, after->count());
        return;
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
