// The tags of a table, and making its index right again.

#include "dbase/TableImpl.h"

#include <algorithm>

namespace dbase
{

namespace
{

std::string_view asText(std::span<const std::uint8_t> bytes)
{
    return {reinterpret_cast<const char *>(bytes.data()),
            bytes.size()}; // bytes and chars alias by the standard
}

} // namespace

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
    if (const Status status = takeIndexLock(); !status.ok())
        return status;
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
    if (m_state.indexedRecords == indexedRecords())
        return {};
    if (const Status status = mayWriteOn(); !status.ok())
        return status;
    JournalHeader state = m_state;
    state.indexedRecords = indexedRecords();
    return writeState(state);
}

/// Before the index is written anew in its place: whoever finds it half done, after a kill or a power cut, is
/// not to believe in it.
Status TableImpl::sayIndexIsUnderWay()
{
    JournalHeader state = m_state;
    state.closedInOrder = false;
    state.onDisk = false;
    state.indexedRecords = 0;
    if (state == m_state)
        return {};
    const Status status = writeState(state);
    return status.ok() ? syncJournal() : status;
}

Status TableImpl::rewriteIndex(std::vector<MdxTag> tags, const std::vector<TagRule> &rules)
{
    if (const Status status = takeIndexLock(); !status.ok())
        return status;
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
    if (const Status status = mayWriteOn(); !status.ok())
        return status;
    if (const Status status = sayIndexIsUnderWay(); !status.ok())
        return status;
    m_indexRewritten = true;
    if (const Status status = m_mdx->rewrite(head, tags, keys, single); !status.ok()) {
        m_indexSuspect = true; // it may be half written; the rules of the tags stay known for the next time
        return status;
    }
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
