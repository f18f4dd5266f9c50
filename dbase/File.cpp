#include "dbase/FileNative.h"

namespace dbase
{

std::string displayName(const std::filesystem::path &file)
{
    const auto text = file.u8string();
    return {text.begin(), text.end()};
}

File::File(std::unique_ptr<Native> native)
    : m_native(std::move(native))
{
}
File::File()
    : m_native(std::make_unique<Native>())
{
}
File::File(File &&other) noexcept = default;
File &File::operator=(File &&other) noexcept = default;
File::~File() = default;

bool File::isOpen() const
{
    return m_native && m_native->isOpen();
}

Result<File> File::create(const std::filesystem::path &path)
{
    return make(path, nullptr);
}

Result<File> File::createBeside(const File &owner, const std::filesystem::path &path)
{
    return make(path, &owner);
}

FileIdentity File::identity() const
{
    return m_native->identity;
}

bool File::isInDoubt() const
{
    return m_native && m_native->isInDoubt;
}

bool File::isRemote() const
{
    return m_native->isRemote;
}

Result<bool> File::isSameAs(const File &other) const
{
    const auto own = look();
    const auto theirs = other.look();
    if (!own.ok() || !theirs.ok())
        return own.ok() ? theirs.status() : own.status();
    return own.value().identity == theirs.value().identity;
}

Status File::failed(const char *what) const
{
    Status status = failureOfCall(what, m_native->name);
    if (status.kind() != ErrorKind::full)
        m_native->isInDoubt = true;
    return status;
}

} // namespace dbase
