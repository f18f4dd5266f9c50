#pragma once

#include <ostream>
#include <streambuf>

namespace agendatool
{

/// Writes UTF-8 on to another stream with a "?" for each character that a terminal would obey instead of
/// showing it; line ends stay. What a table or a file is called, or holds, is then only ever read.
class PlainText : public std::streambuf
{
public:
    /// @param to  outlives this object.
    explicit PlainText(std::ostream &to)
        : m_to(to)
    {
    }
    ~PlainText() override { letGo(); }
    PlainText(const PlainText &) = delete;
    PlainText &operator=(const PlainText &) = delete;

protected:
    int_type overflow(int_type character) override;
    int sync() override;

private:
    void letGo();
    void take(unsigned char byte);

    std::ostream &m_to;
    unsigned char m_held =
        0;          ///< what the next byte decides about: a CR, or the lead byte of a control character
    int m_rest = 0; ///< bytes still to come of a character
};

/// A stream of that kind.
class PlainStream : public std::ostream
{
public:
    explicit PlainStream(std::ostream &to)
        : std::ostream(nullptr)
        , m_text(to)
    {
        rdbuf(&m_text);
    }

private:
    PlainText m_text;
};

} // namespace agendatool
