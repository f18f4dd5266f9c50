// The indexes of a table: asking them, and making them right again.

#include "dbase/TableImpl.h"

#include <algorithm>
#include <cstring>

namespace dbase
{

namespace
{

constexpr std::size_t scanChunk = 1U << 20U;
/// Clocks of file systems tick in steps; a file that changed within this time may change again under the same
/// stamp.
constexpr auto stampTick = std::chrono::milliseconds(50);
/// Longest run of records that is read in one call when only some of it is wanted.
constexpr RecordNumber rowsPerRead = 512;

std::string_view asText(std::span<const std::uint8_t> bytes)
{
    return {reinterpret_cast<const char *>(bytes.data()),
            bytes.size()}; // bytes and chars alias by the standard
}

} // namespace

// ---------------------------------------------------------------------------------------------------------------------
// MdxIndex

MdxIndex::MdxIndex(TableImpl &table, std::size_t number, TagDefinition definition, TagRule rule)
    : m_table(table)
    , m_number(number)
    , m_definition(std::move(definition))
    , m_rule(std::move(rule))
{
}

const MdxTag &MdxIndex::tag() const
{
    return m_table.m_mdx->tags()[m_number];
}

bool MdxIndex::isThere() const
{
    if (!m_table.m_mdx || m_number >= m_table.m_mdx->tags().size())
        return false;
    return !m_retired || (tag().name == m_definition.name && tag().expression == m_definition.expression);
}

std::vector<std::uint8_t> MdxIndex::fileKey(std::span<const std::uint8_t> key) const
{
    if (tag().keyType == KeyType::character)
        return {key.begin(), key.end()};
    std::vector<std::uint8_t> whole(key.begin(), key.end());
    whole.resize(expression().keyLength(), 0);
    std::vector<std::uint8_t> out(static_cast<std::size_t>(tag().keyLength));
    mdxKeyFromIndexKey(tag().keyType, whole, out);
    return out;
}

IndexEntry MdxIndex::entryAt(const MdxCursor &cursor) const
{
    const std::span<const std::uint8_t> stored(cursor.key(), static_cast<std::size_t>(tag().keyLength));
    if (tag().keyType == KeyType::character)
        return {IndexKey(stored), cursor.record()};
    return {IndexKey(indexKeyFromMdxKey(tag().keyType, stored)), cursor.record()};
}

int MdxIndex::compareKey(const MdxCursor &cursor, std::span<const std::uint8_t> key) const
{
    return tag().compare(cursor.key(), key.data(), key.size());
}

Result<std::optional<IndexEntry>> MdxIndex::ask(const Move &move)
{
    const ReadLook look(m_table);
    if (!look.status().ok())
        return look.status();
    if (!isThere())
        return m_table.failure(ErrorKind::damaged,
                               "el índice ha cambiado; cierre la tabla y vuelva a abrirla");
    MdxCursor cursor(*m_table.m_mdx, tag());
    move(cursor);
    auto entry = cursor.valid() ? std::optional(entryAt(cursor)) : std::nullopt;
    if (const Status status = m_table.afterReading(cursor); !status.ok())
        return status;
    if (!entry)
        return entry;
    m_lastPlace = cursor.path();
    if (const Status status = m_table.knowOf(entry->record); !status.ok())
        return status;
    return entry;
}

Result<std::optional<IndexEntry>> MdxIndex::find(std::span<const std::uint8_t> prefix)
{
    auto found = atOrAfter(prefix);
    if (found.ok() && found.value()) {
        const auto bytes = found.value()->key.bytes();
        if (bytes.size() < prefix.size() || std::memcmp(bytes.data(), prefix.data(), prefix.size()) != 0)
            return std::optional<IndexEntry>();
    }
    return found;
}

Result<std::optional<IndexEntry>> MdxIndex::atOrAfter(std::span<const std::uint8_t> key)
{
    if (key.empty())
        return first();
    return ask([&](MdxCursor &cursor) { cursor.seek(fileKey(key)); });
}

Result<std::optional<IndexEntry>> MdxIndex::first()
{
    return ask([](MdxCursor &cursor) { cursor.first(); });
}

Result<std::optional<IndexEntry>> MdxIndex::last()
{
    return ask([](MdxCursor &cursor) { cursor.last(); });
}

bool MdxIndex::goTo(MdxCursor &cursor, const IndexEntry &position) const
{
    const auto key = fileKey(position.key.bytes());
    const auto isEqual = [&] { return cursor.valid() && compareKey(cursor, key) == 0; };
    // Where the last question ended, if that has stayed: of equal keys there may be thousands.
    if (cursor.follow(m_lastPlace) && cursor.record() == position.record && isEqual())
        return true;
    for (cursor.seek(key); isEqual(); cursor.next()) {
        if (cursor.record() == position.record)
            return true;
    }
    for (cursor.seek(key); isEqual(); cursor.next()) {
        if (cursor.record() > position.record)
            break;
    }
    return false;
}

Result<std::optional<IndexEntry>> MdxIndex::next(const IndexEntry &position)
{
    return ask([&](MdxCursor &cursor) {
        if (goTo(cursor, position))
            cursor.next();
    });
}

Result<std::optional<IndexEntry>> MdxIndex::prior(const IndexEntry &position)
{
    return ask([&](MdxCursor &cursor) {
        goTo(cursor, position);
        if (cursor.valid())
            cursor.prior();
        else if (!cursor.damaged())
            cursor.last();
    });
}

Status MdxIndex::collect(std::span<const std::uint8_t> low, std::span<const std::uint8_t> high,
                         std::vector<RecordNumber> &out)
{
    const ReadLook look(m_table);
    return look.status().ok() ? collectLocked(low, high, out) : look.status();
}

Status MdxIndex::collectLocked(std::span<const std::uint8_t> low, std::span<const std::uint8_t> high,
                               std::vector<RecordNumber> &out) const
{
    if (!isThere())
        return m_table.failure(ErrorKind::damaged,
                               "el índice ha cambiado; cierre la tabla y vuelva a abrirla");
    const std::vector<std::uint8_t> end = high.empty() ? std::vector<std::uint8_t>() : fileKey(high);
    MdxCursor cursor(*m_table.m_mdx, tag());
    if (low.empty())
        cursor.first();
    else
        cursor.seek(fileKey(low));
    // A tree has no more entries than fit into its file; more than that is a loop of blocks.
    const std::size_t most = out.size() + m_table.m_mdx->mostEntries();
    for (; cursor.valid() && (end.empty() || compareKey(cursor, end) <= 0); cursor.next()) {
        out.push_back(cursor.record());
        if (out.size() > most)
            return m_table.failure(ErrorKind::damaged, "el índice da vueltas");
    }
    return m_table.afterReading(cursor);
}

/// Whether what a cursor has read may be believed; if not, the next look puts the index in order.
Status TableImpl::afterReading(const MdxCursor &cursor)
{
    if (m_mdx->shortened()) {
        m_indexSuspect = true;
        return failure(ErrorKind::damaged, "otro programa ha acortado el índice mientras se leía");
    }
    if (!cursor.damaged())
        return {};
    m_indexSuspect = true;
    const Status status = cursor.status();
    return {status.kind(), status.text(), name, status.offset()};
}

// ---------------------------------------------------------------------------------------------------------------------
// Reading lines

Status TableImpl::readRecord(RecordNumber number, std::span<std::uint8_t> record) const
{
    if (m_group && number <= m_group->recordCount && record.size() == header.recordLength) {
        const auto last =
            std::find_if(m_group->changes.rbegin(), m_group->changes.rend(),
                         [number](const RecordChange &change) { return change.number == number; });
        if (last != m_group->changes.rend()) {
            std::copy(last->after.begin(), last->after.end(), record.begin());
            return {};
        }
    }
    if (number < 1 || number > header.recordCount || record.size() != header.recordLength)
        return failure(ErrorKind::invalidArgument, "la tabla no tiene la línea " + std::to_string(number));
    const auto got = m_dbf.readAt(recordOffset(number), record);
    if (!got.ok())
        return got.status();
    if (got.value() != record.size())
        return failure(ErrorKind::damaged, "el fichero acaba dentro de la línea " + std::to_string(number));
    if (m_held == Held::changing) {
        m_lastRead = number;
        m_lastBytes.assign(record.begin(), record.end());
    }
    return {};
}

Status TableImpl::scan(RecordNumber from,
                       const std::function<void(RecordNumber, std::span<const std::uint8_t>)> &visit,
                       RecordNumber upTo) const
{
    const RecordNumber last = upTo == 0 ? header.recordCount : std::min(upTo, header.recordCount);
    const std::size_t perChunk = std::max<std::size_t>(1, scanChunk / header.recordLength);
    std::vector<std::uint8_t> buffer(std::min<std::size_t>(perChunk, last) * header.recordLength);
    for (RecordNumber first = from; first <= last;) {
        const auto count = static_cast<RecordNumber>(std::min<std::size_t>(perChunk, last - first + 1));
        const auto chunk = std::span(buffer).first(count * header.recordLength);
        const auto got = m_dbf.readAt(recordOffset(first), chunk);
        if (!got.ok())
            return got.status();
        if (got.value() != chunk.size())
            return failure(ErrorKind::damaged, "el fichero se ha acortado mientras se leía");
        for (RecordNumber i = 0; i < count; ++i)
            visit(first + i, chunk.subspan(i * header.recordLength, header.recordLength));
        first += count;
    }
    return {};
}

/// Takes in that the table has grown, when an index names a line beyond the last one known.
Status TableImpl::knowOf(RecordNumber number)
{
    if (number >= 1 && number <= header.recordCount)
        return {};
    const auto count = announcedCount();
    if (!count.ok())
        return count.status();
    const RecordNumber announced = count.value();
    if (number >= 1 && number <= announced) {
        header.recordCount = announced;
        return linesInFile().status();
    }
    m_indexSuspect = true; // the next look puts it in order
    return failure(ErrorKind::damaged, "el índice nombra una línea que no existe");
}

/// The live lines between two bounds, in order; the bytes of the first ones too when `rows` is given. All
/// under one index lock.
Status TableImpl::liveRows(Index *wanted, std::span<const std::uint8_t> low,
                           std::span<const std::uint8_t> high, std::vector<RecordNumber> &numbers,
                           std::vector<std::uint8_t> *rows, std::size_t mostRows)
{
    const ReadLook look(*this);
    if (!look.status().ok())
        return look.status();
    std::vector<RecordNumber> found;
    if (const auto *const filed = dynamic_cast<const MdxIndex *>(wanted)) {
        if (const Status status = filed->collectLocked(low, high, found); !status.ok())
            return status;
    } else if (wanted) {
        if (const Status status = wanted->collect(low, high, found); !status.ok())
            return status;
    } else {
        found.resize(header.recordCount);
        for (RecordNumber number = 1; number <= header.recordCount; ++number)
            found[number - 1] = number;
    }
    const std::size_t already = numbers.size();
    const std::size_t length = header.recordLength;
    std::vector<std::uint8_t> buffer;
    for (std::size_t at = 0; at < found.size();) {
        // Lines of one sheet mostly stand side by side in the file: a run of numbers is one read.
        std::size_t end = at + 1;
        while (end < found.size() && end - at < rowsPerRead && found[end] == found[end - 1] + 1)
            ++end;
        buffer.resize((end - at) * length);
        std::size_t read = 0;
        if (knowOf(found[at]).ok() && knowOf(found[end - 1]).ok()) {
            const auto got = m_dbf.readAt(recordOffset(found[at]), buffer);
            if (!got.ok())
                return got.status();
            read = got.value() / length;
        }
        if (read < end - at)
            m_indexSuspect = true; // keys of lines that are not there
        for (std::size_t i = 0; i < read; ++i) {
            const auto row = std::span(buffer).subspan(i * length, length);
            if (isDeleted(row) || row[0] == dbfEndMark)
                continue;
            numbers.push_back(found[at + i]);
            if (rows && numbers.size() - already <= mostRows)
                rows->insert(rows->end(), row.begin(), row.end());
        }
        at = end;
    }
    return {};
}

// ---------------------------------------------------------------------------------------------------------------------
// What others have written

void TableImpl::noteStamp()
{
    const auto stamp = m_dbf.stamp();
    m_stampDoubtful = true;
    if (!stamp.ok())
        return;
    m_stamp = stamp.value();
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const std::chrono::nanoseconds age = now - std::chrono::nanoseconds(m_stamp.modified);
    m_stampDoubtful = m_remote || age < stampTick;
}

Result<bool> TableImpl::refresh()
{
    if (!m_poison.ok())
        return m_poison;
    // A group that has changed nothing yet may still look; one that has goes by what it knows.
    if (m_held == Held::changing && !(m_group && m_group->changes.empty()))
        return false;
    const auto unfinished = lookAtJournal();
    if (!unfinished.ok())
        return unfinished.status();
    const auto stamp = m_dbf.stamp();
    if (!stamp.ok())
        return stamp.status();
    if (!unfinished.value() && m_state.applied == m_seenCommit && stamp.value() == m_stamp &&
        !m_stampDoubtful && !m_indexSuspect)
        return false;
    // The stamp first: what is written while we look must be looked at again.
    noteStamp();
    const ReadLook look(*this);
    if (!look.status().ok())
        return look.status();
    m_seenCommit = m_state.applied;
    const auto count = announcedCount();
    if (!count.ok())
        return count.status();
    header.recordCount = count.value();
    // Lines of a program that keeps no index, or keeps it without telling: to be looked into at the next
    // look.
    if (m_mdx && !readOnly && m_state.indexedRecords != header.recordCount)
        m_indexSuspect = true;
    ++version;
    return true;
}

// ---------------------------------------------------------------------------------------------------------------------
// Tags

std::vector<TagDefinition> TableImpl::tags() const
{
    std::vector<TagDefinition> out;
    for (const MemoryTag &tag : m_memoryTags)
        out.push_back(tag.index->definition());
    for (const auto &one : m_indexes)
        out.push_back(one->definition());
    return out;
}

Index *TableImpl::index(std::string_view tag)
{
    for (MemoryTag &memory : m_memoryTags) {
        if (!sameText(memory.index->definition().name, tag))
            continue;
        if (memory.version != version && !buildMemoryTag(memory).ok())
            return nullptr;
        return memory.index.get();
    }
    for (const auto &one : m_indexes) {
        if (sameText(one->definition().name, tag))
            return one.get();
    }
    return nullptr;
}

Status TableImpl::buildMemoryTag(MemoryTag &tag)
{
    const TagRule &rule = tag.index->rule();
    auto fresh = std::make_unique<MemoryIndex>(tag.index->definition(), rule);
    KeyHolders holders;
    const Status status = scan(1, [&](RecordNumber number, std::span<const std::uint8_t> record) {
        if (!rule.accepts(record))
            return;
        const IndexKey key = rule.expression.keyOf(record);
        if (rule.unique)
            holders.offer(asText(key.bytes()), {number, !isDeleted(record)});
        else
            fresh->addUnsorted(key, number);
    });
    if (!status.ok())
        return status;
    for (const auto &[key, holder] : holders.all())
        fresh->addUnsorted(
            IndexKey(std::span(reinterpret_cast<const std::uint8_t *>(key.data()), key.size())),
            holder.record);
    fresh->finish();
    *tag.index = std::move(*fresh); // in place: callers hold pointers to it
    tag.version = version;
    return {};
}

Status TableImpl::addMemoryTag(const TagDefinition &tag)
{
    auto rule = TagRule::of(tag, header.fields, header.codePage);
    if (!rule.ok())
        return failure(rule.status().kind(), rule.status().text());
    MemoryTag memory{std::make_unique<MemoryIndex>(tag, std::move(rule).value()), 0};
    const Status status = buildMemoryTag(memory);
    if (status.ok())
        m_memoryTags.insert(m_memoryTags.begin(), std::move(memory)); // before one of the same name
    return status;
}

Status TableImpl::addTag(const TagDefinition &tag)
{
    return index(tag.name) ? Status() : addMemoryTag(tag);
}

// ---------------------------------------------------------------------------------------------------------------------
// Making the index right

std::vector<std::uint8_t> TableImpl::fileKeyOf(std::size_t number, std::span<const std::uint8_t> record) const
{
    const MdxTag &tag = m_mdx->tags()[number];
    std::vector<std::uint8_t> out(static_cast<std::size_t>(tag.keyLength));
    mdxKeyFromIndexKey(tag.keyType, m_indexes[number]->expression().keyOf(record).bytes(), out);
    return out;
}

Result<std::vector<TagKeys>> TableImpl::keysOf(std::span<const MdxTag> tags,
                                               std::span<const TagRule> rules) const
{
    std::vector<TagKeys> all(tags.size());
    std::vector<KeyHolders> holders(tags.size());
    for (std::size_t number = 0; number < tags.size(); ++number)
        all[number].keys.resize(std::size_t{header.recordCount} *
                                static_cast<std::size_t>(tags[number].keyLength));
    const Status status = scan(1, [&](RecordNumber record, std::span<const std::uint8_t> bytes) {
        for (std::size_t number = 0; number < tags.size(); ++number) {
            const TagRule &rule = rules[number];
            if (!rule.accepts(bytes)) {
                all[number].leaveOut(record, header.recordCount);
                continue;
            }
            const auto length = static_cast<std::size_t>(tags[number].keyLength);
            const auto key = std::span(all[number].keys).subspan((record - 1) * length, length);
            mdxKeyFromIndexKey(tags[number].keyType, rule.expression.keyOf(bytes).bytes(), key);
            if (rule.unique)
                holders[number].offer(asText(key), {record, !isDeleted(bytes)});
        }
    });
    if (!status.ok())
        return status;
    for (std::size_t number = 0; number < tags.size(); ++number) {
        const auto length = static_cast<std::size_t>(tags[number].keyLength);
        for (RecordNumber record = 1; rules[number].unique && record <= header.recordCount; ++record) {
            const auto key = std::span(all[number].keys).subspan((record - 1) * length, length);
            if (!holders[number].holds(asText(key), record))
                all[number].leaveOut(record, header.recordCount);
        }
    }
    return all;
}

std::vector<TagRule> TableImpl::rules() const
{
    std::vector<TagRule> all;
    for (const auto &one : m_indexes)
        all.push_back(one->rule());
    return all;
}

Result<std::vector<TagKeys>> TableImpl::keysOfAll() const
{
    return keysOf(m_mdx->tags(), rules());
}

bool TableImpl::indexIsRight(std::span<const TagKeys> keys) const
{
    BlockUse use;
    for (std::size_t number = 0; number < m_indexes.size(); ++number) {
        if (!holdsExactly(*m_mdx, m_mdx->tags()[number], keys[number], use))
            return false;
    }
    return m_mdx->freeListIsApart(use) && !m_mdx->shortened();
}

Status TableImpl::repairIndex()
{
    if (!m_mdx)
        return m_indexSuspect ? makeIndexAnew() : Status(); // there is an index file that cannot be read
    const auto same = m_mdx->look();
    if (!same.ok())
        return same.status();
    auto keys = keysOfAll();
    if (!keys.ok())
        return keys.status();
    if (!same.value() || m_mdx->languageDriver() != header.languageDriver || !indexIsRight(keys.value())) {
        if (const Status status = rewriteIndex(m_mdx->tags(), rules()); !status.ok())
            return status;
    }
    m_indexSuspect = false;
    m_state.indexedRecords = indexedRecords();
    return {};
}

Status TableImpl::rewriteIndex(std::vector<MdxTag> tags, const std::vector<TagRule> &rules)
{
    auto made = keysOf(tags, rules);
    if (!made.ok())
        return made.status();
    std::vector<TagKeys> &keys = made.value();
    std::vector<std::uint8_t> single;
    for (std::size_t number = 0; number < tags.size(); ++number) {
        orderKeys(tags[number], header.recordCount, keys[number]);
        const std::vector<int> &used = rules[number].expression.fieldsUsed();
        single.push_back(used.size() == 1 && sameText(header.fields[static_cast<std::size_t>(used[0])].name,
                                                      rules[number].expression.text())
                             ? 1
                             : 0);
    }
    MdxHeader head;
    const std::string stem = displayName(path.stem());
    head.tableName = stem;
    std::transform(head.tableName.begin(), head.tableName.end(), head.tableName.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    head.created = today();
    head.updated = head.created;
    head.languageDriver = header.languageDriver;
    if (const Status status = m_mdx->rewrite(head, tags, keys, single); !status.ok()) {
        m_indexSuspect = true; // it may be half written; the rules of the tags stay known for the next time
        return status;
    }
    m_state.indexedRecords = indexedRecords();
    return readTags();
}

Status TableImpl::check()
{
    const ReadLook look(*this);
    if (!look.status().ok())
        return look.status();
    if (!m_mdx)
        return m_indexUnused
                   ? failure(ErrorKind::unsupported, "el índice no se ha podido comprobar: " + readOnlyReason)
                   : Status();
    // Lines that others have added since the last refresh() are in the index already.
    const auto count = announcedCount();
    if (!count.ok())
        return count.status();
    if (const Status status = count.value() > 0 ? knowOf(count.value()) : Status(); !status.ok())
        return status;
    auto keys = keysOfAll();
    if (!keys.ok())
        return keys.status();
    for (std::size_t number = 0; number < m_indexes.size(); ++number) {
        BlockUse use;
        if (!holdsExactly(*m_mdx, m_mdx->tags()[number], keys.value()[number], use))
            return failure(ErrorKind::damaged, "el orden «" + m_mdx->tags()[number].name +
                                                   "» no coincide con las líneas de la tabla");
    }
    if (!indexIsRight(keys.value()))
        return failure(ErrorKind::damaged, "el índice usa un bloque para dos cosas");
    return {};
}

Status TableImpl::reindex()
{
    if (const Status status = beginChange(); !status.ok())
        return status;
    Status status;
    if (m_mdx) {
        status = rewriteIndex(m_mdx->tags(), rules());
    }
    if (status.ok())
        status = checkpoint(false);
    ++version;
    endChange();
    return status;
}

} // namespace dbase
