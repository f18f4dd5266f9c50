#include "tools/agendatool/PlainText.h"

#include <utility>

namespace agendatool
{

namespace
{

constexpr unsigned char carriageReturn = '\r';
constexpr unsigned char controlLead = 0xC2; ///< in front of 80h to 9Fh, which are U+0080 to U+009F

bool isControl(unsigned char byte)
{
    return (byte < 0x20 && byte != '\n') || byte == 0x7F;
}

int bytesBehind(unsigned char lead)
{
    return lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= controlLead ? 1 : 0;
}

} // namespace

void PlainText::letGo()
{
    if (std::exchange(m_held, 0) != 0)
        m_to.put('?');
}

void PlainText::take(unsigned char byte)
{
    const bool continues = (byte & 0xC0U) == 0x80U;
    if (m_held == carriageReturn && byte == '\n') {
        m_held = 0;
        m_to.put('\r');
    } else if (m_held == controlLead && continues && byte >= 0xA0) {
        m_held = 0;
        m_to.put(static_cast<char>(controlLead)).put(static_cast<char>(byte));
        return;
    } else if (m_held == controlLead && continues) {
        letGo();
        return;
    }
    letGo();
    if (byte == carriageReturn || byte == controlLead) {
        m_held = byte;
        m_rest = 0;
    } else if (continues && m_rest > 0) {
        --m_rest;
        m_to.put(static_cast<char>(byte));
    } else {
        // A byte that continues nothing is, to a terminal of another encoding, a control character.
        m_rest = bytesBehind(byte);
        m_to.put(isControl(byte) || continues ? '?' : static_cast<char>(byte));
    }
}

PlainText::int_type PlainText::overflow(int_type character)
{
    if (!traits_type::eq_int_type(character, traits_type::eof()))
        take(static_cast<unsigned char>(traits_type::to_char_type(character)));
    return m_to.good() ? traits_type::not_eof(character) : traits_type::eof();
}

int PlainText::sync()
{
    return m_to.flush().good() ? 0 : -1;
}

} // namespace agendatool
