#include "dbase/Status.h"

#include <cassert>

namespace dbase
{

Status::Status(ErrorKind kind, std::string text, std::string file, std::optional<std::uint64_t> offset)
    : m_kind(kind)
    , m_text(std::move(text))
    , m_file(std::move(file))
    , m_offset(offset)
{
}

std::string Status::message() const
{
    std::string out = m_file.empty() ? m_text : m_file + ": " + m_text;
    if (m_offset)
        out += " (posición " + std::to_string(*m_offset) + ")";
    return out;
}

Status asFailure(Status failure)
{
    assert(!failure.ok());
    if (failure.ok())
        return {ErrorKind::inputOutput, "no se sabe por qué ha fallado la operación"};
    return failure;
}

} // namespace dbase
