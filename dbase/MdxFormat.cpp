#include "dbase/MdxFormat.h"
#include "dbase/KeyExpression.h"
#include "dbase/MdxOffsets.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstring>

namespace dbase
{

namespace
{

constexpr std::uint8_t slotMark = 0x10;
constexpr std::uint8_t slotsInHeader = 48;
constexpr int maxIndexKey = 100;

std::string textAt(std::span<const std::uint8_t> bytes, std::size_t at, std::size_t size)
{
    const auto *from =
        reinterpret_cast<const char *>(bytes.data() + at); // bytes and chars alias by the standard
    return {from, std::find(from, from + size, '\0')};
}

void putText(std::vector<std::uint8_t> &bytes, std::size_t at, const std::string &text, std::size_t size)
{
    std::memcpy(bytes.data() + at, text.data(), std::min(text.size(), size - 1));
}

Date dateAt(std::span<const std::uint8_t> bytes, std::size_t at)
{
    return {1900 + bytes[at], bytes[at + 1], bytes[at + 2]};
}

void putDate(std::vector<std::uint8_t> &bytes, std::size_t at, const Date &date)
{
    bytes[at] = static_cast<std::uint8_t>(date.year - 1900);
    bytes[at + 1] = static_cast<std::uint8_t>(date.month);
    bytes[at + 2] = static_cast<std::uint8_t>(date.day);
}

Status damaged(const char *text, std::uint64_t offset)
{
    return {ErrorKind::damaged, text, {}, offset};
}

bool isKeyType(std::uint8_t byte)
{
    return byte == 'C' || byte == 'D' || byte == 'N' || byte == 'F';
}

KeyType keyTypeOf(std::uint8_t byte)
{
    return byte == 'F' ? KeyType::numeric : static_cast<KeyType>(byte);
}

bool pageInside(PageNumber page, PageNumber pageCount)
{
    return page >= mdxFirstBlock && page % 2 == 0 && page <= pageCount - 2;
}

} // namespace

Result<MdxHeader> decodeMdxHeader(std::span<const std::uint8_t> bytes, std::uint64_t fileLength)
{
    if (bytes.size() < mdxHeaderSize || fileLength < mdxHeaderSize)
        return damaged("el índice es más corto que su cabecera", 0);
    if (bytes[mdxHeader::version] != 2)
        return Status(ErrorKind::unsupported, "el índice es de una versión que no se conoce", {},
                      mdxHeader::version);
    if (get16(&bytes[mdxHeader::blockPages]) != 2 || get16(&bytes[mdxHeader::blockLength]) != mdxBlockSize)
        return Status(ErrorKind::unsupported, "el índice tiene bloques de otro tamaño", {},
                      mdxHeader::blockPages);
    if (get16(&bytes[mdxHeader::slotLength]) != mdxSlot::length)
        return damaged("la tabla de órdenes del índice no tiene la forma esperada", mdxHeader::slotLength);
    MdxHeader out;
    out.tableName = textAt(bytes, mdxHeader::tableName, mdxHeader::tableNameSize);
    out.created = dateAt(bytes, mdxHeader::created);
    out.updated = dateAt(bytes, mdxHeader::updated);
    out.tagCount = get16(&bytes[mdxHeader::tagCount]);
    if (out.tagCount > mdxMaxTags)
        return damaged("el índice dice tener más de 47 órdenes", mdxHeader::tagCount);
    out.languageDriver = bytes[mdxHeader::language];
    out.pageCount = get32(&bytes[mdxHeader::pageCount]);
    if (out.pageCount < mdxFirstBlock || out.pageCount % 2 != 0 ||
        std::uint64_t{out.pageCount} * mdxPageSize > fileLength)
        return damaged("el índice dice tener más bloques que el fichero", mdxHeader::pageCount);
    out.freePage = get32(&bytes[mdxHeader::freePage]);
    if (out.freePage != 0 && !pageInside(out.freePage, out.pageCount))
        return damaged("la lista de bloques libres del índice sale del fichero", mdxHeader::freePage);
    return out;
}

Result<MdxTag> decodeMdxSlot(std::span<const std::uint8_t> bytes, int number, PageNumber pageCount)
{
    const std::size_t at = mdxHeader::firstSlot + mdxSlot::length * static_cast<std::size_t>(number - 1);
    MdxTag tag;
    tag.headerPage = get32(&bytes[at + mdxSlot::headerPage]);
    tag.name = textAt(bytes, at + mdxSlot::name, mdxSlot::nameSize);
    if (tag.name.empty())
        return damaged("un orden del índice no tiene nombre", at + mdxSlot::name);
    if (!pageInside(tag.headerPage, pageCount))
        return damaged("la cabecera de un orden queda fuera del índice", at);
    return tag;
}

Status decodeMdxTagHeader(std::span<const std::uint8_t> block, MdxTag &tag, PageNumber pageCount)
{
    tag.descending = (block[mdxTagHeader::flags] & mdxFlagDescending) != 0;
    tag.unique = (block[mdxTagHeader::flags] & mdxFlagUnique) != 0;
    tag.distinct = (block[mdxTagHeader::flags] & mdxFlagDistinct) != 0;
    tag.expression = textAt(block, mdxTagHeader::expression, mdxTagHeader::textSize);
    tag.filtered = block[mdxTagHeader::hasFilter] != 0;
    if (tag.filtered)
        tag.filter = textAt(block, mdxTagHeader::filter, mdxTagHeader::textSize);
    const std::uint64_t base = std::uint64_t{tag.headerPage} * mdxPageSize;
    tag.rootPage = get32(&block[mdxTagHeader::rootPage]);
    if (!pageInside(tag.rootPage, pageCount))
        return damaged("la raíz de un orden queda fuera del índice", base);
    if (!isKeyType(block[mdxTagHeader::keyType]))
        return damaged("un orden del índice tiene claves de un tipo desconocido",
                       base + mdxTagHeader::keyType);
    tag.keyType = keyTypeOf(block[mdxTagHeader::keyType]);
    tag.keyLength = get16(&block[mdxTagHeader::keyLength]);
    tag.maxItems = get16(&block[mdxTagHeader::maxItems]);
    tag.itemLength = get16(&block[mdxTagHeader::itemLength]);
    if (tag.keyLength < 1 || tag.keyLength > maxIndexKey ||
        (tag.keyType == KeyType::date && tag.keyLength != 8) ||
        (tag.keyType == KeyType::numeric && tag.keyLength != 12))
        return damaged("un orden del índice tiene claves de una longitud imposible",
                       base + mdxTagHeader::keyLength);
    if (tag.itemLength < tag.keyLength + 4 || tag.itemLength > 2 * maxIndexKey)
        return damaged("un orden del índice tiene entradas de una longitud imposible",
                       base + mdxTagHeader::itemLength);
    const std::size_t used =
        mdxBlock::items + // some programs fill a leaf to its last byte
        static_cast<std::size_t>(tag.maxItems) * static_cast<std::size_t>(tag.itemLength);
    if (tag.maxItems < 3 || used > mdxBlockSize)
        return damaged("un orden del índice no cabe en sus bloques", base + mdxTagHeader::maxItems);
    tag.changeCounter = block[mdxTagHeader::counter];
    return {};
}

std::vector<std::uint8_t> encodeMdxHeader(const MdxHeader &in, std::span<const MdxTag> tags)
{
    std::vector<std::uint8_t> out(mdxHeaderSize, 0);
    out[mdxHeader::version] = 2;
    putDate(out, mdxHeader::created, in.created);
    putText(out, mdxHeader::tableName, in.tableName, mdxHeader::tableNameSize);
    put16(&out[mdxHeader::blockPages], 2);
    put16(&out[mdxHeader::blockLength], mdxBlockSize);
    out[mdxHeader::production] = 1;
    out[mdxHeader::slotCount] = slotsInHeader;
    put16(&out[mdxHeader::slotLength], mdxSlot::length);
    put16(&out[mdxHeader::tagCount], static_cast<std::uint16_t>(tags.size()));
    out[mdxHeader::nextTag] = static_cast<std::uint8_t>(tags.size() + 1);
    out[mdxHeader::language] = in.languageDriver;
    put32(&out[mdxHeader::pageCount], in.pageCount);
    put32(&out[mdxHeader::freePage], in.freePage);
    putDate(out, mdxHeader::updated, in.updated);

    // The tags' names form a plain search tree in the order of their creation, the first at the top.
    const auto at = [](std::size_t number) { return mdxHeader::firstSlot + mdxSlot::length * (number - 1); };
    for (std::size_t number = 1; number <= tags.size(); ++number) {
        const MdxTag &tag = tags[number - 1];
        put32(&out[at(number) + mdxSlot::headerPage], tag.headerPage);
        putText(out, at(number) + mdxSlot::name, tag.name, mdxSlot::nameSize);
        out[at(number) + mdxSlot::mark] = slotMark;
        out[at(number) + mdxSlot::two] = 2;
        out[at(number) + mdxSlot::keyType] = static_cast<std::uint8_t>(tag.keyType);
        if (number == 1) {
            out[mdxHeader::nameTreeTop] = 1;
            continue;
        }
        for (std::size_t node = 1;;) {
            std::uint8_t &next =
                out[at(node) + (tag.name < tags[node - 1].name ? mdxSlot::left : mdxSlot::right)];
            if (next == 0) {
                next = static_cast<std::uint8_t>(number);
                out[at(number) + mdxSlot::above] = static_cast<std::uint8_t>(node);
                break;
            }
            node = next;
        }
    }
    return out;
}

std::vector<std::uint8_t> encodeMdxTagHeader(const MdxTag &tag, std::uint8_t languageDriver, bool singleField)
{
    std::vector<std::uint8_t> out(mdxBlockSize, 0);
    put32(&out[mdxTagHeader::rootPage], tag.rootPage);
    put32(&out[mdxTagHeader::pagesUsed], 4);
    out[mdxTagHeader::flags] = static_cast<std::uint8_t>(mdxFlagAlways | mdxKindFlags(tag));
    out[mdxTagHeader::keyType] = static_cast<std::uint8_t>(tag.keyType);
    out[mdxTagHeader::language] = languageDriver;
    put16(&out[mdxTagHeader::keyLength], static_cast<std::uint16_t>(tag.keyLength));
    put16(&out[mdxTagHeader::maxItems], static_cast<std::uint16_t>(tag.maxItems));
    put16(&out[mdxTagHeader::isDate], tag.keyType == KeyType::date ? 1 : 0);
    put16(&out[mdxTagHeader::itemLength], static_cast<std::uint16_t>(tag.itemLength));
    out[mdxTagHeader::counter] = tag.changeCounter;
    out[mdxTagHeader::unique] = tag.unique ? 1 : 0;
    putText(out, mdxTagHeader::expression, tag.expression, mdxTagHeader::textSize);
    out[mdxTagHeader::hasFilter] = tag.filter.empty() ? 0 : 1;
    out[mdxTagHeader::hasKeys] = 1;
    out[mdxTagHeader::singleField] = singleField ? 1 : 0;
    putText(out, mdxTagHeader::filter, tag.filter, mdxTagHeader::textSize);
    return out;
}

int mdxItemLength(int keyLength)
{
    return (keyLength + 4 + 3) / 4 * 4;
}

int mdxItemsPerBlock(int itemLength)
{
    return static_cast<int>(mdxBlockSize - mdxBlock::items - mdxBlock::childSize) / itemLength;
}

// ---------------------------------------------------------------------------------------------------------------------

namespace
{

double doubleOf(const std::uint8_t *bytes)
{
    return std::bit_cast<double>(get64(bytes));
}

// A decimal key: byte 0 is 34h plus the digits before the point, byte 1 sign, number of digits and 01, then
// the digits, two to a byte.
constexpr int decimalDigits = 20;
constexpr int exponentZero = 0x34;

int compareDecimal(const std::uint8_t *a, const std::uint8_t *b)
{
    const auto sign = [](const std::uint8_t *key) {
        const int digits = (key[1] >> 2) & 0x1F;
        return digits == 0 ? 0 : (key[1] & 0x80) != 0 ? -1 : 1;
    };
    const int signA = sign(a);
    const int signB = sign(b);
    if (signA != signB)
        return signA - signB;
    if (signA == 0)
        return 0;
    const int size = a[0] != b[0] ? a[0] - b[0] : std::memcmp(a + 2, b + 2, 10);
    return signA > 0 ? size : -size;
}

void decimalFromDouble(double value, std::uint8_t *out)
{
    std::memset(out, 0, 12);
    out[0] = exponentZero;
    out[1] = 1;
    if (value == 0.0 || !std::isfinite(value))
        return;
    // Fifteen digits are all that a double has for sure; "d.dddde+xx" gives them and the exponent at once.
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), std::fabs(value),
                                   std::chars_format::scientific, 14)
                         .ptr;
    const char *mark = std::find<const char *>(text.data(), end, 'e');
    int exponent = 0;
    std::from_chars(mark + (mark[1] == '+' ? 2 : 1), end, exponent);
    std::string digits(1, text[0]);
    digits.append(static_cast<const char *>(text.data()) + 2, mark);
    while (!digits.empty() && digits.back() == '0')
        digits.pop_back();
    out[0] = static_cast<std::uint8_t>(exponentZero + exponent + 1);
    out[1] =
        static_cast<std::uint8_t>((value < 0 ? 0x80U : 0U) | static_cast<unsigned>(digits.size()) << 2U | 1U);
    for (std::size_t i = 0; i < digits.size(); ++i) {
        const auto digit = static_cast<unsigned>(digits[i] - '0');
        out[2 + i / 2] = static_cast<std::uint8_t>(out[2 + i / 2] | (i % 2 == 0 ? digit << 4U : digit));
    }
}

double doubleFromDecimal(const std::uint8_t *key)
{
    const int digits = std::min((key[1] >> 2) & 0x1F, decimalDigits);
    if (digits == 0)
        return 0;
    std::string text = (key[1] & 0x80) != 0 ? "-0." : "0.";
    for (int i = 0; i < digits; ++i)
        text += static_cast<char>('0' + ((key[2 + i / 2] >> (i % 2 == 0 ? 4 : 0)) & 0x0F) % 10);
    text += 'e' + std::to_string(key[0] - exponentZero);
    double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

} // namespace

int compareMdxKeys(KeyType type, const std::uint8_t *a, const std::uint8_t *b, std::size_t length)
{
    switch (type) {
    case KeyType::character:
        break;
    case KeyType::date: {
        const double x = doubleOf(a);
        const double y = doubleOf(b);
        return x < y ? -1 : x > y ? 1 : 0;
    }
    case KeyType::numeric:
        return compareDecimal(a, b);
    }
    return std::memcmp(a, b, length);
}

namespace
{

// A date key is the Julian day number as a double; blank dates stand behind all others.
constexpr int julianOfUnixEpoch = 2440588;
constexpr double blankDateKey = 1e300;

double julianOfText(std::span<const std::uint8_t> digits)
{
    const FieldDefinition whole{"D", FieldType::date, 8, 0, 0};
    const auto date = readDate(digits, whole);
    if (!date)
        return blankDateKey;
    const std::chrono::year_month_day day{std::chrono::year(date->year),
                                          std::chrono::month(static_cast<unsigned>(date->month)),
                                          std::chrono::day(static_cast<unsigned>(date->day))};
    return static_cast<double>(std::chrono::sys_days(day).time_since_epoch().count() + julianOfUnixEpoch);
}

std::vector<std::uint8_t> textOfJulian(double julian)
{
    std::vector<std::uint8_t> out(8, blankDateByte);
    if (!(julian > 1721425.0 && julian < 5373485.0)) // years 1 to 9999
        return out;
    const std::chrono::sys_days days{std::chrono::days(static_cast<int>(julian) - julianOfUnixEpoch)};
    const std::chrono::year_month_day date{days};
    unsigned value = static_cast<unsigned>(static_cast<int>(date.year())) * 10000 +
                     static_cast<unsigned>(date.month()) * 100 + static_cast<unsigned>(date.day());
    for (std::size_t i = 8; i-- > 0; value /= 10)
        out[i] = static_cast<std::uint8_t>('0' + value % 10);
    return out;
}

} // namespace

void mdxKeyFromIndexKey(KeyType type, std::span<const std::uint8_t> key, std::span<std::uint8_t> out)
{
    switch (type) {
    case KeyType::character:
        std::copy_n(key.begin(), std::min(key.size(), out.size()), out.begin());
        return;
    case KeyType::date:
        put64(out.data(), std::bit_cast<std::uint64_t>(julianOfText(key)));
        return;
    case KeyType::numeric:
        decimalFromDouble(doubleOfComparable(key.data()), out.data());
        return;
    }
}

std::vector<std::uint8_t> indexKeyFromMdxKey(KeyType type, std::span<const std::uint8_t> key)
{
    if (type == KeyType::date)
        return textOfJulian(doubleOf(key.data()));
    std::vector<std::uint8_t> out(key.begin(), key.end());
    if (type == KeyType::numeric) {
        out.resize(8);
        putComparable(doubleFromDecimal(key.data()), out.data());
    }
    return out;
}

} // namespace dbase
