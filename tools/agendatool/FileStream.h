#pragma once

#include "dbase/File.h"

#include <ostream>
#include <streambuf>
#include <vector>

namespace agendatool
{

/// A stream into a file that was not there. Whatever else has its name, a link among it, is refused: what is
/// written goes nowhere else.
class FileStream : public std::ostream
{
public:
    /// @param most  rights that it may have, from before its first byte on.
    FileStream(const std::filesystem::path &file, std::filesystem::perms most);
    /// Why it could not be made, or the first failure in writing.
    [[nodiscard]] const dbase::Status &status() const { return m_buffer.status; }
    /// Writes what is still held, brings all of it to the disk and closes the file. @return status().
    dbase::Status finish();

private:
    struct Buffer : std::streambuf {
        Buffer(const std::filesystem::path &path, std::filesystem::perms most);
        int_type overflow(int_type character) override;
        int sync() override;
        dbase::File file;
        dbase::Status status;
        std::vector<char> bytes;
        std::uint64_t at = 0;
    };
    Buffer m_buffer;
};

} // namespace agendatool
