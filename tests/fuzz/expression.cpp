// An index expression of any text, up to the first byte 0, over a line of the bytes behind it.

#include "dbase/FilterExpression.h"
#include "dbase/KeyExpression.h"
#include "tests/fuzz/Targets.h"

#include <vector>

namespace
{

using dbase::FieldType;

const std::vector<dbase::FieldDefinition> &fields()
{
    static const std::vector<dbase::FieldDefinition> all{
        {"FECHA", FieldType::date, 8, 0, 1},        {"HORA", FieldType::character, 5, 0, 9},
        {"TEXTO", FieldType::character, 30, 0, 14}, {"LARGO", FieldType::character, 254, 0, 44},
        {"N", FieldType::numeric, 8, 2, 298},       {"F", FieldType::floating, 20, 4, 306},
        {"SI", FieldType::logical, 1, 0, 326}};
    return all;
}
constexpr std::size_t recordLength = 327;

} // namespace

void fuzz::expression(Bytes input)
{
    std::size_t end = 0;
    while (end < input.size() && input[end] != 0)
        ++end;
    const std::string_view text(reinterpret_cast<const char *>(input.data()), end);
    std::vector<std::uint8_t> record(recordLength, 0x20);
    for (std::size_t i = 0; end + 1 + i < input.size() && i < record.size(); ++i)
        record[i] = input[end + 1 + i];

    const auto filter = dbase::FilterExpression::parse(text, fields(), dbase::CodePage::windows1252);
    expect(filter.ok() || !filter.status().text().empty(), "a refusal says why");
    if (filter.ok()) {
        const bool accepted = filter.value().accepts(record);
        const std::string opposite = ".NOT.(" + filter.value().text() + ")";
        const auto other = dbase::FilterExpression::parse(opposite, fields(), dbase::CodePage::windows1252);
        expect(!other.ok() || other.value().accepts(record) != accepted, "a line is on one side only");
    }

    for (const auto page : {dbase::CodePage::dos437, dbase::CodePage::dos850, dbase::CodePage::windows1252}) {
        const auto parsed = dbase::KeyExpression::parse(text, fields(), page);
        if (!parsed.ok()) {
            expect(!parsed.status().text().empty(), "a refusal says why");
            return;
        }
        const dbase::KeyExpression &compiled = parsed.value();
        expect(compiled.keyLength() >= 1 && compiled.keyLength() <= dbase::maxKeyLength,
               "keys have a length");
        expect(compiled.keyOf(record).length() == compiled.keyLength(), "every key has that length");
        expect(!compiled.fieldsUsed().empty(), "no expression is without a field");
        expect(compiled.leadingLength(compiled.fieldsUsed()) <= compiled.keyLength(),
               "the leading part lies in the key");
        const auto again = dbase::KeyExpression::parse(compiled.text(), fields(), page);
        expect(again.ok() && again.value().keyLength() == compiled.keyLength(), "its own text is understood");
    }
}
