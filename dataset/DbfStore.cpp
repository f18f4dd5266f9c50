#include "dataset/DbfStore.h"

#include "dataset/DatabaseError.h"
#include "dataset/FieldText.h"

#include <QtCore/QFile>

#include <algorithm>

namespace dataset
{

namespace
{

void require(const dbase::Status &status)
{
    if (!status.ok())
        throw EDatabaseError(status);
}

template <class T> T require(dbase::Result<T> result)
{
    require(result.status());
    return std::move(result).value();
}

// A day of many short slots, and some more; 100 kB of an agenda's lines.
constexpr std::size_t mostRowsAhead = 256;

FieldKind kindOf(const dbase::FieldDefinition &field)
{
    switch (field.type) {
    case dbase::FieldType::date:
        return FieldKind::date;
    case dbase::FieldType::logical:
        return FieldKind::logical;
    case dbase::FieldType::numeric:
        return field.decimals == 0 ? FieldKind::integer : FieldKind::number;
    case dbase::FieldType::floating:
        return FieldKind::number;
    case dbase::FieldType::character:
        break;
    }
    return FieldKind::text;
}

std::span<const std::uint8_t> asBytes(const std::string &text)
{
    return {reinterpret_cast<const std::uint8_t *>(text.data()), text.size()};
}

std::string asText(std::span<const std::uint8_t> bytes)
{
    return {bytes.begin(), bytes.end()};
}

Place placeOfEntry(const dbase::IndexEntry &entry)
{
    return {asText(entry.key.bytes()), entry.record};
}

dbase::IndexEntry entryOfPlace(const Place &place)
{
    return {dbase::IndexKey(asBytes(place.key)), place.number};
}

/// The part of an index expression that orders by one field.
std::string keyPartOf(const dbase::FieldDefinition &field, bool alone)
{
    const bool numeric = field.type == dbase::FieldType::numeric || field.type == dbase::FieldType::floating;
    if (alone || (!numeric && field.type != dbase::FieldType::date))
        return field.name;
    std::string part(numeric ? "STR(" : "DTOS(");
    part.append(field.name);
    if (numeric)
        part.append(",")
            .append(std::to_string(field.width))
            .append(",")
            .append(std::to_string(field.decimals));
    return part.append(")");
}

} // namespace

// ---------------------------------------------------------------------------------------------------------------------
// Life

void DbfStore::open()
{
    const QString folder = m_aliases.folderOf(databaseName);
    const std::filesystem::path path(folder.toStdU16String());
    const auto file = require(dbase::findTable(path, tableName.toStdString()));
    dbase::OpenOptions options;
    options.readOnly = openReadOnly;
    options.durable = durable;
    options.lockTimeout = lockPatience.value_or(m_aliases.lockPatience());
    options.onWait = m_aliases.lockWait();
    options.tags = tags;
    m_table = require(dbase::Table::open(file, options));
    m_seenVersion = m_table->version();
    m_buffer.resize(m_table->recordLength());
    m_fields.clear();
    for (const dbase::FieldDefinition &field : m_table->fields())
        m_fields.append({QString::fromStdString(field.name), kindOf(field),
                         field.type == dbase::FieldType::date ? 0 : field.width, field.decimals});
}

DbfStore::~DbfStore()
{
    try {
        DbfStore::close();
    } catch (const std::exception &error) {
        qWarning("A table could not be closed cleanly: %s", error.what());
    }
}

void DbfStore::close()
{
    if (const QString untold = DbfStore::takeNotice(); !untold.isEmpty())
        qWarning("%s", qUtf8Printable(untold)); // nobody has asked for it in time
    m_lock.release();
    m_index = nullptr;
    m_ahead = {};
    if (m_table)
        require(dbase::Table::close(std::move(m_table)));
}

QString DbfStore::takeNotice()
{
    const std::string text = m_table ? m_table->takeNotice() : std::string();
    return text.empty()
               ? QString()
               : QStringLiteral("%1 (%2): %3").arg(tableName, databaseName, QString::fromStdString(text));
}

bool DbfStore::isReadOnly() const
{
    return m_table && m_table->isReadOnly();
}

// ---------------------------------------------------------------------------------------------------------------------
// Records

const dbase::FieldDefinition &DbfStore::definition(int field) const
{
    return m_table->fields()[static_cast<std::size_t>(field)];
}

Record DbfStore::blank() const
{
    return {dbase::blankRecord(m_table->recordLength()), {}};
}

QVariant DbfStore::value(const Record &record, int field) const
{
    const dbase::FieldDefinition &where = definition(field);
    switch (m_fields[field].kind) {
    case FieldKind::text: {
        const std::u16string text = dbase::readText(record.bytes, where, m_table->codePage());
        return text.empty() ? QVariant() : QVariant(QString::fromStdU16String(text));
    }
    case FieldKind::date: {
        const auto date = dbase::readDate(record.bytes, where);
        return date ? QVariant(QDate(date->year, date->month, date->day)) : QVariant();
    }
    case FieldKind::number:
    case FieldKind::integer: {
        const auto number = dbase::readNumber(record.bytes, where);
        if (!number)
            return {};
        return m_fields[field].kind == FieldKind::number
                   ? QVariant(*number)
                   : QVariant::fromValue(static_cast<qlonglong>(*number));
    }
    case FieldKind::logical: {
        const auto truth = dbase::readLogical(record.bytes, where);
        return truth ? QVariant(*truth) : QVariant();
    }
    }
    return {};
}

void DbfStore::setValue(Record &record, int field, const QVariant &value) const
{
    const dbase::FieldDefinition &where = definition(field);
    if (!value.isValid()) {
        dbase::writeBlank(record.bytes, where);
        return;
    }
    switch (m_fields[field].kind) {
    case FieldKind::text:
        // Composed characters: the code pages have no combining marks.
        dbase::writeText(record.bytes, where, m_table->codePage(),
                         value.toString().normalized(QString::NormalizationForm_C).toStdU16String());
        return;
    case FieldKind::date: {
        const QDate date = value.toDate();
        require(dbase::writeDate(record.bytes, where, {date.year(), date.month(), date.day()}));
        return;
    }
    case FieldKind::number:
    case FieldKind::integer:
        require(dbase::writeNumber(record.bytes, where, value.toDouble()));
        return;
    case FieldKind::logical:
        dbase::writeLogical(record.bytes, where, value.toBool());
        return;
    }
}

bool DbfStore::canKeep(QChar character) const
{
    return !m_table || dbase::canEncode(m_table->codePage(), character.unicode());
}

bool DbfStore::read(Bookmark number, Record &record) const
{
    if (number < 1 || number > m_table->recordCount())
        return false;
    record.bytes.resize(m_table->recordLength());
    require(m_table->read(number, record.bytes));
    // A row that has been seen as it is now is not shown again as it was.
    if (const auto row = ahead(number); !row.empty())
        std::ranges::copy(record.bytes, row.begin());
    return !dbase::isDeleted(record.bytes);
}

std::span<std::uint8_t> DbfStore::ahead(Bookmark number) const
{
    if (m_ahead.version != m_table->version())
        return {};
    // Rows are mostly asked for one after the other.
    const auto begin = m_ahead.numbers.begin();
    const auto last = begin + static_cast<std::ptrdiff_t>(m_ahead.last);
    auto found = std::find(last, m_ahead.numbers.end(), number);
    if (found == m_ahead.numbers.end()) {
        found = std::find(begin, last, number);
        if (found == last)
            return {};
    }
    m_ahead.last = static_cast<std::size_t>(found - begin);
    const std::size_t length = m_table->recordLength();
    return std::span(m_ahead.bytes).subspan(m_ahead.last * length, length);
}

bool DbfStore::readRow(Bookmark number, Record &record) const
{
    const auto row = ahead(number);
    if (row.empty())
        return read(number, record);
    record.bytes.assign(row.begin(), row.end());
    return !dbase::isDeleted(record.bytes);
}

void DbfStore::lock(Bookmark number)
{
    m_lock = require(m_table->lockRecord(number));
}
void DbfStore::unlock() noexcept
{
    m_lock.release();
}

template <class Change> auto DbfStore::change(Change &&work)
{
    const std::uint64_t before = m_table->version();
    auto result = work();
    if (m_seenVersion == before && m_table->version() == before + 1)
        m_seenVersion = before + 1;
    return result;
}

Bookmark DbfStore::append(const Record &record)
{
    return require(change([&] { return m_table->append(record.bytes); }));
}

void DbfStore::update(Bookmark number, const Record &before, const Record &after)
{
    require(change([&] { return m_table->update(number, before.bytes, after.bytes); }));
}

void DbfStore::erase(Bookmark number, const Record &before)
{
    require(change([&] { return m_table->erase(number, before.bytes); }));
}

void DbfStore::beginGroup()
{
    require(m_table->beginGroup());
}

void DbfStore::commitGroup()
{
    require(change([&] { return m_table->commitGroup(); }));
}

void DbfStore::dropGroup() noexcept
{
    m_table->dropGroup();
}

bool DbfStore::refresh()
{
    require(m_table->refresh().status());
    return std::exchange(m_seenVersion, m_table->version()) != m_table->version();
}

// ---------------------------------------------------------------------------------------------------------------------
// Order

dbase::Index *DbfStore::requireIndex(const std::string &tag) const
{
    if (dbase::Index *const index = m_table->index(tag))
        return index;
    // One that is kept in memory alone is made anew after each change, and the lines may not be had just now.
    throw EDatabaseError(QStringLiteral("No se puede leer ahora el índice «%1» de la tabla «%2»")
                             .arg(QString::fromStdString(tag), tableName),
                         dbase::ErrorKind::inputOutput);
}

dbase::Index *DbfStore::indexLeadingWith(const std::vector<int> &fieldIndexes) const
{
    for (const dbase::TagDefinition &tag : m_table->tags()) {
        if (tag.descending || tag.unique || !tag.filter.empty())
            continue; // not that order, or not all lines
        dbase::Index *index = requireIndex(tag.name);
        const std::vector<int> &used = index->expression().fieldsUsed();
        // Every further field must add to what the key says, or the order is not the one asked for.
        std::size_t said = 0;
        bool good = used.size() >= fieldIndexes.size();
        for (std::size_t i = 0; good && i < fieldIndexes.size(); ++i) {
            const std::size_t more = index->expression().leadingLength(std::span(fieldIndexes).first(i + 1));
            good = used[i] == fieldIndexes[i] && more > said;
            said = more;
        }
        if (good)
            return index;
    }
    return nullptr;
}

dbase::Index *DbfStore::indexFor(const QString &names)
{
    if (dbase::Index *index = m_table->index(names.toStdString()))
        return index;
    std::vector<int> wanted;
    std::string expression;
    const QStringList parts = names.split(u';', Qt::SkipEmptyParts);
    for (const QString &part : parts) {
        const int field = m_table->fieldIndex(part.trimmed().toStdString());
        if (field < 0)
            throw EDatabaseError(QStringLiteral("La tabla «%1» no tiene el índice ni el campo «%2»")
                                     .arg(tableName, part.trimmed()),
                                 dbase::ErrorKind::notFound);
        wanted.push_back(field);
        if (!expression.empty())
            expression.append("+");
        expression.append(keyPartOf(definition(field), parts.size() == 1));
    }
    if (dbase::Index *index = indexLeadingWith(wanted))
        return index;
    const std::string name = "ORDEN" + std::to_string(m_table->tags().size() + 1);
    require(m_table->addTag({name, expression}));
    return requireIndex(name);
}

bool DbfStore::setOrder(const QString &names)
{
    dbase::Index *wanted = names.trimmed().isEmpty() ? nullptr : indexFor(names.trimmed());
    return std::exchange(m_index, wanted) != wanted;
}

bool DbfStore::descends() const
{
    return m_index && m_index->definition().descending;
}

Place DbfStore::placeOf(Bookmark number, const Record &record) const
{
    return {m_index ? asText(m_index->expression().keyOf(record.bytes).bytes()) : std::string(), number};
}

KeyBounds DbfStore::boundsOf(const Key &key) const
{
    Record pattern = blank();
    std::vector<int> fields;
    QVariantList values;
    for (const KeyPart &part : key) {
        const int field = m_table->fieldIndex(part.field.toStdString());
        if (field < 0)
            throw EDatabaseError(
                QStringLiteral("La tabla «%1» no tiene el campo «%2»").arg(tableName, part.field),
                dbase::ErrorKind::notFound);
        fields.push_back(field);
        values.append(valueForField(part.value, m_fields[field]));
        setValue(pattern, field, values.back());
    }
    KeyBounds bounds;
    const std::size_t length = m_index ? m_index->expression().leadingLength(fields) : 0;
    if (length > 0)
        bounds.prefix = asText(m_index->expression().keyOf(pattern.bytes).bytes().first(length));
    for (std::size_t i = 0; i < fields.size(); ++i) {
        // A part is covered when the prefix is shorter without it.
        const int field = std::exchange(fields[i], -1);
        const bool covered = length > 0 && m_index->expression().leadingLength(fields) < length;
        fields[i] = field;
        const auto part = static_cast<qsizetype>(i);
        if (!covered)
            bounds.theRest.append({key[part].field, values[part]});
    }
    return bounds;
}

bool DbfStore::isLive(Bookmark number) const
{
    require(m_table->read(number, m_buffer));
    return !dbase::isDeleted(m_buffer);
}

std::optional<Place> DbfStore::liveFrom(dbase::Result<std::optional<dbase::IndexEntry>> entry,
                                        bool forward) const
{
    for (;;) {
        const auto found = require(std::move(entry));
        if (!found)
            return {};
        if (isLive(found->record))
            return placeOfEntry(*found);
        entry = forward ? m_index->next(*found) : m_index->prior(*found);
    }
}

std::optional<Place> DbfStore::liveFromNumber(Bookmark number, bool forward) const
{
    for (; number >= 1 && number <= m_table->recordCount(); number += forward ? 1U : -1U) {
        if (isLive(number))
            return Place{{}, number};
    }
    return {};
}

std::optional<Place> DbfStore::first() const
{
    return m_index ? liveFrom(m_index->first(), true) : liveFromNumber(1, true);
}

std::optional<Place> DbfStore::last() const
{
    return m_index ? liveFrom(m_index->last(), false) : liveFromNumber(m_table->recordCount(), false);
}

std::optional<Place> DbfStore::next(const Place &place) const
{
    return m_index ? liveFrom(m_index->next(entryOfPlace(place)), true)
                   : liveFromNumber(place.number + 1, true);
}

std::optional<Place> DbfStore::prior(const Place &place) const
{
    return m_index ? liveFrom(m_index->prior(entryOfPlace(place)), false)
                   : liveFromNumber(place.number - 1, false);
}

std::optional<Place> DbfStore::atOrAfter(const std::string &prefix) const
{
    return m_index ? liveFrom(m_index->atOrAfter(asBytes(prefix)), true) : first();
}

std::vector<Bookmark> DbfStore::collect(const std::string &low, const std::string &high) const
{
    std::vector<Bookmark> numbers;
    m_ahead = {};
    std::vector<std::uint8_t> bytes;
    require(m_table->liveRows(m_index, asBytes(low), asBytes(high), numbers, bytes, mostRowsAhead));
    m_ahead.numbers.assign(numbers.begin(),
                           numbers.begin() +
                               std::ssize(bytes) / static_cast<std::ptrdiff_t>(m_table->recordLength()));
    m_ahead.bytes = std::move(bytes);
    m_ahead.version = m_table->version();
    return numbers;
}

} // namespace dataset
