// Asking a tag of the index file.

#include "dbase/TableImpl.h"

#include <algorithm>
#include <cstring>

namespace dbase
{

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
    if (tag().keyType == KeyType::character) {
        const auto most = static_cast<std::size_t>(tag().keyLength); // behind it other items follow
        const auto known = key.first(std::min(key.size(), most));
        return {known.begin(), known.end()};
    }
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
    if (m_table.isAsKept() && isThere()) {
        const OnlyKeptBlocks only(*m_table.m_mdx);
        MdxCursor cursor(*m_table.m_mdx, tag());
        move(cursor);
        const bool isWhole = !cursor.damaged() && !m_table.m_mdx->missedOne();
        if (isWhole && !cursor.valid())
            return std::optional<IndexEntry>();
        if (isWhole && cursor.record() <= m_table.header.recordCount) {
            m_lastPlace = cursor.path();
            return std::optional(entryAt(cursor));
        }
    }
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
    if (m_mdx->missedOne())
        return failure(ErrorKind::notFound, "no se guarda todo el índice");
    m_indexSuspect = true;
    const Status status = cursor.status();
    return {status.kind(), status.text(), name, status.offset()};
}

} // namespace dbase
