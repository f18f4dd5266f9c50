#pragma once

// An office of two workstations at one table on a share, for the tests of this folder.

#include "tests/driver/FileCalls.h"
#include "tests/driver/Judge.h"
#include "tests/driver/OnShares.h"
#include "tests/driver/PowerCut.h"
#include "tests/driver/Writer.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace driver
{

using Wrong = std::vector<std::string>;

inline Image newOffice()
{
    const support::TempFolder folder;
    EXPECT_TRUE(AgendaTable::create(folder.path()).ok());
    return readImage(folder.path());
}

/// A share with two workstations.
class Office
{
public:
    /// @param keepsOpen  the first one never closes its table, whatever happens.
    Office(filecalls::Share share, filecalls::Plant planted, bool keepsOpen = false)
    {
        static const Image start = newOffice();
        writeImage(m_folder.path(), start);
        filecalls::watch(m_folder.path(), false);
        filecalls::plant(planted);
        filecalls::behaveAs(share);
        for (const int id : {1, 2}) {
            m_writers.push_back(
                std::make_unique<Writer>(m_folder.path(), id, 100U + static_cast<unsigned>(id),
                                         [this, id](const std::string &line) { m_told.line(id, line); }));
        }
        if (keepsOpen)
            at(1).keepOpen();
    }
    ~Office() { leave(); }
    Office(const Office &) = delete;
    Office &operator=(const Office &) = delete;

    [[nodiscard]] const std::filesystem::path &place() const { return m_folder.path(); }
    Writer &at(int workstation)
    {
        filecalls::asWorkstation(workstation);
        return *m_writers[static_cast<std::size_t>(workstation) - 1];
    }
    /// A value that no line has had.
    std::string newValue(int workstation)
    {
        return "v" + std::to_string(workstation) + "x" + std::to_string(++m_changes);
    }
    void change(int workstation, const std::string &key)
    {
        at(workstation).changeTo(key, newValue(workstation));
    }
    /// A change that nothing stands in the way of.
    void mustChange(int workstation, const std::string &key)
    {
        mustChange(workstation, key, newValue(workstation));
    }
    /// @param tries  2 where the line may be one that another has left half written: whoever finishes that
    /// for him has seen the line as it was before.
    void mustChange(int workstation, const std::string &key, const std::string &value, int tries = 1)
    {
        mustBeTold(workstation, tries, [&](Writer &writer) { writer.changeTo(key, value); });
    }
    void mustAdd(int workstation, const std::string &key)
    {
        mustBeTold(workstation, 1, [&](Writer &writer) { writer.add(key, newValue(workstation)); });
    }
    void both()
    {
        mustChange(1, "shared-a");
        mustChange(2, "shared-b");
    }
    void must(bool holds, const std::string &what)
    {
        if (!holds)
            m_wrong.push_back(what);
    }
    /// All go home, and the table is looked at where it lies.
    Wrong finish()
    {
        leave();
        if (m_wrong.empty())
            m_wrong = judge(m_folder.path(), m_told);
        return std::move(m_wrong);
    }

private:
    template <class Work> void mustBeTold(int workstation, int tries, Work &&work)
    {
        const int before = m_told.acknowledged();
        for (int n = 0; n < tries && m_told.acknowledged() == before; ++n)
            work(at(workstation));
        if (m_told.acknowledged() == before)
            m_wrong.push_back("workstation " + std::to_string(workstation) + " cannot write");
    }
    void leave()
    {
        for (std::size_t i = 0; i < m_writers.size(); ++i) {
            filecalls::asWorkstation(static_cast<int>(i) + 1);
            m_writers[i].reset();
        }
        m_writers.clear();
        filecalls::behaveAs(filecalls::Share::local);
        filecalls::unwatch();
    }

    support::TempFolder m_folder;
    Told m_told;
    std::vector<std::unique_ptr<Writer>> m_writers;
    int m_changes = 0;
    Wrong m_wrong;
};

} // namespace driver
