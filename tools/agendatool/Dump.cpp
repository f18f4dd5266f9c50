#include "tools/agendatool/Dump.h"

#include "tools/agendatool/Csv.h"
#include "tools/agendatool/Values.h"

#include <array>
#include <ostream>

namespace agendatool
{

namespace
{

using dbase::ErrorKind;
using dbase::FieldType;
using dbase::Status;
using dbase::Table;
using Bytes = std::vector<std::uint8_t>;
using Record = std::span<const std::uint8_t>;

/// The bytes with which the keys of a day begin; none when the index does not begin with the date.
Bytes boundOf(const Table &table, const dbase::Index &index, int dateField,
              const std::optional<dbase::Date> &day)
{
    Bytes record = dbase::blankRecord(table.recordLength());
    const std::array<int, 1> only{dateField};
    const std::size_t length = index.expression().leadingLength(only);
    if (!day || length == 0 ||
        !dbase::writeDate(record, table.fields()[static_cast<std::size_t>(dateField)], *day).ok())
        return {};
    const dbase::IndexKey key = index.expression().keyOf(record);
    return {key.bytes().begin(), key.bytes().begin() + static_cast<std::ptrdiff_t>(length)};
}

bool inRange(const DateRange &range, const std::optional<dbase::Date> &day)
{
    if (!range.from && !range.to)
        return true;
    return day && (!range.from || isoDate(*day) >= isoDate(*range.from)) &&
           (!range.to || isoDate(*day) <= isoDate(*range.to));
}

/// The lines of the range, one behind the other.
Status selectRows(const Table &table, const DateRange &range, Bytes &rows)
{
    const int dateField = table.fieldIndex("FECHA");
    const bool dated =
        dateField >= 0 && table.fields()[static_cast<std::size_t>(dateField)].type == FieldType::date;
    if ((range.from || range.to) && !dated)
        return {ErrorKind::invalidArgument, "la tabla no tiene una fecha FECHA por la que acotar"};
    dbase::Index *const index = table.index("FECHA");
    Bytes low;
    Bytes high;
    if (index && dated) {
        low = boundOf(table, *index, dateField, range.from);
        high = boundOf(table, *index, dateField, range.to);
    }
    std::vector<dbase::RecordNumber> numbers;
    Bytes found;
    if (const Status status = table.liveRows(index, low, high, numbers, found); !status.ok())
        return status;
    const std::size_t length = table.recordLength();
    for (std::size_t at = 0; at < found.size(); at += length) {
        const Record row = Record(found).subspan(at, length);
        // Judged again by the line itself: without an index nothing has been left out yet.
        if (!dated ||
            inRange(range, dbase::readDate(row, table.fields()[static_cast<std::size_t>(dateField)])))
            rows.insert(rows.end(), row.begin(), row.end());
    }
    return {};
}

/// @return false when `progress` said no.
bool writeCsv(const Table &table, Record rows, std::ostream &out, const upkeep::Progress &progress,
              bool forSheet)
{
    const std::size_t length = table.recordLength();
    std::vector<std::string> cells;
    for (const auto &field : table.fields())
        cells.push_back(forSheet ? sheetCell(field.name) : field.name);
    out << csvLine(cells);
    for (std::size_t at = 0; at < rows.size(); at += length) {
        if (!upkeep::tellLines(progress, at / length, rows.size() / length))
            return false;
        cells.clear();
        for (const auto &field : table.fields()) {
            const Record row = rows.subspan(at, length);
            std::string cell = valueText(row, field, table.codePage());
            // A number may begin with its sign.
            const bool text = field.type == FieldType::character || !upkeep::isReadable(row, field);
            cells.push_back(forSheet && text ? sheetCell(cell) : std::move(cell));
        }
        out << csvLine(cells);
    }
    return true;
}

/// @return false when `progress` said no.
bool writeJson(const Table &table, Record rows, std::ostream &out, const upkeep::Progress &progress)
{
    const std::size_t length = table.recordLength();
    out << '[';
    for (std::size_t at = 0; at < rows.size(); at += length) {
        if (!upkeep::tellLines(progress, at / length, rows.size() / length))
            return false;
        out << (at == 0 ? "\n{" : ",\n{");
        const char *comma = "";
        for (const auto &field : table.fields()) {
            out << comma << jsonString(field.name) << ": "
                << valueJson(rows.subspan(at, length), field, table.codePage());
            comma = ", ";
        }
        out << '}';
    }
    out << "\n]\n";
    return true;
}

} // namespace

Status dump(const Table &table, const DateRange &range, DumpFormat format, std::ostream &out,
            const upkeep::Progress &progress, bool forSheet)
{
    Bytes rows;
    if (const Status status = selectRows(table, range, rows); !status.ok())
        return status;
    const bool written = format == DumpFormat::csv ? writeCsv(table, rows, out, progress, forSheet)
                                                   : writeJson(table, rows, out, progress);
    if (!written)
        return upkeep::stopped();
    return out.good() ? Status() : Status(ErrorKind::inputOutput, "no se ha podido escribir el volcado");
}

} // namespace agendatool
