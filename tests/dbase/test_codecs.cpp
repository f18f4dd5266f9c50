// What the bytes of a record, a key and a text mean.

#include "dbase/KeyExpression.h"
#include "dbase/Record.h"

#include <gtest/gtest.h>

#if __has_include(<iconv.h>)
#include <iconv.h>
#define HAVE_ICONV 1
#endif

namespace
{

using namespace dbase;

std::string asText(std::span<const std::uint8_t> bytes)
{
    return {bytes.begin(), bytes.end()};
}

struct NumberCase {
    const char *name;
    double number;
    int width;
    int decimals;
    const char *expected; // null: refused
};

TEST(Record, WritesNumbersRightAlignedOrRefusesThem)
{
    static const NumberCase cases[] = {
        {"a client code", 123.4567, 20, 4, "            123.4567"},
        {"rounds to the declared decimals", 2.5, 5, 0, "    2"},
        {"negative", -7, 4, 0, "  -7"},
        {"a rounded zero has no sign", -0.001, 6, 2, "  0.00"},
        {"too long", 12345, 4, 0, nullptr},
        {"fifteen digits do not fit with four decimals in ten", 1e15, 10, 4, nullptr},
        {"no number", std::numeric_limits<double>::quiet_NaN(), 10, 0, nullptr},
    };
    for (const NumberCase &c : cases) {
        SCOPED_TRACE(c.name);
        const FieldDefinition field{"N", FieldType::numeric, static_cast<std::uint8_t>(c.width),
                                    static_cast<std::uint8_t>(c.decimals), 1};
        auto record = blankRecord(static_cast<std::size_t>(c.width) + 1);
        const Status status = writeNumber(record, field, c.number);
        EXPECT_EQ(status.ok(), c.expected != nullptr);
        EXPECT_EQ(asText(record).substr(1),
                  c.expected ? c.expected : std::string(static_cast<std::size_t>(c.width), ' '));
        EXPECT_EQ(readNumber(record, field).has_value(), c.expected != nullptr);
    }
}

TEST(Record, ReadsOnlyDatesThatExist)
{
    static const struct {
        const char *stored;
        bool exists;
    } cases[] = {{"20240229", true},  {"20230229", false}, {"19000229", false}, {"20000229", true},
                 {"20241301", false}, {"20240431", false}, {"00000000", false}, {"        ", false},
                 {"2024 101", false}, {"99991231", true}};
    const FieldDefinition field{"D", FieldType::date, 8, 0, 1};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.stored);
        std::vector<std::uint8_t> record{' '};
        record.insert(record.end(), c.stored, c.stored + 8);
        EXPECT_EQ(readDate(record, field).has_value(), c.exists);
    }
    auto record = blankRecord(9);
    EXPECT_FALSE(writeDate(record, field, {2023, 2, 29}).ok());
    EXPECT_EQ(asText(record), std::string(9, ' '));
}

#if defined(HAVE_ICONV)
TEST(CodePage, AgreesWithTheSystemOnEveryByte)
{
    static const struct {
        CodePage page;
        const char *name;
    } pages[] = {{CodePage::dos437, "CP437"}, {CodePage::dos850, "CP850"}, {CodePage::windows1252, "CP1252"}};
    for (const auto &p : pages) {
        SCOPED_TRACE(p.name);
        iconv_t converter = iconv_open("UTF-16LE", p.name);
        ASSERT_NE(converter, reinterpret_cast<iconv_t>(-1));
        for (int byte = 0x20; byte < 0x100; ++byte) {
            char in = static_cast<char>(byte);
            char16_t out = 0;
            char *from = &in;
            char *to = reinterpret_cast<char *>(&out);
            std::size_t inLeft = 1;
            std::size_t outLeft = 2;
            const bool known = iconv(converter, &from, &inLeft, &to, &outLeft) == 0;
            const std::uint8_t one = static_cast<std::uint8_t>(byte);
            const auto decoded = decode(p.page, std::span(&one, 1));
            ASSERT_EQ(decoded.size(), 1U);
            if (known && byte != 0x7F) {
                EXPECT_EQ(decoded[0], out) << byte;
            }
            EXPECT_EQ(encode(p.page, decoded), std::string(1, in)) << byte;
        }
        iconv_close(converter);
    }
}
#endif

TEST(CodePage, ReplacesWhatItLacks)
{
    static const struct {
        CodePage page;
        const char16_t *text;
        const char *expected;
    } cases[] = {
        {CodePage::windows1252, u"a\x0101z", "aaz"},
        {CodePage::windows1252, u"\xD83D\xDE00!", "?!"},
        {CodePage::dos437, u"\x00C1lvaro", "Alvaro"},
        {CodePage::dos850, u"5 \x20AC", "5 E"},
        {CodePage::dos850, u"\x201Cs\x00ED\x201D", "\"s\xA1\""},
        {CodePage::windows1252, u"a\x001A\nb", "a? b"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(encode(c.page, c.text), c.expected);
}

TEST(KeyExpression, EvaluatesWhatOfficesUse)
{
    const std::vector<FieldDefinition> fields{{"FECHA", FieldType::date, 8, 0, 1},
                                              {"HORA", FieldType::character, 5, 0, 9},
                                              {"NOMBRE", FieldType::character, 6, 0, 14},
                                              {"CODIGO", FieldType::numeric, 6, 1, 20}};
    const std::string record = " 2024022909:30a\xF1o x \x20 12.5";
    static const struct {
        const char *expression;
        const char *key; // null: refused
    } cases[] = {
        {"DTOS(FECHA)+HORA", "2024022909:30"},
        {"dtos( fecha ) + hora", "2024022909:30"},
        {"UPPER(NOMBRE)", "A\xD1O X "},
        {"LEFT(HORA,2)+SUBSTR(HORA,4,2)", "0930"},
        {"TRIM(NOMBRE)+HORA", "a\xF1o x09:30 "},
        {"STR(CODIGO,8,2)", "   12.50"},
        {"STR(CODIGO,3)", " 12"},
        {"DTOS(HORA)", nullptr},
        {"FECHA+HORA+1", nullptr},
        {"NADIE", nullptr},
        {"SOUNDEX(NOMBRE)", nullptr},
        {"(HORA", nullptr},
        {"", nullptr},
    };
    const auto bytes = std::span(reinterpret_cast<const std::uint8_t *>(record.data()), record.size());
    for (const auto &c : cases) {
        SCOPED_TRACE(c.expression);
        const auto expression = KeyExpression::parse(c.expression, fields, CodePage::windows1252);
        ASSERT_EQ(expression.ok(), c.key != nullptr) << expression.status().text();
        if (c.key) {
            EXPECT_EQ(asText(expression.value().keyOf(bytes).bytes()), c.key);
        }
    }
    const auto agenda = KeyExpression::parse("DTOS(FECHA)+HORA", fields, CodePage::windows1252);
    EXPECT_EQ(agenda.value().leadingLength(std::vector<int>{0}), 8U);
    EXPECT_EQ(agenda.value().leadingLength(std::vector<int>{1, 0}), 13U);
    EXPECT_EQ(agenda.value().leadingLength(std::vector<int>{1}), 0U);
}

} // namespace
