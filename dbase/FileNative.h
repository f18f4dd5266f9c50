#pragma once

// What the files of one system share; not for others.

#include "dbase/File.h"
#if !defined(_WIN32)
#include "dbase/HandleSet.h"
#endif

namespace dbase
{

struct File::Native {
#if defined(_WIN32)
    void *handle = nullptr; ///< a HANDLE
#else
    int descriptor = -1;
    HandleSet handleSet; ///< on SMB
    /// Opens a file of a share anew, as its protocol needs it. Others may want addresses and lengths of whole
    /// blocks for the one, and know nothing of the other.
    /// - NFS: past the memory that this machine keeps of it. There what others have written since may be
    ///   missing for as long as the file is open here, whatever the mount's options say. What is written so
    ///   is on the server's disk when the call returns.
    /// - SMB: nothing is kept here where the mount is as it should be, but the server does. When it loses its
    ///   memory, workstations come back to it without a word, and nobody would do again what the journal
    ///   holds: so what is written goes through to its disk.
    /// @param flags  it has been opened with.
    /// @return false, with errno, when it could not be: as it is open it would not do.
    [[nodiscard]] bool openForShare(const std::filesystem::path &path, int flags);
    bool isNfs = false;
#endif
    [[nodiscard]] bool isOpen() const;
    /// Finds out what has been opened. @return unsupported when it is no plain file, inputOutput.
    [[nodiscard]] Status takeIn();
    /// Gives a file that has just been made the rights of another one. @return readOnly when they cannot be
    /// given, and what the new file has is not the same.
    [[nodiscard]] Status takeRightsOf(const Native &owner);
    FileIdentity identity;
    bool isRemote = false;
    bool isSmb = false;
    bool writesThrough = false; ///< what has been written is on the disk
    bool isResized = false;     ///< since the last flush; that goes by the way of all else
    bool isInDoubt = false;
    std::string name; ///< for messages

    Native() = default;
    ~Native(); ///< closes it
    Native(const Native &) = delete;
    Native &operator=(const Native &) = delete;
};

/// The failure of the call that has just been made, as the system tells it.
/// @param what  what could not be done, Spanish. @param name  of the file.
[[nodiscard]] Status failureOfCall(const std::string &what, const std::string &name);

inline constexpr const char *noPlainFile = "no es un fichero normal, sino un enlace o algo parecido";
inline constexpr const char *noSameRights = "no se pueden dar al fichero nuevo los mismos permisos";

#if !defined(_WIN32)
/// Whether a file system is surely one of this machine alone.
/// @param magic  f_type of Linux's statfs.
[[nodiscard]] bool isLocalFileSystem(std::uint32_t magic);
#endif

} // namespace dbase
