#pragma once

#include "tools/agendatool/Arguments.h"
#include "tools/agendatool/ProgressLine.h"
#include "tools/agendatool/Run.h"

namespace agendatool
{

/// What every verb needs: the command line, where to talk, and how long to wait for others.
struct Context {
    const Arguments &args;
    std::ostream &answers;
    std::ostream &complaints; ///< never has a control character
    bool outIsTerminal;
    std::chrono::milliseconds patience;
    ProgressLine &progress;
    std::filesystem::path program; ///< this program's file; empty: ask the system

    /// Where answers go. What both of these write stays, so the line of the progress makes way for it.
    [[nodiscard]] std::ostream &out() const
    {
        progress.remove();
        return answers;
    }
    /// Where complaints go.
    [[nodiscard]] std::ostream &err() const
    {
        progress.remove();
        return complaints;
    }

    /// Says that something is done, unless asked to be quiet.
    void note(const std::string &text) const;
    /// Says why not. @return the exit code that goes with it.
    [[nodiscard]] int fail(const dbase::Status &status) const;
};

using OpenTable = std::unique_ptr<dbase::Table>;

/// Opens the table of the command line for writing, which finishes what dead writers have left.
dbase::Result<OpenTable> openTable(const Context &context);
/// Opens a file; a table with date and hour of an agenda gets its tag FECHA when it has none.
dbase::Result<OpenTable> openWithTag(const Context &context, const std::filesystem::path &file);
/// Compares lines and tags, and reads every field of every live line; says what is wrong.
[[nodiscard]] int verify(const Context &context, dbase::Table &table);
/// An old journal beside a table that is not there: its commits would be written into the new table.
dbase::Status refuseOldJournal(const std::filesystem::path &table);
/// Refuses a target with the name of a table's file: what is written replaces it, and a slip of the hand must
/// not cost a table. @return exitUsage after saying so, exitDone when it is none.
[[nodiscard]] int refuseTableFile(const Context &context);

// The verbs; each answers with its exit code.
[[nodiscard]] int createTable(const Context &context);
[[nodiscard]] int showInfo(const Context &context);
[[nodiscard]] int checkTable(const Context &context);
[[nodiscard]] int repairTable(const Context &context);
[[nodiscard]] int reindexTable(const Context &context);
[[nodiscard]] int packTable(const Context &context);
[[nodiscard]] int dumpLines(const Context &context);
[[nodiscard]] int exportLines(const Context &context);
[[nodiscard]] int importLines(const Context &context);
[[nodiscard]] int backupTable(const Context &context);
[[nodiscard]] int restoreTable(const Context &context);
[[nodiscard]] int printDay(const Context &context);
[[nodiscard]] int printWeek(const Context &context);
[[nodiscard]] int tryShare(const Context &context);

} // namespace agendatool
