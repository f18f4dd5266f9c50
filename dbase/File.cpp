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

Status File::takeRightsOf(const File &owner)
{
    return m_native->takeRightsOf(*owner.m_native);
}

Status replaceContent(const std::filesystem::path &file, std::span<const std::uint8_t> bytes)
{
    const auto old = File::open(file, File::Mode::readOnly);
    if (!old.ok() && old.status().kind() != ErrorKind::notFound)
        return old.status();
    std::filesystem::path written = file;
    written += ".NUEVO";
    std::error_code error;
    std::filesystem::remove(written, error); // of a replacement that was cut
    Status status;
    {
        auto made = old.ok() ? File::createBeside(old.value(), written) : File::create(written);
        status = made.status();
        if (status.ok())
            status = made.value().writeAt(0, bytes);
        if (status.ok())
            status = made.value().sync();
    }
    if (status.ok()) {
        std::filesystem::rename(written, file, error);
        if (error)
            status = {ErrorKind::inputOutput, "el fichero nuevo no ha podido ocupar su sitio",
                      displayName(file)};
    }
    if (!status.ok()) {
        std::filesystem::remove(written, error);
        return status;
    }
    return syncFolder(file.parent_path());
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
