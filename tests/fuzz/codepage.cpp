// Bytes to characters and back in every code page, and any characters to bytes.

#include "dbase/CodePage.h"
#include "tests/fuzz/Targets.h"

#include <algorithm>
#include <cstring>

namespace
{

void thereAndBack(dbase::CodePage page, fuzz::Bytes bytes)
{
    const std::u16string text = dbase::decode(page, bytes);
    fuzz::expect(text.size() == bytes.size(), "a byte is a character");
    const std::string back = dbase::encode(page, text);
    fuzz::expect(back.size() == bytes.size(), "a character of the page is a byte");
    for (std::size_t i = 0; i < bytes.size(); ++i)
        fuzz::expect(!dbase::canEncode(page, text[i]) || static_cast<std::uint8_t>(back[i]) == bytes[i],
                     "a character of the page comes back as its byte");
}

void anyText(dbase::CodePage page, std::u16string_view text)
{
    const std::string bytes = dbase::encode(page, text);
    fuzz::expect(bytes.size() <= text.size(), "no text becomes longer");
    fuzz::expect(
        std::all_of(bytes.begin(), bytes.end(), [](char c) { return static_cast<std::uint8_t>(c) >= 0x20; }),
        "no control byte comes out");
}

} // namespace

void fuzz::codepage(Bytes input)
{
    std::u16string text(input.size() / sizeof(char16_t), u'\0');
    if (!text.empty())
        std::memcpy(text.data(), input.data(), text.size() * sizeof(char16_t));
    for (const auto page : {dbase::CodePage::dos437, dbase::CodePage::dos850, dbase::CodePage::windows1252}) {
        thereAndBack(page, input);
        anyText(page, text);
        for (const std::uint8_t byte : input)
            expect(dbase::toUpper(page, dbase::toUpper(page, byte)) == dbase::toUpper(page, byte),
                   "a capital has no other capital");
    }
}
