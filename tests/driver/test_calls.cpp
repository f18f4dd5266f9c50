// What an operation costs: calls to the system, which are the same on every machine.

#include "tests/driver/AgendaTable.h"
#include "tests/driver/FileCalls.h"
#include "tests/driver/OnShares.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <iostream>

namespace
{

using namespace driver;
using namespace dbase;
using filecalls::Call;

constexpr int days = 60;
constexpr int linesOfDay = 24;
const std::string dayInTheMiddle = "20260215";

std::span<const std::uint8_t> asBytes(const std::string &text)
{
    return {reinterpret_cast<const std::uint8_t *>(text.data()), text.size()};
}

Bytes lineAt(const Table &table, const std::string &day, int place)
{
    Bytes line = blankRecord(table.recordLength());
    const std::string hour = std::to_string(10 + place / 6) + ":" + std::to_string(place % 6) + "0";
    std::copy(day.begin(), day.end(), line.begin() + 1);
    std::copy(hour.begin(), hour.end(), line.begin() + 9);
    return line;
}

std::string dayNumber(int number)
{
    return std::to_string(20260101 + number / 28 * 100 + number % 28);
}

/// Two months of full sheets, opened once before as by another workstation.
class Costs : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(AgendaTable::create(m_folder.path()).ok());
        filecalls::watch(m_folder.path(), false);
        ASSERT_TRUE(open(false));
        ASSERT_TRUE(m_table->beginGroup().ok());
        for (int number = 0; number < days * linesOfDay; ++number) {
            const Bytes line = lineAt(*m_table, dayNumber(number / linesOfDay), number % linesOfDay);
            ASSERT_TRUE(m_table->append(line).ok());
        }
        ASSERT_TRUE(m_table->commitGroup().ok());
    }
    void TearDown() override
    {
        m_table.reset();
        filecalls::behaveAs(filecalls::Share::local);
        filecalls::unwatch();
    }
    bool open(bool durable)
    {
        m_table.reset();
        OpenOptions options;
        options.durable = durable;
        options.tags = {{"FECHA", "DTOS(FECHA)+HORA"}};
        auto opened = Table::open(m_folder.path() / "AGENDA_N.DBF", options);
        if (!opened.ok())
            return false;
        m_table = std::move(opened).value();
        return true;
    }

    Status seek()
    {
        const auto found = m_table->index("FECHA")->find(asBytes(dayInTheMiddle + "11:30"));
        if (!found.ok() || !found.value())
            return {ErrorKind::notFound, found.status().text()};
        m_found = found.value()->record;
        m_line.resize(m_table->recordLength());
        return m_table->read(m_found, m_line);
    }
    Status range()
    {
        std::vector<RecordNumber> numbers;
        std::vector<std::uint8_t> rows;
        const Status status = m_table->liveRows(m_table->index("FECHA"), asBytes(dayInTheMiddle),
                                                asBytes(dayInTheMiddle), numbers, rows);
        return status.ok() && numbers.size() != linesOfDay ? Status(ErrorKind::notFound, "lines") : status;
    }
    /// Finds, reads and changes a line under the table's lock.
    template <class Change> Status edit(Change &&change)
    {
        Status status = m_table->beginGroup();
        if (status.ok())
            status = seek();
        if (!status.ok())
            return status;
        Bytes after = m_line;
        change(after);
        status = m_table->update(m_found, m_line, after);
        return status.ok() ? m_table->commitGroup() : status;
    }
    Status editText()
    {
        return edit([this](Bytes &line) { line[14] = static_cast<std::uint8_t>('a' + m_round++); });
    }
    /// As a card does it: the line's own lock is held from reading to writing.
    Status editLocked()
    {
        const auto found = m_table->index("FECHA")->find(asBytes(dayInTheMiddle + "11:30"));
        if (!found.ok() || !found.value())
            return {ErrorKind::notFound, found.status().text()};
        const auto lock = m_table->lockRecord(found.value()->record);
        m_line.resize(m_table->recordLength());
        Status status = lock.ok() ? m_table->read(found.value()->record, m_line) : lock.status();
        Bytes after = m_line;
        after[14] = static_cast<std::uint8_t>('a' + m_round++);
        return status.ok() ? m_table->update(found.value()->record, m_line, after) : status;
    }
    Status post() { return m_table->append(lineAt(*m_table, dayNumber(days), m_round++)).status(); }
    Status sheet()
    {
        Status status = m_table->beginGroup();
        const std::string day = dayNumber(days + 1 + m_round++);
        for (int place = 0; status.ok() && place < linesOfDay; ++place)
            status = m_table->append(lineAt(*m_table, day, place)).status();
        return status.ok() ? m_table->commitGroup() : status;
    }

    support::TempFolder m_folder;
    std::unique_ptr<Table> m_table;
    RecordNumber m_found = 0;
    Bytes m_line;
    int m_round = 0;
};

TEST_F(Costs, StayWithinTheirCalls)
{
    const struct {
        const char *name;
        std::function<Status()> work;
        bool durable;
        int most;
        int flushes; ///< exactly
        int looks;   ///< at a file's time, exactly: each makes the system date the next write anew
    } cases[] = {
        {"seek and read", [this] { return seek(); }, false, 3, 0, 0},
        {"one day", [this] { return range(); }, false, 3, 0, 0},
        {"look for news", [this] { return m_table->refresh().status(); }, false, 1, 0, 1},
        {"edit", [this] { return editText(); }, false, 8, 0, 0},
        {"durable edit", [this] { return editText(); }, true, 9, 1, 0},
        {"post", [this] { return post(); }, false, 13, 0, 0},
        {"sheet, durable", [this] { return sheet(); }, true, 19, 1, 0},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(one.name);
        ASSERT_TRUE(open(one.durable));
        // The first change after an opening also says that the table is in use; and what has just been
        // written is looked at once more by the first question.
        ASSERT_TRUE(one.work().ok());
        filecalls::tallyAnew();
        const Status status = one.work();
        const int calls = filecalls::tally();
        EXPECT_TRUE(status.ok()) << status.message();
        EXPECT_LE(calls, one.most);
        EXPECT_EQ(filecalls::tally(Call::flush), one.flushes);
        EXPECT_EQ(filecalls::tally(Call::look), one.looks);
        std::cout << one.name << ": " << calls << " calls, " << filecalls::tally(Call::write) << " writes\n";
    }
}

/// Times that a call goes to the server and back: what everything on a share waits for.
TEST_F(Costs, StayWithinTheirRoundTripsOnShares)
{
    const struct {
        const char *name;
        std::function<Status()> work;
        int first; ///< at most, after an opening and a look for news; 0: any
        int again; ///< at most, when nothing has moved since
        int underLock;
    } cases[] = {
        {"look for news", [this] { return m_table->refresh().status(); }, 0, 2, 0},
        {"seek and read", [this] { return seek(); }, 6, 3, 0},
        {"one day", [this] { return range(); }, 6, 3, 0},
        {"durable edit of a locked line", [this] { return editLocked(); }, 0, 12, 8},
        {"sheet, durable", [this] { return sheet(); }, 0, 20, 20},
    };
    for (const filecalls::Share share : {filecalls::Share::smb, filecalls::Share::nfs}) {
        m_table.reset();
        filecalls::behaveAs(share);
        bool within = true;
        for (const auto &one : cases) {
            ASSERT_TRUE(open(true));
            ASSERT_TRUE(m_table->refresh().ok());
            const auto cost = [&] {
                filecalls::roundTripsAnew();
                const Status status = one.work();
                EXPECT_TRUE(status.ok()) << one.name << ": " << status.message();
                return std::pair(filecalls::roundTrips(), filecalls::roundTripsUnderLock());
            };
            const int first = cost().first;
            const auto [again, underLock] = cost();
            within = within && (one.first == 0 || first <= one.first) && again <= one.again &&
                     underLock <= one.underLock;
            std::cout << onShares::nameOf(share) << ", " << one.name << ": " << first << " round trips, then "
                      << again << ", " << underLock << " under the lock\n";
        }
        EXPECT_EQ(within, onShares::costs.on(share)) << onShares::nameOf(share);
    }
}

/// Lines with one and the same key, walked through one by one, block by block as on a share.
TEST_F(Costs, OfAWalkThroughEqualKeysGrowWithItsLength)
{
    constexpr int equal = 2000;
    const std::string lastDay = "20991231";
    constexpr int mostReadsAStep = 10; // heads of the file and of two tags, and the way down
    ASSERT_TRUE(open(false));
    ASSERT_TRUE(m_table->beginGroup().ok());
    for (int number = 0; number < equal; ++number)
        ASSERT_TRUE(m_table->append(lineAt(*m_table, lastDay, 0)).ok());
    ASSERT_TRUE(m_table->commitGroup().ok());
    m_table.reset();
    filecalls::fail(filecalls::Fault{Call::map, 1, ENODEV, true, false});
    ASSERT_TRUE(open(false));
    Index &index = *m_table->index("FECHA");
    auto at = index.find(asBytes(lastDay));
    std::vector<RecordNumber> seen;
    filecalls::tallyAnew();
    for (; at.ok() && at.value() && seen.size() <= equal; at = index.next(*at.value()))
        seen.push_back(at.value()->record);
    EXPECT_EQ(seen.size(), equal);
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
    EXPECT_LE(filecalls::tally(Call::read), equal * mostReadsAStep);
    at = index.last();
    filecalls::tallyAnew();
    for (; at.ok() && at.value() && !seen.empty(); at = index.prior(*at.value())) {
        EXPECT_EQ(at.value()->record, seen.back());
        seen.pop_back();
    }
    EXPECT_TRUE(seen.empty());
    EXPECT_LE(filecalls::tally(Call::read), equal * mostReadsAStep);
    // A place that has changed under the walk: the entry is found where it stands now, or its neighbours.
    at = index.find(asBytes(lastDay));
    ASSERT_TRUE(at.ok() && at.value());
    const IndexEntry first = *at.value();
    ASSERT_TRUE(m_table->append(lineAt(*m_table, "20251231", 0)).ok());
    at = index.next(first);
    ASSERT_TRUE(at.ok() && at.value());
    EXPECT_EQ(at.value()->record, first.record + 1);
    std::vector<std::uint8_t> line(m_table->recordLength());
    ASSERT_TRUE(m_table->read(first.record + 1, line).ok());
    ASSERT_TRUE(m_table->update(first.record + 1, line, lineAt(*m_table, "20251231", 1)).ok());
    at = index.next(IndexEntry{first.key, first.record + 1});
    ASSERT_TRUE(at.ok() && at.value());
    EXPECT_EQ(at.value()->record, first.record + 2);
    at = index.prior(IndexEntry{first.key, first.record + 1});
    ASSERT_TRUE(at.ok() && at.value());
    EXPECT_EQ(at.value()->record, first.record);
}

} // namespace
