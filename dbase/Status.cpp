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

Status Status::ofRecord(std::uint32_t number) const
{
    Status same = *this;
    same.m_record = number;
    return same;
}

std::string Status::text() const
{
    return m_record ? m_text + ' ' + std::to_string(*m_record) : m_text;
}

std::string Status::message() const
{
    std::string out = m_file.empty() ? text() : m_file + ": " + text();
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
