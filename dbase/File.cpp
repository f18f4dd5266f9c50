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
File::File() = default;
File::File(File &&other) noexcept = default;
File &File::operator=(File &&other) noexcept = default;
File::~File() = default;

bool File::isOpen() const
{
    return m_native && m_native->isOpen();
}

} // namespace dbase
