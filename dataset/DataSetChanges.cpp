// Changing a data set, and choosing what of it is seen.

#include "dataset/DataSetPrivate.h"

#include <QtCore/QScopeGuard>

namespace dataset
{

// ---------------------------------------------------------------------------------------------------------------------
// Changes

void DataSet::insert()
{
    const Operation operation(*d);
    d->finishEditing();
    if (isReadOnly())
        throw EDatabaseError(QStringLiteral("La tabla está abierta solo para lectura"),
                             dbase::ErrorKind::readOnly);
    d->beforeInsert = d->number;
    d->number = 0;
    d->pending = d->store->blank();
    d->modified = false;
    d->state = State::insert;
    d->allFieldsNoted = true;
}

void DataSet::append()
{
    insert();
}

void DataSet::edit(EditOf what)
{
    d->requireOpen();
    if (isEditing())
        return;
    if (d->number == 0)
        throw EDatabaseError(QStringLiteral("No hay ninguna línea que modificar"),
                             dbase::ErrorKind::notFound);
    const Operation operation(*d);
    d->store->lock(d->number);
    try {
        const Bookmark wanted = d->number;
        const Record seen = d->record;
        d->takeInNews();
        if (d->number != wanted)
            throw d->whyGone(wanted);
        if (what == EditOf::seen && d->record != seen)
            throw d->otherThanSeen();
    } catch (...) {
        d->store->unlock();
        throw;
    }
    d->pending = d->record;
    d->modified = false;
    d->state = State::edit;
}

void DataSet::edit(const SeenRecord &line)
{
    const Operation operation(*d);
    goToSeen(line);
    edit(EditOf::seen);
}

void DataSet::post()
{
    d->requireOpen();
    if (!isEditing())
        return;
    const Operation operation(*d);
    Bookmark written = d->number;
    if (d->state == State::insert)
        written = d->store->append(d->pending);
    else if (d->modified)
        d->store->update(d->number, d->record, d->pending);
    d->shownRecords.forget(written);
    d->recordsNoted.insert(written);
    const Record asWritten = d->pending;
    d->dropPending();
    d->forgetRows();
    d->bof = d->eof = false;
    d->lookAfterwards([&] {
        // What stays where it cannot be looked at just now.
        d->number = written;
        d->record = asWritten;
        if (!d->goTo(written))
            d->goToNeighbour();
    });
}

void DataSet::cancel()
{
    d->requireOpen();
    if (!isEditing())
        return;
    const Operation operation(*d);
    const bool inserting = d->state == State::insert;
    d->recordsNoted.insert(d->number);
    d->dropPending();
    d->allFieldsNoted = true;
    // A row that others have moved out of the range meanwhile is not one to come back to.
    const bool wasRow = d->ranged && d->rows && d->rows->rowOf(d->beforeInsert) >= 0;
    if (!inserting || (wasRow ? d->goToRow(d->beforeInsert) : d->goTo(d->beforeInsert)))
        return;
    // Without a line before the insert there may be one now, and the one before may have gone.
    if (d->beforeInsert != 0)
        d->goToNeighbour();
    else
        d->moveToEnd(false);
}

void DataSet::remove()
{
    d->requireOpen();
    const Operation operation(*d);
    if (isEditing()) {
        const bool inserting = d->state == State::insert;
        cancel();
        if (inserting)
            return;
    }
    if (d->number == 0)
        throw EDatabaseError(QStringLiteral("No hay ninguna línea que borrar"), dbase::ErrorKind::notFound);
    if (d->ranged)
        d->rowSet(); // the neighbours, while the line is still among them
    const Bookmark gone = d->number;
    try {
        d->store->erase(gone, d->record);
    } catch (const EDatabaseError &error) {
        // Not the line that was seen: the next attempt deletes what is shown from here on.
        if (error.kind() == dbase::ErrorKind::conflict) {
            d->newsPending = true; // and stays so where it cannot be read just now
            d->takeInNews();
            if (d->number != gone && d->store->read(gone, d->incoming))
                throw d->whyGone(gone); // it is in the table, and no more among what is shown
        }
        throw;
    }
    d->shownRecords.forget(gone);
    if (!d->lookAfterwards([&] { d->goToNeighbour(); }))
        d->goToNowhere();
    d->forgetRow(gone);
}

void DataSet::remove(const SeenRecord &line)
{
    const Operation operation(*d);
    goToSeen(line);
    remove();
}

void DataSet::beginGroup()
{
    d->finishEditing();
    if (d->grouped)
        throw EDatabaseError(QStringLiteral("Ya hay un grupo de cambios empezado"));
    d->store->beginGroup();
    d->grouped = true;
}

void DataSet::commitGroup()
{
    d->requireOpen();
    if (!d->grouped)
        throw EDatabaseError(QStringLiteral("No hay ningún grupo de cambios empezado"));
    const Operation operation(*d);
    d->finishEditing();
    d->grouped = false;
    const auto look = qScopeGuard([this] { d->afterGroup(); });
    d->store->commitGroup();
}

void DataSet::dropGroup()
{
    if (!d->grouped)
        return;
    const Operation operation(*d);
    if (isEditing())
        d->dropPending();
    d->grouped = false;
    d->store->dropGroup();
    d->afterGroup();
}

// ---------------------------------------------------------------------------------------------------------------------
// Order, search, range

void DataSet::setIndexFieldNames(const QString &names)
{
    if (!isActive()) {
        d->order = names;
        return;
    }
    const Operation operation(*d);
    d->finishEditing();
    if (!d->store->setOrder(names)) {
        d->order = names;
        return;
    }
    std::optional<Place> stand;
    try {
        stand = d->number != 0 && d->store->read(d->number, d->incoming) ? Place{{}, d->number}
                                                                         : d->readPlace(d->store->first());
    } catch (...) {
        d->store->setOrder(d->order); // an index that is there already: nothing is read or made for it
        throw;
    }
    // From here on nothing fails.
    d->order = names;
    d->ranged = false;
    d->low.clear();
    d->high.clear();
    d->resetNoted = true;
    d->forgetRows();
    if (!stand || stand->number != d->number) {
        d->bof = true;
        d->eof = false;
    }
    d->arriveOrGoNowhere(stand);
}

QString DataSet::indexFieldNames() const
{
    return d->order;
}

bool DataSet::locate(const Key &key, SearchMode mode)
{
    const Operation operation(*d);
    d->finishEditing();
    d->takeInNews();
    const KeyBounds bounds = d->store->boundsOf(key);
    if (const auto found = d->search(bounds)) {
        d->goToPlace(found);
        d->bof = d->eof = false;
        return true;
    }
    if (mode == SearchMode::exact)
        return false;
    const auto nearest = d->store->atOrAfter(bounds.prefix);
    d->goToPlace(nearest ? nearest : d->store->last());
    if (d->number != 0) {
        d->bof = false;
        d->eof = !nearest;
    }
    return false;
}

bool DataSet::setRange(const Key &low, const Key &high)
{
    const Operation operation(*d);
    d->finishEditing();
    d->takeInNews();
    const KeyBounds lower = d->store->boundsOf(low);
    const KeyBounds upper = d->store->boundsOf(high);
    if (!lower.theRest.isEmpty() || !upper.theRest.isEmpty())
        throw EDatabaseError(QStringLiteral("El orden de la tabla no permite limitarla por esos campos"));
    // What may fail comes first: a range that cannot be had leaves everything as it was.
    auto rows = std::make_shared<const RowSet>(d->store->collect(lower.prefix, upper.prefix));
    std::optional<Place> stand;
    for (int row = 0; !stand && row < rows->count(); ++row) {
        if (d->store->readRow(rows->at(row), d->incoming))
            stand = Place{{}, rows->at(row)};
    }
    d->ranged = true;
    d->low = lower.prefix;
    d->high = upper.prefix;
    d->rows = std::move(rows);
    d->rowsStale = false;
    d->resetNoted = true;
    d->bof = true;
    d->eof = false;
    d->arriveOrGoNowhere(stand);
    return d->number != 0;
}

void DataSet::cancelRange()
{
    const Operation operation(*d);
    d->finishEditing();
    if (!d->ranged)
        return;
    std::optional<Place> nearest;
    std::optional<Place> stand;
    if (d->number == 0) {
        nearest = d->store->atOrAfter(d->low);
        stand = d->readPlace(nearest ? nearest : d->store->last());
    }
    // From here on nothing fails.
    d->ranged = false;
    d->low.clear();
    d->high.clear();
    d->resetNoted = true;
    d->forgetRows();
    d->bof = d->eof = false;
    if (d->number != 0)
        return;
    d->arriveOrGoNowhere(stand);
    if (d->number != 0)
        d->eof = !nearest;
}

bool DataSet::hasRange() const
{
    return d->ranged;
}

KeptView DataSet::keepView() const
{
    return std::make_shared<const View>(View{d->order, d->ranged, d->low, d->high, d->rows, d->rowsStale,
                                             d->shownRecords, d->number, d->record, d->bof, d->eof,
                                             d->resetNoted});
}

void DataSet::showAgain(const KeptView &view)
{
    if (!isActive() || isEditing() || view->order != d->order)
        return;
    const Operation operation(*d);
    d->ranged = view->ranged;
    d->low = view->low;
    d->high = view->high;
    d->rows = view->rows;
    d->rowsStale = view->rowsStale;
    d->shownRecords = view->shownRecords;
    d->number = view->number;
    d->record = view->record;
    d->bof = view->bof;
    d->eof = view->eof;
    d->resetNoted = view->resetNoted;
    // What others have written meanwhile may have been taken in already, and shows in none of this.
    d->newsPending = true;
}

void DataSet::refresh()
{
    d->requireOpen();
    if (isEditing())
        return;
    const Operation operation(*d);
    d->takeInNews();
}

void DataSet::disableControls()
{
    d->begin();
    ++d->disabled;
    --d->depth;
}

void DataSet::enableControls()
{
    if (d->disabled == 0)
        return;
    if (--d->disabled == 0 && d->depth == 0)
        d->tell();
}

bool DataSet::controlsDisabled() const
{
    return d->disabled > 0;
}

PendingEditGuard::~PendingEditGuard()
{
    if (!m_dataSet || !m_dataSet->isActive())
        return;
    try {
        m_dataSet->cancel();
    } catch (const EDatabaseError &error) {
        qWarning("Pending change could not be dropped cleanly: %s", error.what());
    }
}

} // namespace dataset
