#include "dataset/ShownRecords.h"

namespace dataset
{

namespace
{

// Enough for every line that a grid shows at a time, and small in memory.
constexpr qsizetype mostWhole = 1024;

/// Never 0. Only bytes count: rows in memory are changed by nobody but their own data set, which notes it.
std::uint32_t digestOf(const Record &record)
{
    return static_cast<std::uint32_t>(qHashBits(record.bytes.data(), record.bytes.size(), 1)) | 1U;
}

} // namespace

const Record *ShownRecords::find(Bookmark number) const
{
    const auto known = m_whole.constFind(number);
    return known == m_whole.constEnd() ? nullptr : &*known;
}

const Record &ShownRecords::keep(Bookmark number, Record record)
{
    if (m_whole.size() >= mostWhole) {
        for (auto known = m_whole.cbegin(); known != m_whole.cend(); ++known)
            setDigest(known.key(), digestOf(*known));
        m_whole.clear();
    }
    setDigest(number, 0);
    return *m_whole.emplace(number, std::move(record));
}

bool ShownRecords::replace(Bookmark number, const Record &record)
{
    if (const auto known = m_whole.find(number); known != m_whole.end()) {
        if (*known == record)
            return false;
        *known = record;
        return true;
    }
    if (!wasOther(number, record))
        return false;
    setDigest(number, digestOf(record));
    return true;
}

bool ShownRecords::wasOther(Bookmark number, const Record &record) const
{
    const std::uint32_t shown = digestAt(number);
    return shown != 0 && shown != digestOf(record);
}

void ShownRecords::forget(Bookmark number)
{
    m_whole.remove(number);
    setDigest(number, 0);
}

void ShownRecords::clear()
{
    m_whole.clear();
    m_digests = {};
}

ShownRecords ShownRecords::rechecked(const RecordStore &store, QSet<Bookmark> &changed) const
{
    ShownRecords now = *this;
    now.recheckEach(store, changed);
    return now;
}

void ShownRecords::recheckEach(const RecordStore &store, QSet<Bookmark> &changed)
{
    Record fresh;
    m_whole.removeIf([&](std::pair<const Bookmark &, Record &> known) {
        const bool there = store.read(known.first, fresh);
        if (there && fresh == known.second)
            return false;
        changed.insert(known.first);
        known.second = fresh;
        return !there;
    });
    for (std::size_t number = 0; number < m_digests.size(); ++number) {
        const auto bookmark = static_cast<Bookmark>(number);
        if (m_digests[number] == 0)
            continue;
        const bool there = store.read(bookmark, fresh);
        if (!there || replace(bookmark, fresh))
            changed.insert(bookmark);
        if (!there)
            m_digests[number] = 0;
    }
}

std::uint32_t ShownRecords::digestAt(Bookmark number) const
{
    return number < m_digests.size() ? m_digests[number] : 0;
}

void ShownRecords::setDigest(Bookmark number, std::uint32_t digest)
{
    if (digest == 0 && number >= m_digests.size())
        return;
    if (number >= m_digests.size())
        m_digests.resize(number + 1, 0);
    m_digests[number] = digest;
}

} // namespace dataset
