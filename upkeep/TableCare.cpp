#include "upkeep/TableCare.h"

#include "dbase/DbfFormat.h"
#include "dbase/File.h"
#include "upkeep/Paths.h"

#include <algorithm>
#include <system_error>

namespace upkeep
{

namespace
{

namespace fs = std::filesystem;
using dbase::ErrorKind;
using dbase::FieldDefinition;
using dbase::FieldType;
using dbase::File;
using dbase::Result;
using dbase::Status;
using dbase::Table;

/// Often enough for who looks on, and no burden for the work.
constexpr std::size_t bytesPerStep = std::size_t{1024} * 1024;
constexpr std::size_t linesPerStep = 1000;

bool hasField(const Table &table, std::string_view name, FieldType type)
{
    const int at = table.fieldIndex(name);
    return at >= 0 && table.fields()[static_cast<std::size_t>(at)].type == type;
}

/// Header and lines as the header counts them. What the file has behind them is nothing of the table, however
/// much it is.
Result<std::vector<std::uint8_t>> readTable(const Table &table)
{
    const auto file = File::open(table.file(), File::Mode::readOnly);
    if (!file.ok())
        return file.status();
    const auto cut = [&] {
        return Status(ErrorKind::inputOutput, "no se ha podido leer la tabla entera", pathText(table.file()));
    };
    std::vector<std::uint8_t> bytes(dbase::dbfFixedHeader + 1);
    auto got = file.value().readAt(0, bytes);
    if (!got.ok() || got.value() != bytes.size())
        return got.ok() ? cut() : got.status();
    const auto headerLength = dbase::dbfHeaderLength(bytes);
    if (!headerLength.ok())
        return headerLength.status();
    const std::uint64_t count =
        dbase::decodeCount(std::span(bytes).subspan(dbase::dbfCountOffset, sizeof(std::uint32_t)));
    const std::uint64_t lines = headerLength.value() + count * table.recordLength();
    const auto size = file.value().size();
    if (!size.ok() || size.value() < lines)
        return size.ok() ? cut() : size.status();
    constexpr std::uint64_t endMark = 1; // not every program writes one
    bytes.resize(static_cast<std::size_t>(std::min(size.value(), lines + endMark)));
    got = file.value().readAt(0, bytes);
    if (!got.ok() || got.value() != bytes.size())
        return got.ok() ? cut() : got.status();
    return bytes;
}

Status writeNew(const fs::path &to, std::span<const std::uint8_t> bytes, const Progress &progress,
                std::optional<fs::perms> most)
{
    auto made = File::create(to);
    if (!made.ok())
        return made.status();
    if (most) // before there is anything to read
        narrow(to, *most);
    Status status;
    for (std::size_t at = 0; status.ok() && at < bytes.size(); at += bytesPerStep) {
        if (progress && !progress(static_cast<int>(at * 100 / bytes.size())))
            return stopped();
        status = made.value().writeAt(at, bytes.subspan(at, std::min(bytesPerStep, bytes.size() - at)));
    }
    return status.ok() ? made.value().sync() : status;
}

/// The name of the copy appears only when all of it is there.
Status writeCopy(const fs::path &to, std::span<const std::uint8_t> bytes, const Progress &progress,
                 std::optional<fs::perms> most)
{
    fs::path unfinished = to;
    unfinished += ".tmp";
    std::error_code error;
    fs::remove(unfinished, error); // of a copy that was cut
    Status status = writeNew(unfinished, bytes, progress, most);
    if (status.ok()) {
        fs::rename(unfinished, to, error);
        if (error)
            status = {ErrorKind::inputOutput, "no se puede poner la copia en su sitio", pathText(to)};
    }
    if (!status.ok())
        fs::remove(unfinished, error);
    return status.ok() ? dbase::syncFolder(to.parent_path()) : status;
}

} // namespace

fs::perms rightsOfCopy(const fs::path &table)
{
    constexpr fs::perms own = fs::perms::owner_read | fs::perms::owner_write;
    std::error_code error;
    const fs::perms given = fs::status(table, error).permissions();
    if (error || given == fs::perms::unknown)
        return own;
    const bool readByAll = (given & fs::perms::others_read) != fs::perms::none;
    const bool writtenByAll = (given & fs::perms::others_write) != fs::perms::none;
    return own | (readByAll ? fs::perms::group_read | fs::perms::others_read : fs::perms::none) |
           (writtenByAll ? fs::perms::group_write | fs::perms::others_write : fs::perms::none);
}

void narrow(const fs::path &made, fs::perms most)
{
    std::error_code error;
    const fs::perms now = fs::status(made, error).permissions();
    if (!error && (now & ~most) != fs::perms::none)
        fs::permissions(made, now & most, error);
}

bool tellLines(const Progress &progress, std::size_t done, std::size_t total)
{
    return !progress || done % linesPerStep != 0 || progress(static_cast<int>(done * 100 / total));
}

Status stopped()
{
    return {ErrorKind::invalidArgument, "se ha cancelado"};
}

const dbase::TagDefinition &agendaTag()
{
    static const dbase::TagDefinition tag{"FECHA", "DTOS(FECHA)+HORA"};
    return tag;
}

dbase::TableDefinition agendaDefinition()
{
    dbase::TableDefinition made;
    made.fields = {{"FECHA", FieldType::date, 8},
                   {"HORA", FieldType::character, 5},
                   {"CONCEPTO", FieldType::character, 254},
                   {"CODCLIENTE", FieldType::floating, 20, 4},
                   {"INTERESADO", FieldType::character, 100},
                   {"OFICIAL", FieldType::character, 16},
                   {"SALIDA", FieldType::character, 1},
                   {"AVISO", FieldType::character, 1}};
    made.tags = {agendaTag()};
    return made;
}

Result<OpenTable> openWithTag(const fs::path &file, std::chrono::milliseconds patience)
{
    dbase::OpenOptions options;
    options.lockTimeout = patience;
    auto opened = Table::open(file, options);
    if (!opened.ok())
        return opened;
    const Table &table = *opened.value();
    const bool agenda =
        hasField(table, "FECHA", FieldType::date) && hasField(table, "HORA", FieldType::character);
    if (!agenda || table.index(agendaTag().name))
        return opened;
    // Also where the table takes no changes: an index that tells no orders is made anew for the asking.
    opened.value().reset();
    options.tags = {agendaTag()};
    return Table::open(file, options);
}

Status compareTags(Table &table)
{
    if (const Status status = table.check(); !status.ok())
        return status;
    if (!table.tags().empty() || siblingOf(table.file(), ".MDX").empty())
        return {};
    const std::string reason = table.readOnlyReason();
    return {ErrorKind::damaged, "el índice no se ha podido comprobar" + (reason.empty() ? "" : ": " + reason),
            pathText(table.file().filename())};
}

bool isBlank(std::span<const std::uint8_t> record, const FieldDefinition &field)
{
    const auto bytes = record.subspan(field.offset, field.width);
    const auto blank = [&](std::uint8_t byte) {
        return byte == ' ' || (field.type == FieldType::date && byte == '0') ||
               (field.type == FieldType::logical && byte == '?');
    };
    return std::all_of(bytes.begin(), bytes.end(), blank);
}

bool isReadable(std::span<const std::uint8_t> record, const FieldDefinition &field)
{
    if (field.type == FieldType::character || isBlank(record, field))
        return true;
    if (field.type == FieldType::date)
        return dbase::readDate(record, field).has_value();
    if (field.type == FieldType::logical)
        return dbase::readLogical(record, field).has_value();
    return dbase::readNumber(record, field).has_value();
}

Result<int> findUnreadable(const Table &table,
                           const std::function<void(dbase::RecordNumber, std::span<const std::uint8_t>,
                                                    const FieldDefinition &)> &found,
                           const Progress &progress)
{
    std::vector<dbase::RecordNumber> numbers;
    std::vector<std::uint8_t> rows;
    if (const Status status = table.liveRows(nullptr, {}, {}, numbers, rows); !status.ok())
        return status;
    int faults = 0;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (!tellLines(progress, i, numbers.size()))
            return stopped();
        const auto row = std::span(rows).subspan(i * table.recordLength(), table.recordLength());
        for (const auto &field : table.fields()) {
            if (isReadable(row, field))
                continue;
            ++faults;
            found(numbers[i], row, field);
        }
    }
    return faults;
}

Status copyTable(const fs::path &from, const fs::path &to, Source source, std::chrono::milliseconds patience,
                 const Progress &progress, std::optional<fs::perms> most)
{
    dbase::OpenOptions options;
    options.lockTimeout = patience;
    options.readOnly = source == Source::laidAside;
    const auto opened = Table::open(from, options);
    if (!opened.ok())
        return opened.status();
    Table &table = *opened.value();
    if (source == Source::inUse) {
        if (const Status status = table.beginGroup(); !status.ok())
            return status;
    }
    // Others wait for as long as the group lasts: the destination, perhaps a slow one, comes afterwards.
    const auto bytes = readTable(table);
    table.dropGroup();
    return bytes.ok() ? writeCopy(to, bytes.value(), progress, most) : bytes.status();
}

} // namespace upkeep
