// The header of a table, and its lines over whatever stands behind it.

#include "dbase/DbfFormat.h"
#include "tests/fuzz/Targets.h"

#include <algorithm>

namespace
{

void readField(fuzz::Bytes record, const dbase::FieldDefinition &field, dbase::CodePage page)
{
    std::vector<std::uint8_t> copy(record.begin(), record.end());
    const auto sameField = [&] {
        return std::equal(copy.begin() + field.offset, copy.begin() + field.offset + field.width,
                          record.begin() + field.offset);
    };
    const auto text = dbase::readText(record, field, page);
    fuzz::expect(text.size() <= field.width, "a text is no longer than its field");
    if (std::all_of(text.begin(), text.end(), [page](char16_t c) { return dbase::canEncode(page, c); })) {
        dbase::writeText(copy, field, page, text);
        fuzz::expect(sameField(), "a text that is written back is the same bytes");
    }
    if (const auto date = dbase::readDate(record, field)) {
        fuzz::expect(dbase::writeDate(copy, field, *date).ok() && sameField(),
                     "a date that is written back is the same bytes");
    }
    if (const auto number = dbase::readNumber(record, field);
        number && field.type != dbase::FieldType::character) {
        if (dbase::writeNumber(copy, field, *number).ok())
            fuzz::expect(dbase::readNumber(copy, field).has_value(), "a number that is written can be read");
    }
    static_cast<void>(dbase::readLogical(record, field)); // any answer is right, a fault is not
}

/// A header that our own code writes for the same fields says the same.
void writeHeaderAgain(const dbase::TableHeader &header)
{
    const auto bytes = dbase::encodeDbfHeader({header.fields, header.languageDriver, {}}, {2026, 1, 1});
    if (!bytes.ok())
        return; // names that we read but do not write
    const auto again = dbase::decodeDbfHeader(bytes.value());
    fuzz::expect(again.ok() && again.value().recordLength == header.recordLength &&
                     again.value().fields.size() == header.fields.size(),
                 "a header written for the fields of another is like it");
}

} // namespace

void fuzz::dbf_header(Bytes input)
{
    const auto decoded = dbase::decodeDbfHeader(input);
    if (!decoded.ok()) {
        expect(!decoded.status().text().empty(), "a refusal says why");
        return;
    }
    const dbase::TableHeader &header = decoded.value();
    expect(header.headerLength <= input.size(), "the header lies inside the file");
    for (const auto &field : header.fields)
        expect(std::size_t{field.offset} + field.width <= header.recordLength, "fields lie inside the line");
    writeHeaderAgain(header);
    for (std::size_t at = header.headerLength; at + header.recordLength <= input.size();
         at += header.recordLength) {
        const Bytes record = input.subspan(at, header.recordLength);
        for (const auto &field : header.fields)
            readField(record, field, header.codePage);
        if (dbase::looksLikeRecord(record, header))
            expect(record[0] == dbase::liveMark || record[0] == dbase::deletedMark, "a line has a mark");
    }
}
