#include "dataset/DataSet.h"

#include "dataset/DataSetPrivate.h"
#include "dataset/FieldText.h"

namespace dataset
{

DataSet::DataSet(std::unique_ptr<RecordStore> store, QObject *parent)
    : QObject(parent)
    , d(std::make_unique<DataSetPrivate>(*this, std::move(store)))
{
}

DataSet::~DataSet() = default;

RecordStore &DataSet::store() const
{
    return *d->store;
}

// ---------------------------------------------------------------------------------------------------------------------
// Life

void DataSet::open()
{
    if (isActive())
        return;
    const Operation operation(*d);
    d->store->open();
    try {
        d->store->setOrder(d->order);
    } catch (...) {
        try {
            d->store->close();
        } catch (const EDatabaseError &error) { // the first failure is the one to be told
            qWarning("A table could not be closed cleanly: %s", error.what());
        }
        throw;
    }
    d->state = State::browse;
    d->resetNoted = true;
    d->forgetRows();
    d->moveToEnd(false);
}

void DataSet::close()
{
    if (!isActive())
        return;
    const Operation operation(*d);
    dropGroup(); // with what was being edited in it
    d->finishEditing();
    d->goToNowhere();
    d->ranged = false;
    d->low.clear();
    d->high.clear();
    d->state = State::inactive;
    d->rows.reset();
    d->shownRecords.clear();
    d->resetNoted = true;
    d->store->close();
}

bool DataSet::isActive() const
{
    return d->state != State::inactive;
}
DataSet::State DataSet::state() const
{
    return d->state;
}
bool DataSet::isEditing() const
{
    return d->editing();
}
bool DataSet::isModified() const
{
    return d->editing() && d->modified;
}
bool DataSet::isReadOnly() const
{
    return d->store->isReadOnly();
}
QString DataSet::takeNotice()
{
    return d->store->takeNotice();
}
int DataSet::tag() const
{
    return d->tag;
}
void DataSet::setTag(int tag)
{
    d->tag = tag;
}

void DataSet::storeEmptied()
{
    const Operation operation(*d);
    d->goToNowhere();
    d->forgetRows();
    d->shownRecords.clear();
}

// ---------------------------------------------------------------------------------------------------------------------
// Fields

int DataSet::fieldCount() const
{
    return static_cast<int>(d->store->fields().size());
}
const FieldInfo &DataSet::fieldInfo(int index) const
{
    return d->store->fields().at(index);
}

int DataSet::fieldIndex(QStringView name) const
{
    const auto &fields = d->store->fields();
    for (int i = 0; i < fields.size(); ++i) {
        if (name.compare(fields[i].name, Qt::CaseInsensitive) == 0)
            return i;
    }
    return -1;
}

Field DataSet::field(QStringView name)
{
    const int index = fieldIndex(name);
    if (index < 0)
        throw EDatabaseError(QStringLiteral("La tabla no tiene el campo «%1»").arg(name),
                             dbase::ErrorKind::notFound);
    return field(index);
}

Field DataSet::field(int index)
{
    d->requireOpen();
    if (index < 0 || index >= fieldCount())
        throw EDatabaseError(QStringLiteral("La tabla no tiene el campo número %1").arg(index));
    return {*this, index};
}

bool DataSet::canKeep(QChar character) const
{
    return d->store->canKeep(character);
}

QVariant DataSet::currentValue(int field) const
{
    if (!isActive() || (d->number == 0 && d->state != State::insert))
        return {};
    return d->store->value(d->shown(), field);
}

void DataSet::setPendingValue(int field, const QVariant &value)
{
    if (!isEditing())
        throw EDatabaseError(QStringLiteral("La línea no se está modificando"));
    const Operation operation(*d);
    Record changed = d->pending;
    d->store->setValue(changed, field, value);
    // Whoever fills a new line means to keep it, even with a value that looks like a blank.
    if (d->state == State::insert)
        d->modified = true;
    if (changed == d->pending)
        return;
    d->pending = std::move(changed);
    if (d->state == State::edit)
        d->modified = d->pending != d->record;
    d->fieldsNoted.insert(field);
    d->recordsNoted.insert(d->number);
}

// ---------------------------------------------------------------------------------------------------------------------
// The current record

void DataSet::first()
{
    const Operation operation(*d);
    d->finishEditing();
    d->moveToEnd(false);
}

void DataSet::last()
{
    const Operation operation(*d);
    d->finishEditing();
    d->moveToEnd(true);
}

void DataSet::next()
{
    const Operation operation(*d);
    d->finishEditing();
    d->step(true);
}

void DataSet::prior()
{
    const Operation operation(*d);
    d->finishEditing();
    d->step(false);
}

bool DataSet::bof() const
{
    return d->bof;
}
bool DataSet::eof() const
{
    return d->eof;
}

bool DataSet::isEmpty() const
{
    if (!isActive())
        return true;
    return d->ranged ? d->rowSet().count() == 0 : !d->store->first();
}

Bookmark DataSet::bookmark() const
{
    return d->number;
}

bool DataSet::goToBookmark(Bookmark bookmark)
{
    const Operation operation(*d);
    // Asked first: what is posted on the way has the rows collected anew. What is being typed may itself lead
    // its line out of the range.
    const bool shown = d->isRow(bookmark) && !(isEditing() && bookmark == d->number);
    d->finishEditing();
    // Read once: between two looks others may move the line out of the range.
    if (bookmark == 0 || !d->store->read(bookmark, d->incoming))
        return false;
    if (shown && !d->isInRange(bookmark, d->incoming)) {
        d->newsPending = true; // others have written, whether or not the files have said so yet
        return false;
    }
    d->arriveAt(bookmark);
    d->bof = d->eof = false;
    return true;
}

void DataSet::goToSeen(const SeenRecord &line)
{
    const Operation operation(*d);
    d->finishEditing();
    d->goToSeen(line);
}

// ---------------------------------------------------------------------------------------------------------------------
// Rows

int DataSet::rowCount() const
{
    return d->rowSetOrLast().count();
}

int DataSet::currentRow() const
{
    return d->state == State::insert || d->number == 0 ? -1 : d->rowSetOrLast().rowOf(d->number);
}

void DataSet::setCurrentRow(int row)
{
    if (row < 0 || row >= rowCount())
        throw EDatabaseError(QStringLiteral("No hay una línea número %1").arg(row + 1));
    const Bookmark target = bookmarkAt(row);
    if (target != d->number || d->state == State::insert)
        goToBookmark(target);
}

Bookmark DataSet::bookmarkAt(int row) const
{
    const RowSet &rows = d->rowSetOrLast();
    return row < 0 || row >= rows.count() ? 0 : rows.at(row);
}

QList<Bookmark> DataSet::rows() const
{
    return d->rowSetOrLast().numbers();
}

int DataSet::rowOf(Bookmark bookmark) const
{
    return d->rowSetOrLast().rowOf(bookmark);
}

QVariant DataSet::valueAt(int row, int field) const
{
    const Bookmark number = bookmarkAt(row);
    if (number == 0 || field < 0 || field >= fieldCount())
        return {};
    if (number == d->number && d->state == State::edit)
        return d->store->value(d->pending, field);
    try {
        const Record *record = d->rowRecord(number);
        return record ? d->store->value(*record, field) : QVariant();
    } catch (const EDatabaseError &error) {
        // Asked while painting: a line that cannot be read now is shown blank, and read again later.
        qWarning("A row could not be read: %s", error.what());
        return {};
    }
}

QString DataSet::textAt(int row, int field) const
{
    const QVariant value = valueAt(row, field);
    return value.isValid() ? textOfValue(value, fieldInfo(field)) : QString();
}

SeenRecord DataSet::seen(Bookmark bookmark) const
{
    d->requireOpen();
    return bookmark == 0 ? SeenRecord() : d->seenOf(bookmark);
}

QVariant DataSet::valueOf(const SeenRecord &line, int field) const
{
    // A line that had gone when it was asked for has no contents.
    if (line.m_record == Record() || field < 0 || field >= fieldCount())
        return {};
    return d->store->value(line.m_record, field);
}

QString DataSet::textOf(const SeenRecord &line, int field) const
{
    const QVariant value = valueOf(line, field);
    return value.isValid() ? textOfValue(value, fieldInfo(field)) : QString();
}

} // namespace dataset
