#pragma once

// The two programs that try a share, and how they talk: the one that judges tells the other what to do
// through two files of the trial's folder, since that is all that two workstations surely have in common.

#include "dbase/File.h"

#include <array>
#include <chrono>
#include <functional>
#include <iosfwd>
#include <stdexcept>
#include <vector>

namespace agendatool
{

/// A trial that did not go as it should. The text says what was found, Spanish.
class Refused : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The other program does not answer any more; there is no going on.
class Lost : public Refused
{
public:
    using Refused::Refused;
};

/// The byte round which tables keep all of their locks: almost 4 GiB behind the data.
inline constexpr std::uint64_t lockOffset = 0xEFFFFFFE;

/// What a folder lies on, as dbase::shareOf() tells it.
struct Ground {
    std::string text;                  ///< kind, server and place, Spanish
    bool optionsTold = false;          ///< whether the system tells how it is mounted
    std::vector<std::string> warnings; ///< of the mount
};

/// One of the two programs: it opens files of the trial's folder as tables do, and does with them what it is
/// told. All of its calls throw Refused with the system's reason when they are not carried out.
class Side
{
public:
    using LockKind = dbase::File::LockKind;
    static constexpr int handles = 2; ///< files that it can have open at once

    Side() = default;
    Side(const Side &) = delete;
    Side &operator=(const Side &) = delete;
    virtual ~Side() = default;

    /// Makes a file of one letter. @param name  letters alone.
    void create(const std::string &name, std::size_t length, char letter);
    /// @param handle  from 0 on; what it had open is closed.
    void open(int handle, const std::string &name);
    void close(int handle);
    /// Of the byte at lockOffset. @return false when somebody else has it.
    bool lock(int handle, LockKind kind);
    void unlock(int handle);
    /// Of one letter, again and again; at most 64 KiB.
    void write(int handle, std::uint64_t offset, std::size_t length, char letter);
    /// @return the bytes read and their letter, "5000 b"; "5000 ?" when they are not all alike.
    std::string read(int handle, std::uint64_t offset, std::size_t length);
    void rename(const std::string &from, const std::string &to);
    /// What the folder lies on, seen from where this side runs.
    Ground ground();

    /// Carries out one of the above, in words. @return what it answers.
    virtual std::string carryOut(const std::string &order) = 0;
};

/// The program itself.
class NearSide final : public Side
{
public:
    /// @param folder  of the trial.
    explicit NearSide(std::filesystem::path folder)
        : m_folder(std::move(folder))
    {
    }
    std::string carryOut(const std::string &order) override;

private:
    dbase::File &file(std::istream &words);
    dbase::File &openFile(std::istream &words);
    std::filesystem::path path(std::istream &words) const;
    std::string readBack(std::istream &words);

    std::filesystem::path m_folder;
    std::array<dbase::File, handles> m_files;
};

/// Messages with numbers, one at a time in either direction. A file is opened anew for each: systems ask the
/// server then, whatever they remember of it.
class Channel
{
public:
    enum class End { judge, helper };
    /// @param folder  of the trial.
    Channel(const std::filesystem::path &folder, End end);
    /// Makes both files; the judge does it, before the helper is called. @return as File::open() and
    /// writeAt().
    dbase::Status create() const;
    /// @param number  of the message, from 1 on. @param text  what is longer than 4000 bytes is cut off.
    dbase::Status say(int number, std::string text) const;
    /// Waits for a message of the other end. @param gone  whether the other end is known to have died.
    /// @return its text; locked when it does not come.
    dbase::Result<std::string> hear(int number, std::chrono::milliseconds patience,
                                    const std::function<bool()> &gone = {}) const;

private:
    std::filesystem::path m_own;
    std::filesystem::path m_theirs;
};

/// The other program, seen from the one that judges.
class FarSide final : public Side
{
public:
    /// @param gone  as for Channel::hear().
    FarSide(const std::filesystem::path &folder, std::function<bool()> gone);
    /// Makes the files to talk through, before the other program is started.
    dbase::Status prepare() const { return m_channel.create(); }
    /// Waits for the other program to come. @throws Lost
    void meet(std::chrono::milliseconds patience);
    /// Lets the other program close its files and end. @throws Lost
    void dismiss();
    /// @throws Lost besides.
    std::string carryOut(const std::string &order) override;

private:
    std::string ask(const std::string &order, std::chrono::milliseconds patience);

    Channel m_channel;
    std::function<bool()> m_gone;
    int m_number = 0;
};

/// The other program's whole work: does what it is told until it is dismissed.
/// @return locked when no orders come.
dbase::Status serve(const std::filesystem::path &folder);

} // namespace agendatool
