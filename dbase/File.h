#pragma once

// The only way of the project to the operating system's files and locks; the calls themselves are in
// FilePosix.cpp, MappingPosix.cpp and FileWindows.cpp.

#include "dbase/Export.h"
#include "dbase/Status.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <utility>

namespace dbase
{

/// A path as UTF-8 for messages.
[[nodiscard]] std::string displayName(const std::filesystem::path &file);

/// How much more room than needed is asked for at a time (File::reserve), so that most changes need not ask.
inline constexpr std::uint64_t reserveAhead = std::uint64_t{64} * 1024;

/// What tells one content of a file from another without reading it; never the only thing a decision rests
/// on.
struct FileStamp {
    std::uint64_t size = 0;
    std::int64_t modified = 0; ///< nanoseconds
    friend bool operator==(const FileStamp &, const FileStamp &) = default;
};

/// Which file it is, whatever its name. Not every share gives a file the same number each time.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t number = 0;
    friend bool operator==(const FileIdentity &, const FileIdentity &) = default;
};

/// What one question about a file answers.
struct FileLook {
    FileStamp stamp;
    FileIdentity identity;
};

/// Time that goes on while the machine sleeps: others do not wait for it.
DBASE_EXPORT std::chrono::nanoseconds timeWithSleep();

/// How often this machine has had to begin anew with a server of SMB files: it opens by itself what was open,
/// and takes the locks again, but what it has may be less than before (others had them meanwhile) or more
/// (with two handles on a file it takes shared locks twice, and gives them back once).
/// @return a number that only grows; one that stays the same after a call that has reached the server says
/// that nothing of the kind had happened before. 0 where the system does not tell.
[[nodiscard]] DBASE_EXPORT std::uint64_t sessionsRenewed();

/// One open file. Reads and writes name their place; nothing is buffered, and where the file lies on another
/// machine the system's own memory is passed by where it lets one: what others have written is read, and what
/// is written is there for them when the call returns.
class DBASE_EXPORT File
{
public:
    enum class Mode {
        readOnly,
        readWrite,
        writeThrough ///< readWrite; writeAt() returns when what it wrote, and nothing else, is on the disk
    };

    File();
    File(File &&other) noexcept;
    File &operator=(File &&other) noexcept;
    File(const File &) = delete;
    File &operator=(const File &) = delete;
    ~File();

    /// Opens a plain file. Whatever else has the name is refused without waiting for it: a link might lead to
    /// anybody's file, a pipe never answers.
    /// @return notFound, readOnly (no right to write), inputOutput, unsupported (no plain file; writeThrough
    /// where the system has no such thing, and on a share, whose locks would not stand for a second handle:
    /// write and sync() instead).
    static Result<File> open(const std::filesystem::path &path, Mode mode);
    /// Makes a file that was not there, open for reading and writing, with the rights that its folder gives.
    /// @return invalidArgument when there is one of the name, a link that leads nowhere among them; readOnly,
    /// inputOutput, full.
    static Result<File> create(const std::filesystem::path &path);
    /// The same for a file that is to belong to another one: whoever may use that one may use it, and nobody
    /// else, from before its first byte on.
    /// @return also readOnly when it cannot be made so; then there is none.
    static Result<File> createBeside(const File &owner, const std::filesystem::path &path);
    /// Makes a file that has been made otherwise belong to another one. @return readOnly when it cannot be.
    [[nodiscard]] Status takeRightsOf(const File &owner);

    [[nodiscard]] bool isOpen() const;
    /// Closes it, which gives back its locks. Every call on it fails from then on; unlock() does nothing.
    void close() noexcept;
    /// Whether a call has failed that may have left something behind: a lock that could not be given back, a
    /// connection that is gone. Closing the file and opening it anew is what helps.
    [[nodiscard]] bool isInDoubt() const;
    [[nodiscard]] Result<FileLook> look() const;
    /// The same for a file that need not be open. @return notFound, inputOutput.
    [[nodiscard]] static Result<FileLook> look(const std::filesystem::path &path);
    /// Bytes in the file. Cheaper than its stamp, also for those who write: systems give a file whose time
    /// has been asked a finer one at its next write, and have to put that on disk with the next flush.
    [[nodiscard]] Result<std::uint64_t> size() const;

    /// Which file it was when it was opened. Asks nobody.
    [[nodiscard]] FileIdentity identity() const;
    /// Whether two open files are one and the same, whatever their names.
    [[nodiscard]] Result<bool> isSameAs(const File &other) const;

    /// Reads up to the buffer's size, less only at the end of the file. @return bytes read.
    Result<std::size_t> readAt(std::uint64_t offset, std::span<std::uint8_t> buffer) const;
    /// Writes all of it. @return full when the disk is, inputOutput for any other refusal.
    Status writeAt(std::uint64_t offset, std::span<const std::uint8_t> bytes);
    Status truncate(std::uint64_t size);
    /// Returns when what was written here has reached the disk. A failure is final for what was written
    /// before it.
    Status sync();
    /// The same for what others have written as well, where the system asks the server for it.
    Status flush();
    /// Whether flush() does that on this share.
    [[nodiscard]] bool flushesForOthers() const;

    /// Makes sure that `bytes` more can be written from `offset` on without the disk becoming full; the size
    /// stays. Where a file system cannot promise that, it is taken for done. @return full.
    Status reserve(std::uint64_t offset, std::uint64_t bytes);
    /// Whether the file lies on another machine: then it must not be mapped, and size and time may be old
    /// news.
    [[nodiscard]] bool isRemote() const;

    enum class LockKind { shared, exclusive };
    /// Takes a byte range without waiting. Never a range that this file holds already: some systems would put
    /// the second lock on top of the first, others in its place. @return false when somebody else has it.
    Result<bool> tryLock(std::uint64_t offset, std::uint64_t length, LockKind kind);
    /// Gives it back, with the offset and length that it was taken with. A failure leaves the file in doubt.
    void unlock(std::uint64_t offset, std::uint64_t length) noexcept;
    /// Whether somebody else holds a lock on a byte range; takes none.
    Result<bool> isLockedElsewhere(std::uint64_t offset, std::uint64_t length);

private:
    friend class Mapping;
    struct Native;
    static Result<File> make(const std::filesystem::path &path, const File *owner);
    /// What a call of the system has met, with the file in doubt where that may not be all.
    [[nodiscard]] Status failed(const char *what) const;
    explicit File(std::unique_ptr<Native> native);
    std::unique_ptr<Native> m_native;
};

struct MappedRange;

/// The contents of a file as memory, for reading only; what others write to the file shows in it at once.
/// Locks keep our own programs from shortening the file meanwhile. When another program does it all the same,
/// what was there reads as zeros and lost() says so: whoever has read asks afterwards, and believes nothing
/// of it when the answer is yes.
class DBASE_EXPORT Mapping
{
public:
    Mapping() = default;
    Mapping(Mapping &&other) noexcept { *this = std::move(other); }
    Mapping &operator=(Mapping &&other) noexcept
    {
        std::swap(m_data, other.m_data);
        std::swap(m_size, other.m_size);
        std::swap(m_range, other.m_range);
        return *this;
    }
    Mapping(const Mapping &) = delete;
    Mapping &operator=(const Mapping &) = delete;
    ~Mapping();

    /// @return unsupported where files cannot be mapped, or too many are already.
    static Result<Mapping> of(const File &file, std::size_t size);
    /// Whether something was read that the file no longer has; stays so until the file is mapped anew.
    [[nodiscard]] bool lost() const;
    [[nodiscard]] const std::uint8_t *data() const { return m_data; }
    [[nodiscard]] std::size_t size() const { return m_size; }

private:
    const std::uint8_t *m_data = nullptr;
    std::size_t m_size = 0;
    MappedRange *m_range = nullptr; ///< known to the system's signals
};

/// Gives a file, which need not be there, another content in one step: a cut leaves the old one or the new
/// one. It stays theirs who had it.
/// @return readOnly, also when the rights cannot be kept; full, inputOutput, unsupported (no plain file).
[[nodiscard]] DBASE_EXPORT Status replaceContent(const std::filesystem::path &file,
                                                 std::span<const std::uint8_t> bytes);

/// Makes names that were added to a folder survive a power cut, where the system needs to be told.
DBASE_EXPORT Status syncFolder(const std::filesystem::path &folder);

/// A byte range held; given back at the end of its life.
class RangeLock
{
public:
    RangeLock() = default;
    RangeLock(File &file, std::uint64_t offset, std::uint64_t length)
        : m_file(&file)
        , m_offset(offset)
        , m_length(length)
    {
    }
    RangeLock(RangeLock &&other) noexcept { swap(other); }
    RangeLock &operator=(RangeLock &&other) noexcept
    {
        swap(other);
        return *this;
    }
    RangeLock(const RangeLock &) = delete;
    RangeLock &operator=(const RangeLock &) = delete;
    ~RangeLock() { release(); }

    [[nodiscard]] bool held() const { return m_file != nullptr; }
    /// The range stays taken; whoever calls this gives it back.
    void disown() noexcept { m_file = nullptr; }
    void release() noexcept
    {
        if (m_file)
            m_file->unlock(m_offset, m_length);
        m_file = nullptr;
    }

private:
    void swap(RangeLock &other) noexcept
    {
        std::swap(m_file, other.m_file);
        std::swap(m_offset, other.m_offset);
        std::swap(m_length, other.m_length);
    }
    File *m_file = nullptr;
    std::uint64_t m_offset = 0;
    std::uint64_t m_length = 0;
};

} // namespace dbase
