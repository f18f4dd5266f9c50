// What somebody sees on a terminal is only ever text, whatever a table or a file is called or holds.

#include "tools/agendatool/PlainText.h"

#include <gtest/gtest.h>

#include <sstream>

namespace
{

std::string shown(std::string_view text)
{
    std::ostringstream out;
    agendatool::PlainStream plain(out);
    plain << text;
    return out.str();
}

TEST(PlainText, ControlCharactersAreShownAsQuestionMarks)
{
    const struct {
        std::string_view text;
        std::string_view shown;
    } cases[] = {
        {"Peña € 😀 y más\n", "Peña € 😀 y más\n"},
        {"a\r\nb\n", "a\r\nb\n"},
        {"verdadero\rfalso", "verdadero?falso"},
        {"\x1b[2J\x07", "?[2J?"},
        {{"\x00\x7f\x01", 3}, "???"},
        {"\xc2\x9b"
         "2J",
         "?2J"}, // CSI in a single character
        {"\x9b"
         "2J",
         "?2J"},                    // the same to a terminal of another encoding
        {"\xc2\xa0¡", "\xc2\xa0¡"}, // its neighbours that are text
        {"\xc3\x1b[m", "\xc3?[m"},
        {"\xe2\x80\x9b", "\xe2\x80\x9b"}, // the same bytes inside a longer character
    };
    for (const auto &c : cases)
        EXPECT_EQ(shown(c.text), c.shown);
    std::ostringstream out;
    {
        agendatool::PlainStream plain(out);
        for (const char byte : std::string_view("a\xc2\x9b\r\n\r"))
            plain << byte; // decided about one by one
    }
    EXPECT_EQ(out.str(), "a?\r\n?");
}

} // namespace
