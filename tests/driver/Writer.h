#pragma once

#include "tests/driver/AgendaTable.h"

#include <functional>

namespace driver
{

/// A program that changes the agenda and says what it was told. Each change is announced and answered in one
/// line:
///   TRY op key [value] @ns    ACK op key [value] @ns    NAK op key [value] @ns    UNK op key [value] @ns
/// with op one of ins, upd, del, inc, and @ns the clock that all processes share.
class Writer
{
public:
    using Teller = std::function<void(const std::string &line)>;

    /// @param id           names the writer's own lines.
    /// @param seed         gives the same changes again.
    /// @param tell         gets each line, its end included.
    /// @param lockTimeout  patience with other writers.
    Writer(std::filesystem::path folder, int id, unsigned seed, Teller tell,
           std::chrono::milliseconds lockTimeout = std::chrono::seconds(2));

    /// One change; opens the table first where it is closed.
    void step();
    /// The same with more of what is one commit of many lines: sheets added, moved to another day, deleted.
    void stepWithSheets();
    /// One that the caller chooses: another value for a line that is there, or new lines.
    void changeTo(const std::string &key, const std::string &value);
    void add(const std::string &key, const std::string &value);
    void addSheet(const std::string &key, const std::string &value);
    /// The table is not closed after a failure of the disk.
    void keepOpen() { m_keepsOpen = true; }
    dbase::Status refresh();
    /// Opens the table where it is closed.
    dbase::Status open();
    /// The table that is open; after a failed change it may not be.
    AgendaTable &agenda() { return m_agenda; }
    /// @return what the closing met.
    dbase::Status close() { return m_agenda.close(); }

private:
    template <class Work>
    void answer(const char *op, const std::string &key, const std::string &value, Work &&work);
    void say(const char *verb, const char *op, const std::string &key, const std::string &value) const;
    dbase::Status insert(const std::string &key, const std::string &value);
    dbase::Status sheet(const std::string &key, const std::string &value);
    template <class Edit> dbase::Status withLine(const std::string &key, Edit &&edit);
    dbase::Status change(const std::string &key, const std::string &value, bool mayMove);
    dbase::Status increment();
    dbase::Status remove(const std::string &key);
    template <class Edit> dbase::Status withSheet(const std::string &key, Edit &&edit);

    std::filesystem::path m_folder;
    int m_id;
    std::mt19937 m_random;
    Teller m_tell;
    std::chrono::milliseconds m_lockTimeout;
    AgendaTable m_agenda;
    std::vector<std::string> m_mine;
    std::vector<std::string> m_sheets; ///< added by stepWithSheets
    long m_steps = 0;
    bool m_keepsOpen = false;
};

} // namespace driver
