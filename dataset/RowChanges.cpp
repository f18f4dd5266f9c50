#include "dataset/RowChanges.h"

#include <algorithm>

namespace dataset
{

namespace
{
// A day sheet is looked through faster than a table is built.
constexpr qsizetype fewRows = 64;
} // namespace

void RowSet::buildLookup() const
{
    const auto [low, high] = std::ranges::minmax(m_numbers);
    m_lowest = low;
    m_rows.assign(high - low + 1, -1);
    for (qsizetype row = 0; row < m_numbers.size(); ++row)
        m_rows[m_numbers[row] - low] = static_cast<int>(row);
}

int RowSet::rowOf(Bookmark number) const
{
    // Rows are mostly asked for one after the other.
    for (qsizetype row = std::max<qsizetype>(m_last - 1, 0); row < std::min(m_last + 2, m_numbers.size());
         ++row) {
        if (m_numbers[row] == number)
            return static_cast<int>(m_last = row);
    }
    if (m_numbers.size() <= fewRows)
        return static_cast<int>(m_numbers.indexOf(number));
    if (m_rows.empty())
        buildLookup();
    if (number < m_lowest || number - m_lowest >= m_rows.size())
        return -1;
    const int row = m_rows[number - m_lowest];
    if (row >= 0)
        m_last = row;
    return row;
}

std::shared_ptr<const RowSet> RowSet::without(int row) const
{
    const auto others = std::make_shared<RowSet>(std::vector<Bookmark>());
    others->m_numbers = m_numbers;
    others->m_numbers.removeAt(row);
    others->m_last = row;
    return others;
}

namespace
{

/// Marks in `sequence` the members of one of its longest ascending subsequences.
std::vector<bool> longestAscending(const std::vector<int> &sequence)
{
    std::vector<std::size_t> tails; // tails[n]: where the best subsequence of n + 1 members ends
    std::vector<std::ptrdiff_t> previous(sequence.size(), -1);
    for (std::size_t i = 0; i < sequence.size(); ++i) {
        const auto tail =
            std::ranges::lower_bound(tails, sequence[i], {}, [&](std::size_t t) { return sequence[t]; });
        if (tail != tails.begin())
            previous[i] = static_cast<std::ptrdiff_t>(*std::prev(tail));
        if (tail == tails.end())
            tails.push_back(i);
        else
            *tail = i;
    }
    std::vector<bool> kept(sequence.size(), false);
    for (std::ptrdiff_t i = tails.empty() ? -1 : static_cast<std::ptrdiff_t>(tails.back()); i >= 0;
         i = previous[static_cast<std::size_t>(i)])
        kept[static_cast<std::size_t>(i)] = true;
    return kept;
}

} // namespace

std::vector<RowRun> asRuns(const std::vector<int> &rows)
{
    std::vector<RowRun> runs;
    for (const int row : rows) {
        if (!runs.empty() && runs.back().first + runs.back().count == row)
            ++runs.back().count;
        else
            runs.push_back({row, 1});
    }
    return runs;
}

RowChanges rowChanges(const RowSet &before, const RowSet &after)
{
    const auto &old = before.numbers();
    const auto &now = after.numbers();
    const auto [oldMiddle, nowMiddle] = std::ranges::mismatch(old, now);
    const auto start = oldMiddle - old.begin();
    std::ptrdiff_t tail = 0;
    while (tail < std::min(std::ssize(old), std::ssize(now)) - start &&
           old[old.size() - 1 - tail] == now[now.size() - 1 - tail])
        ++tail;

    std::vector<int> survivors; // old rows of the middle, as the new order has them
    for (auto row = start; row < std::ssize(now) - tail; ++row) {
        if (const int oldRow = before.rowOf(now[row]); oldRow >= 0)
            survivors.push_back(oldRow);
    }
    const std::vector<bool> kept = longestAscending(survivors);
    std::vector<bool> stays(std::size_t(old.size()), false);
    for (std::size_t i = 0; i < survivors.size(); ++i)
        stays[std::size_t(survivors[i])] = kept[i];

    std::vector<int> removed;
    std::vector<int> inserted;
    for (auto row = start; row < std::ssize(old) - tail; ++row) {
        if (!stays[std::size_t(row)])
            removed.push_back(static_cast<int>(row));
    }
    for (auto row = start; row < std::ssize(now) - tail; ++row) {
        const int oldRow = before.rowOf(now[row]);
        if (oldRow < 0 || !stays[std::size_t(oldRow)])
            inserted.push_back(static_cast<int>(row));
    }
    RowChanges changes{asRuns(removed), asRuns(inserted)};
    std::ranges::reverse(changes.removed);
    return changes;
}

} // namespace dataset
