#pragma once

#include "dbase/Table.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>

// What the command line and the host do alike to look after a whole table. Nothing throws; failures are told
// as everywhere in dbase.

namespace upkeep
{

using OpenTable = std::unique_ptr<dbase::Table>;
/// Told now and then how much is done, 0 to 100. @return false to stop.
using Progress = std::function<bool(int percent)>;
/// What a work answers that was told to stop.
dbase::Status stopped();

/// Opens a table for writing, which finishes what dead writers have left; one with date and hour of an agenda
/// gets its tag FECHA when it has none. @param patience  how long to wait for others who are writing.
dbase::Result<OpenTable> openWithTag(const std::filesystem::path &file, std::chrono::milliseconds patience);
/// The tag FECHA of every agenda table.
[[nodiscard]] const dbase::TagDefinition &agendaTag();
/// A notary's agenda table, with that tag, for creating it without a data set.
[[nodiscard]] dbase::TableDefinition agendaDefinition();

/// The tags against the lines. An index file of which no tag could be taken has not been compared.
/// @return damaged when they differ.
dbase::Status compareTags(dbase::Table &table);

/// Whether the bytes of a field are blank for its type.
[[nodiscard]] bool isBlank(std::span<const std::uint8_t> record, const dbase::FieldDefinition &field);
/// Whether they are a value of its type; blank is one.
[[nodiscard]] bool isReadable(std::span<const std::uint8_t> record, const dbase::FieldDefinition &field);
/// Calls `found` for each field of a live line that holds no value of its type.
/// @return how many there are; invalidArgument when `progress` said no.
dbase::Result<int>
findUnreadable(const dbase::Table &table,
               const std::function<void(dbase::RecordNumber, std::span<const std::uint8_t> record,
                                        const dbase::FieldDefinition &)> &found,
               const Progress &progress = {});
/// Tells now and then how many of so many lines are done. @return false when it was told to stop.
[[nodiscard]] bool tellLines(const Progress &progress, std::size_t done, std::size_t total);

/// Rights that a copy of a table's lines may have, in whatever format: its owner's, and everybody else's as
/// far as everybody has them in the table. Who shares a group there need not share it where the copy goes.
[[nodiscard]] std::filesystem::perms rightsOfCopy(const std::filesystem::path &table);
/// Takes from a file that has just been made what goes beyond `most`; where files have no rights it has none
/// to take.
void narrow(const std::filesystem::path &made, std::filesystem::perms most);

enum class Source {
    inUse,     ///< others may be writing to it: it is held still for as long as reading it takes, no longer
    laidAside, ///< nobody writes to it
};
/// Copies the lines of a table that can be opened; the index is made from them again when the copy is opened.
/// The table is read into memory whole; the name of the copy appears only when all of it is on the disk.
/// @param to        an existing file is replaced.
/// @param patience  how long to wait for others who are writing to the table, or putting it in order.
/// @param progress  of the writing; never called while others are kept waiting.
/// @param most      rights that the copy may have; when missing, it is a table of its folder like others.
/// @return what Table::open says; locked, full, inputOutput; invalidArgument when `progress` said no.
dbase::Status copyTable(const std::filesystem::path &from, const std::filesystem::path &to, Source source,
                        std::chrono::milliseconds patience, const Progress &progress = {},
                        std::optional<std::filesystem::perms> most = {});

} // namespace upkeep
