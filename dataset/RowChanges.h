#pragma once

#include "dataset/DataSet.h"

#include <QtCore/QList>

#include <memory>
#include <vector>

namespace dataset
{

/// The rows of a data set at one moment. Where a record stands is worked out when it is first asked for.
class RowSet
{
public:
    explicit RowSet(const std::vector<Bookmark> &numbers)
        : m_numbers(numbers.begin(), numbers.end())
    {
    }
    [[nodiscard]] int count() const { return static_cast<int>(m_numbers.size()); }
    [[nodiscard]] Bookmark at(int row) const { return m_numbers[row]; }
    [[nodiscard]] int rowOf(Bookmark number) const; ///< -1 when it is no row
    [[nodiscard]] const QList<Bookmark> &numbers() const { return m_numbers; }
    /// The same rows but one. The row asked for next is likely to be beside it.
    [[nodiscard]] std::shared_ptr<const RowSet> without(int row) const;

private:
    void buildLookup() const;

    QList<Bookmark> m_numbers;
    mutable qsizetype m_last = 0;    ///< the row asked for last
    mutable std::vector<int> m_rows; ///< by record number less m_lowest; -1 elsewhere
    mutable Bookmark m_lowest = 0;
};

struct RowRun {
    int first = 0;
    int count = 0;
};

/// How one row set becomes another: take out the runs of `removed` in their order (row numbers before each
/// step, from the bottom up), then put in the runs of `inserted` in theirs (final row numbers, from the top
/// down).
struct RowChanges {
    std::vector<RowRun> removed;
    std::vector<RowRun> inserted;
};

/// The fewest rows out and in; a row that only changed its place is taken out and put in again.
[[nodiscard]] RowChanges rowChanges(const RowSet &before, const RowSet &after);

/// Ascending numbers as runs.
[[nodiscard]] std::vector<RowRun> asRuns(const std::vector<int> &rows);

} // namespace dataset
