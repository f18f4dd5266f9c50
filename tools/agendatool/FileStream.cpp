#include "tools/agendatool/FileStream.h"

#include "upkeep/TableCare.h"

namespace agendatool
{

FileStream::Buffer::Buffer(const std::filesystem::path &path, std::filesystem::perms most)
    : bytes(std::size_t{64} * 1024)
{
    auto made = dbase::File::create(path);
    status = made.status();
    if (made.ok()) {
        file = std::move(made).value();
        upkeep::narrow(path, most);
    }
    setp(bytes.data(), bytes.data() + bytes.size());
}

int FileStream::Buffer::sync()
{
    const auto held = static_cast<std::size_t>(pptr() - pbase());
    if (status.ok())
        status = file.writeAt(at, std::span(reinterpret_cast<const std::uint8_t *>(pbase()), held));
    at += held;
    setp(bytes.data(), bytes.data() + bytes.size());
    return status.ok() ? 0 : -1;
}

FileStream::Buffer::int_type FileStream::Buffer::overflow(int_type character)
{
    if (sync() != 0)
        return traits_type::eof();
    if (!traits_type::eq_int_type(character, traits_type::eof()))
        sputc(traits_type::to_char_type(character));
    return traits_type::not_eof(character);
}

FileStream::FileStream(const std::filesystem::path &file, std::filesystem::perms most)
    : std::ostream(nullptr)
    , m_buffer(file, most)
{
    rdbuf(&m_buffer);
    if (!m_buffer.status.ok())
        setstate(std::ios::badbit);
}

dbase::Status FileStream::finish()
{
    m_buffer.pubsync();
    if (m_buffer.status.ok())
        m_buffer.status = m_buffer.file.sync();
    m_buffer.file.close();
    return m_buffer.status;
}

} // namespace agendatool
