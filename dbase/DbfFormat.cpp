#include "dbase/DbfFormat.h"

#include <algorithm>
#include <set>

namespace dbase
{

namespace
{

constexpr std::size_t versionOffset = 0;
constexpr std::size_t headerLengthOffset = 8;
constexpr std::size_t recordLengthOffset = 10;
constexpr std::size_t encryptedOffset = 15;
constexpr std::size_t indexFlagOffset = 28;
constexpr std::size_t languageOffset = 29;
constexpr std::size_t descriptorSize = 32;
constexpr std::size_t nameSize = 11;
constexpr std::size_t typeOffset = 11;
constexpr std::size_t widthOffset = 16;
constexpr std::size_t decimalsOffset = 17;
constexpr std::uint8_t headerEnd = 0x0D;
constexpr std::size_t maxFields = 255;
constexpr std::size_t maxRecordLength = 65535;

std::size_t get16(std::span<const std::uint8_t> bytes, std::size_t at)
{
    return static_cast<std::size_t>(bytes[at] | bytes[at + 1] << 8);
}

Status damaged(std::string text, std::size_t offset)
{
    return {ErrorKind::damaged, std::move(text), {}, offset};
}
Status unsupported(std::string text, std::size_t offset)
{
    return {ErrorKind::unsupported, std::move(text), {}, offset};
}

Status checkVersion(std::uint8_t version)
{
    switch (version) {
    case 0x03:
        return {};
    case 0x83:
    case 0x8B:
        return unsupported("la tabla tiene campos memo, que no se admiten", versionOffset);
    case 0x43:
    case 0x63:
    case 0xCB:
        return unsupported("la tabla pertenece a un catálogo SQL, que no se admite", versionOffset);
    case 0x04:
    case 0x8C:
        return unsupported("la tabla es de nivel 7, que no se admite", versionOffset);
    case 0x02:
    case 0x30:
    case 0x31:
    case 0x32:
    case 0xF5:
    case 0xFB:
        return unsupported("la tabla es de otra familia de programas", versionOffset);
    default:
        return damaged("no es una tabla dBase", versionOffset);
    }
}

bool isNameCharacter(std::uint8_t c)
{
    return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

/// Width and decimals that a field of the type can have.
bool isPossibleShape(const FieldDefinition &field)
{
    switch (field.type) {
    case FieldType::character:
        return field.width >= 1;
    case FieldType::date:
        return field.width == 8;
    case FieldType::logical:
        return field.width == 1;
    case FieldType::numeric:
    case FieldType::floating:
        return field.width >= 1 && field.width <= 32 &&
               (field.decimals == 0 || field.decimals + 1 < field.width);
    }
    return false;
}

Result<FieldDefinition> decodeDescriptor(std::span<const std::uint8_t> bytes, std::size_t at)
{
    FieldDefinition field;
    for (std::size_t i = 0; i < nameSize && bytes[at + i] != 0; ++i) {
        const auto c = static_cast<std::uint8_t>(
            bytes[at + i] >= 'a' && bytes[at + i] <= 'z' ? bytes[at + i] - 0x20 : bytes[at + i]);
        if (i == nameSize - 1 || c < 0x20)
            return damaged("el nombre de un campo no es posible", at);
        field.name += static_cast<char>(c);
    }
    field.name.erase(field.name.find_last_not_of(' ') + 1);
    if (field.name.empty())
        return damaged("un campo no tiene nombre", at);
    const std::uint8_t type = bytes[at + typeOffset];
    switch (type) {
    case 'C':
    case 'D':
    case 'N':
    case 'F':
    case 'L':
        field.type = static_cast<FieldType>(type);
        break;
    case 'M':
    case 'B':
    case 'G':
        return unsupported("el campo " + field.name + " es un memo, que no se admite", at + typeOffset);
    default:
        return damaged("el campo " + field.name + " es de un tipo desconocido", at + typeOffset);
    }
    field.width = bytes[at + widthOffset];
    field.decimals = field.type == FieldType::numeric || field.type == FieldType::floating
                         ? bytes[at + decimalsOffset]
                         : 0;
    if (!isPossibleShape(field))
        return damaged("el campo " + field.name + " tiene una anchura imposible", at + widthOffset);
    return field;
}

} // namespace

Result<std::size_t> dbfHeaderLength(std::span<const std::uint8_t> bytes)
{
    if (bytes.size() < dbfFixedHeader + 1)
        return damaged("el fichero es más corto que la cabecera de una tabla", 0);
    if (const Status status = checkVersion(bytes[versionOffset]); !status.ok())
        return status;
    const std::size_t length = get16(bytes, headerLengthOffset);
    if (length < dbfFixedHeader + descriptorSize + 1)
        return damaged("la longitud de la cabecera no es posible", headerLengthOffset);
    return length;
}

Result<TableHeader> decodeDbfHeader(std::span<const std::uint8_t> bytes)
{
    const auto length = dbfHeaderLength(bytes);
    if (!length.ok())
        return length.status();
    if (bytes.size() < length.value())
        return damaged("el fichero acaba dentro de la cabecera", headerLengthOffset);
    if (bytes[encryptedOffset] == 1)
        return unsupported("la tabla está cifrada", encryptedOffset);

    TableHeader header;
    header.headerLength = length.value();
    header.recordLength = get16(bytes, recordLengthOffset);
    header.recordCount = decodeCount(bytes.subspan(dbfCountOffset, 4));
    header.hasProductionIndex = (bytes[indexFlagOffset] & 1U) != 0;
    header.languageDriver = bytes[languageOffset];
    const auto page = codePageOfDriver(header.languageDriver);
    if (!page)
        return unsupported("la tabla usa un juego de caracteres que no se conoce", languageOffset);
    header.codePage = *page;

    std::size_t offset = 1;
    std::set<std::string> names;
    std::size_t at = dbfFixedHeader;
    for (; at < header.headerLength && bytes[at] != headerEnd; at += descriptorSize) {
        if (at + descriptorSize > header.headerLength)
            return damaged("la cabecera acaba dentro de un campo", at);
        auto field = decodeDescriptor(bytes, at);
        if (!field.ok())
            return field.status();
        if (!names.insert(field.value().name).second)
            return damaged("dos campos se llaman " + field.value().name, at);
        field.value().offset = static_cast<std::uint16_t>(offset);
        offset += field.value().width;
        header.fields.push_back(std::move(field).value());
        if (header.fields.size() > maxFields)
            return damaged("la tabla dice tener demasiados campos", at);
    }
    if (at >= header.headerLength)
        return damaged("falta el final de la lista de campos", at);
    if (header.fields.empty())
        return damaged("la tabla no tiene campos", dbfFixedHeader);
    if (offset != header.recordLength)
        return damaged("la longitud de la línea no es la suma de sus campos", recordLengthOffset);
    return header;
}

Result<std::vector<std::uint8_t>> encodeDbfHeader(const TableDefinition &definition, Date today)
{
    const auto refuse = [](std::string text) { return Status(ErrorKind::invalidArgument, std::move(text)); };
    if (definition.fields.empty() || definition.fields.size() > maxFields)
        return refuse("una tabla tiene entre 1 y 255 campos");
    if (!codePageOfDriver(definition.languageDriver))
        return refuse("no se conoce ese juego de caracteres");
    const std::size_t length = dbfFixedHeader + descriptorSize * definition.fields.size() + 1;
    std::vector<std::uint8_t> out(length, 0);
    std::size_t recordLength = 1;
    std::set<std::string> names;
    std::size_t at = dbfFixedHeader;
    for (const FieldDefinition &field : definition.fields) {
        const bool goodName = !field.name.empty() && field.name.size() < nameSize &&
                              std::all_of(field.name.begin(), field.name.end(), [](char c) {
                                  return isNameCharacter(static_cast<std::uint8_t>(c));
                              });
        if (!goodName || !names.insert(field.name).second || !isPossibleShape(field))
            return refuse("el campo «" + field.name + "» no es posible en una tabla");
        std::copy(field.name.begin(), field.name.end(), out.begin() + static_cast<std::ptrdiff_t>(at));
        out[at + typeOffset] = static_cast<std::uint8_t>(field.type);
        out[at + widthOffset] = field.width;
        out[at + decimalsOffset] = field.decimals;
        recordLength += field.width;
        at += descriptorSize;
    }
    if (recordLength > maxRecordLength)
        return refuse("las líneas de la tabla serían demasiado largas");
    out[at] = headerEnd;
    out[versionOffset] = 0x03;
    const auto dateAndCount = encodeDateAndCount(today, 0);
    std::copy(dateAndCount.begin(), dateAndCount.end(), out.begin() + dbfDateOffset);
    out[headerLengthOffset] = static_cast<std::uint8_t>(length);
    out[headerLengthOffset + 1] = static_cast<std::uint8_t>(length >> 8U);
    out[recordLengthOffset] = static_cast<std::uint8_t>(recordLength);
    out[recordLengthOffset + 1] = static_cast<std::uint8_t>(recordLength >> 8U);
    out[languageOffset] = definition.languageDriver;
    return out;
}

std::vector<std::uint8_t> encodeDateAndCount(Date today, RecordNumber count)
{
    return {static_cast<std::uint8_t>(today.year - 1900), static_cast<std::uint8_t>(today.month),
            static_cast<std::uint8_t>(today.day),         static_cast<std::uint8_t>(count),
            static_cast<std::uint8_t>(count >> 8U),       static_cast<std::uint8_t>(count >> 16U),
            static_cast<std::uint8_t>(count >> 24U)};
}

RecordNumber decodeCount(std::span<const std::uint8_t> bytes)
{
    return static_cast<RecordNumber>(bytes[0]) | static_cast<RecordNumber>(bytes[1]) << 8U |
           static_cast<RecordNumber>(bytes[2]) << 16U | static_cast<RecordNumber>(bytes[3]) << 24U;
}

bool looksLikeRecord(std::span<const std::uint8_t> record, const TableHeader &header)
{
    if (record.size() != header.recordLength || (record[0] != liveMark && record[0] != deletedMark))
        return false;
    if (std::any_of(record.begin(), record.end(), [](std::uint8_t byte) { return byte < 0x20; }))
        return false;
    return std::all_of(header.fields.begin(), header.fields.end(), [&](const FieldDefinition &field) {
        if (field.type != FieldType::date)
            return true;
        const auto bytes = record.subspan(field.offset, field.width);
        const bool blank = std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t b) { return b == 0x20; });
        return blank || readDate(record, field).has_value();
    });
}

} // namespace dbase
