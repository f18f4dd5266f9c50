#include "dataset/MemStore.h"

#include "dataset/DatabaseError.h"
#include "dataset/FieldText.h"

#include <bit>

namespace dataset
{

namespace
{

constexpr std::uint64_t signBit = 0x8000000000000000U;

void appendBigEndian(std::string &key, std::uint64_t number)
{
    for (int shift = 56; shift >= 0; shift -= 8)
        key.push_back(static_cast<char>((number >> shift) & 0xFFU));
}

/// Bytes of fixed length for a value, in the order of the values; null before all others.
void appendKeyPart(std::string &key, const QVariant &value, const FieldInfo &field)
{
    switch (field.kind) {
    case FieldKind::text: {
        // Without a width the terminator keeps a text before its own continuations.
        const QString text = value.toString();
        const QString padded = field.width > 0 ? text.leftJustified(field.width, u' ', true) : text + QChar();
        for (const QChar character : padded) {
            key.push_back(static_cast<char>(character.row()));
            key.push_back(static_cast<char>(character.cell()));
        }
        return;
    }
    case FieldKind::date:
        appendBigEndian(key, value.isValid() ? static_cast<std::uint64_t>(value.toDate().toJulianDay()) : 0);
        return;
    case FieldKind::number:
    case FieldKind::integer: {
        // A negative double's bits run backwards.
        const auto bits = std::bit_cast<std::uint64_t>(value.toDouble());
        appendBigEndian(key, !value.isValid() ? 0 : (bits & signBit) != 0 ? ~bits : bits | signBit);
        return;
    }
    case FieldKind::logical:
        key.push_back(value.isValid() ? static_cast<char>(value.toBool() ? 2 : 1) : '\0');
        return;
    }
}

} // namespace

void MemStore::create(const QList<FieldInfo> &fields)
{
    QList<FieldInfo> made;
    for (const FieldInfo &field : fields) {
        for (const FieldInfo &other : made) {
            if (other.name.compare(field.name, Qt::CaseInsensitive) == 0)
                throw EDatabaseError(QStringLiteral("El campo «%1» está repetido").arg(field.name));
        }
        made.append(field);
        made.back().name = field.name.toUpper();
    }
    clear();
    m_order.clear();
    m_fields = made;
}

void MemStore::clear()
{
    m_records.clear();
    m_entries.clear();
}

void MemStore::open()
{
    if (m_fields.isEmpty())
        throw EDatabaseError(QStringLiteral("La tabla en memoria no tiene campos"));
}

Record MemStore::blank() const
{
    return {{}, QVariantList(m_fields.size())};
}

void MemStore::setValue(Record &record, int field, const QVariant &value) const
{
    QVariant kept = value;
    if (m_fields[field].kind == FieldKind::text && value.isValid()) {
        // As in a file: blanks at the end do not count, and blank is null.
        QString text = value.toString().normalized(QString::NormalizationForm_C);
        if (m_fields[field].width > 0)
            text.truncate(m_fields[field].width);
        while (text.endsWith(u' '))
            text.chop(1);
        kept = text.isEmpty() ? QVariant() : QVariant(text);
    }
    record.values[field] = kept;
}

bool MemStore::read(Bookmark number, Record &record) const
{
    const auto found = m_records.find(number);
    if (found == m_records.end())
        return false;
    record = found->second;
    return true;
}

Bookmark MemStore::append(const Record &record)
{
    m_records.emplace(++m_lastNumber, record);
    m_entries.emplace(placeOf(m_lastNumber, record).key, m_lastNumber);
    return m_lastNumber;
}

void MemStore::update(Bookmark number, const Record &before, const Record &after)
{
    m_entries.erase({placeOf(number, before).key, number});
    m_entries.emplace(placeOf(number, after).key, number);
    m_records[number] = after;
}

void MemStore::erase(Bookmark number, const Record & /*before*/)
{
    const auto found = m_records.find(number);
    if (found == m_records.end())
        throw EDatabaseError(QStringLiteral("La línea ya no está"), dbase::ErrorKind::conflict);
    m_entries.erase({placeOf(number, found->second).key, number});
    m_records.erase(found);
}

int MemStore::fieldIndex(const QString &name) const
{
    for (int i = 0; i < m_fields.size(); ++i) {
        if (m_fields[i].name.compare(name.trimmed(), Qt::CaseInsensitive) == 0)
            return i;
    }
    throw EDatabaseError(QStringLiteral("La tabla en memoria no tiene el campo «%1»").arg(name.trimmed()),
                         dbase::ErrorKind::notFound);
}

bool MemStore::setOrder(const QString &names)
{
    std::vector<int> order;
    for (const QString &name : names.split(u';', Qt::SkipEmptyParts))
        order.push_back(fieldIndex(name));
    if (order == m_order)
        return false;
    m_order = std::move(order);
    m_entries.clear();
    for (const auto &[number, record] : m_records)
        m_entries.emplace(placeOf(number, record).key, number);
    return true;
}

Place MemStore::placeOf(Bookmark number, const Record &record) const
{
    Place place{{}, number};
    for (const int field : m_order)
        appendKeyPart(place.key, record.values[field], m_fields[field]);
    return place;
}

KeyBounds MemStore::boundsOf(const Key &key) const
{
    KeyBounds bounds;
    QMap<int, QVariant> wanted;
    for (const KeyPart &part : key) {
        const int field = fieldIndex(part.field);
        Record cut = blank();
        setValue(cut, field, valueForField(part.value, m_fields[field]));
        wanted.insert(field, cut.values[field]);
    }
    for (const int field : m_order) {
        if (!wanted.contains(field))
            break;
        appendKeyPart(bounds.prefix, wanted.take(field), m_fields[field]);
    }
    for (auto rest = wanted.cbegin(); rest != wanted.cend(); ++rest)
        bounds.theRest.append({m_fields[rest.key()].name, rest.value()});
    return bounds;
}

namespace
{

template <class Entries>
std::optional<Place> placeAt(const Entries &entries, typename Entries::const_iterator at)
{
    return at == entries.end() ? std::nullopt : std::optional(Place{at->first, at->second});
}

} // namespace

std::optional<Place> MemStore::first() const
{
    return placeAt(m_entries, m_entries.begin());
}

std::optional<Place> MemStore::last() const
{
    return m_entries.empty() ? std::nullopt : placeAt(m_entries, std::prev(m_entries.end()));
}

std::optional<Place> MemStore::next(const Place &place) const
{
    return placeAt(m_entries, m_entries.upper_bound({place.key, place.number}));
}

std::optional<Place> MemStore::prior(const Place &place) const
{
    const auto at = m_entries.lower_bound({place.key, place.number});
    return at == m_entries.begin() ? std::nullopt : placeAt(m_entries, std::prev(at));
}

std::optional<Place> MemStore::atOrAfter(const std::string &prefix) const
{
    return placeAt(m_entries, m_entries.lower_bound({prefix, 0}));
}

std::vector<Bookmark> MemStore::collect(const std::string &low, const std::string &high) const
{
    std::vector<Bookmark> numbers;
    for (auto at = m_entries.lower_bound({low, 0}); at != m_entries.end(); ++at) {
        if (at->first.compare(0, high.size(), high) > 0)
            break;
        numbers.push_back(at->second);
    }
    return numbers;
}

} // namespace dataset
