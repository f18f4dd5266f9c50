#pragma once

#include "dataset/DataSet.h"

#include <memory>
#include <vector>

namespace dataset
{

/// The rows of a data set at one moment.
class RowSet
{
public:
    explicit RowSet(std::vector<Bookmark> numbers);
    [[nodiscard]] int count() const { return static_cast<int>(m_numbers.size()); }
    [[nodiscard]] Bookmark at(int row) const { return m_numbers[static_cast<std::size_t>(row)]; }
    [[nodiscard]] int rowOf(Bookmark number) const; ///< -1 when it is no row
    [[nodiscard]] const std::vector<Bookmark> &numbers() const { return m_numbers; }

private:
    std::vector<Bookmark> m_numbers;
    std::vector<int> m_rows; ///< by record number less m_lowest; -1 elsewhere
    Bookmark m_lowest = 0;
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
