#pragma once

// A table of an office on a share, used by a test itself, and calls that take long meanwhile.

#include "dbase/Bytes.h"
#include "tests/driver/Office.h"

#include <functional>
#include <optional>
#include <set>

namespace driver
{

/// So long that a server has given a workstation's locks to others.
inline constexpr auto longAway = std::chrono::seconds(60);

/// A table of a workstation, opened and left as that one.
class Desk
{
public:
    /// @param durable  its changes are to outlive a power cut.
    Desk(const Office &office, int workstation, bool durable = true)
        : m_workstation(workstation)
    {
        sit();
        EXPECT_TRUE(m_agenda.open(office.place(), std::chrono::seconds(2), durable).ok());
    }
    ~Desk()
    {
        sit();
        static_cast<void>(m_agenda.close());
    }
    Desk(const Desk &) = delete;
    Desk &operator=(const Desk &) = delete;
    AgendaTable &operator*() { return m_agenda; }
    AgendaTable *operator->() { return &m_agenda; }
    void sit() const { filecalls::asWorkstation(m_workstation); }
    Bytes line(dbase::RecordNumber number)
    {
        Bytes record(m_agenda.table().recordLength());
        EXPECT_TRUE(m_agenda.table().read(number, record).ok());
        return record;
    }
    dbase::Status give(dbase::RecordNumber number, const std::string &value)
    {
        const Bytes before = line(number);
        Bytes after = before;
        m_agenda.setValue(after, value);
        return m_agenda.table().update(number, before, after);
    }
    /// All lines of a sheet get a value, in a group that is still to be written.
    void giveSheet(const std::string &key, const std::string &value)
    {
        const auto lines = m_agenda.findAll(key);
        ASSERT_TRUE(lines.ok() && m_agenda.table().beginGroup().ok());
        for (const auto number : lines.value())
            ASSERT_TRUE(give(number, value).ok());
    }
    /// The values of a key's lines, as one question answers.
    std::set<std::string> valuesOf(const std::string &key)
    {
        std::string wanted = key;
        wanted.resize(16, ' ');
        const std::span bytes(reinterpret_cast<const std::uint8_t *>(wanted.data()), wanted.size());
        std::vector<dbase::RecordNumber> numbers;
        Bytes rows;
        dbase::Table &table = m_agenda.table();
        std::set<std::string> values;
        if (!table.liveRows(table.index("CLAVE"), bytes, bytes, numbers, rows).ok())
            return values;
        for (std::size_t i = 0; i < numbers.size(); ++i)
            values.insert(m_agenda.text(
                std::span(rows).subspan(i * table.recordLength(), table.recordLength()), Field::interesado));
        return values;
    }

private:
    int m_workstation;
    AgendaTable m_agenda;
};

/// Gives a line a value, if need be a second time: who finishes another's commit has seen the line before it.
inline bool giveForSure(Desk &desk, dbase::RecordNumber number, const std::string &value)
{
    return desk.give(number, value).ok() || desk.give(number, value).ok();
}

inline std::string valueOf(Desk &desk, dbase::RecordNumber number)
{
    desk.sit();
    return desk->text(desk.line(number), Field::interesado);
}

/// A workstation's n-th call of a kind takes that long, and something happens meanwhile.
inline filecalls::Fault lateCall(std::optional<filecalls::Call> call, int number, std::chrono::seconds late,
                                 std::function<void()> meanwhile)
{
    filecalls::Fault fault{call, number, 0};
    fault.late = late;
    fault.workstation = 1;
    fault.meanwhile = std::move(meanwhile);
    return fault;
}

/// What the journal's header says of the last commit.
inline std::uint64_t lastCommitIn(const std::filesystem::path &folder)
{
    constexpr std::size_t place = 12;
    const std::string bytes = support::readFile(folder / "AGENDA_N.JNL");
    return dbase::get64(reinterpret_cast<const std::uint8_t *>(bytes.data()) + place);
}

} // namespace driver
