#pragma once

#include "dbase/Export.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace dbase
{

/// What went wrong, for the program to decide on; the text of a Status is for people.
enum class ErrorKind {
    none,
    notFound,        ///< the file, tag or record is not there
    damaged,         ///< the bytes of a file cannot be right
    unsupported,     ///< a sound file of a kind that is not handled
    invalidArgument, ///< the caller asked for something impossible
    inputOutput,     ///< the operating system refused a call
    locked,          ///< another process or handle holds what is needed
    readOnly,        ///< the table was opened for reading only
    conflict,        ///< the record is no longer what the caller read
    full,            ///< no room: disk, field or file limit
};

/// Outcome of an operation on a table file: success, or a kind, a Spanish text for the user and where it
/// happened.
class [[nodiscard]] DBASE_EXPORT Status
{
public:
    Status() = default;
    /// @param text    Spanish, UTF-8, one sentence without the file's name.
    /// @param file    the file concerned, UTF-8; may be empty.
    /// @param offset  byte offset in the file, when one place is to blame.
    Status(ErrorKind kind, std::string text, std::string file = {}, std::optional<std::uint64_t> offset = {});

    [[nodiscard]] bool ok() const { return m_kind == ErrorKind::none; }
    [[nodiscard]] ErrorKind kind() const { return m_kind; }
    /// The sentence, with the number of the record that it is about, where it is about one.
    [[nodiscard]] std::string text() const;
    /// The sentence without that number, for people who have never seen one.
    [[nodiscard]] const std::string &plainText() const { return m_text; }
    /// The number of the record that it is about, where it is about one.
    [[nodiscard]] std::optional<std::uint32_t> record() const { return m_record; }
    /// The same failure, of one record. @param number  1-based; the sentence ends where it is to stand.
    [[nodiscard]] Status ofRecord(std::uint32_t number) const;
    [[nodiscard]] const std::string &file() const { return m_file; }
    [[nodiscard]] std::optional<std::uint64_t> offset() const { return m_offset; }

    /// The whole message, "file: text (posición n)", for showing to the user or logging.
    [[nodiscard]] std::string message() const;

private:
    ErrorKind m_kind = ErrorKind::none;
    std::string m_text;
    std::string m_file;
    std::optional<std::uint64_t> m_offset;
    std::optional<std::uint32_t> m_record;
};

/// The failure given. A success, which a caller would take for a value that is not there, is a programming
/// error, and a failure all the same.
[[nodiscard]] DBASE_EXPORT Status asFailure(Status failure);

/// A value, or the Status that says why there is none. Asking for the wrong one of the two is a programming
/// error.
template <class T> class [[nodiscard]] Result
{
public:
    Result(T value)
        : m_content(std::in_place_index<1>, std::move(value))
    {
    }
    /// @param failure  one that is none is a programming error; it counts as inputOutput.
    Result(Status failure)
        : m_content(std::in_place_index<0>, asFailure(std::move(failure)))
    {
    }

    [[nodiscard]] bool ok() const { return m_content.index() == 1; }
    [[nodiscard]] T &value() & { return std::get<1>(m_content); }
    [[nodiscard]] const T &value() const & { return std::get<1>(m_content); }
    [[nodiscard]] T &&value() && { return std::get<1>(std::move(m_content)); }
    /// The failure, or a successful Status when there is a value.
    [[nodiscard]] Status status() const { return ok() ? Status() : std::get<0>(m_content); }

private:
    std::variant<Status, T> m_content;
};

} // namespace dbase
