#include "dbase/HandleSet.h"

#include <atomic>
#include <cstddef>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace dbase
{

namespace
{

int flagsOf(unsigned set)
{
    return ((set & 1U) != 0 ? O_SYNC : O_DSYNC) | ((set & 2U) != 0 ? O_ASYNC : 0) |
           ((set & 4U) != 0 ? O_NONBLOCK : 0) | ((set & 8U) != 0 ? O_NOFOLLOW : 0);
}

/// A socket with a name that is in no folder: it is free again when the program ends, however that is.
/// @return the socket, which then has the name; -1 when another one has it.
int claim([[maybe_unused]] const std::string &name)
{
#if defined(__linux__)
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (socket < 0)
        return -1;
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path + 1, name.data(), std::min(name.size(), sizeof(address.sun_path) - 1));
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    if (::bind(socket, reinterpret_cast<const sockaddr *>(&address), length) == 0)
        return socket;
    ::close(socket);
#endif
    return -1;
}

} // namespace

HandleSet HandleSet::of(int descriptor)
{
    static std::atomic<unsigned> next = static_cast<unsigned>(::getpid());
    struct stat info = {};
    static_cast<void>(::fstat(descriptor, &info));
    const std::string file =
        "agenda:" + std::to_string(info.st_dev) + ":" + std::to_string(info.st_ino) + ":";
    HandleSet found;
    for (unsigned tries = 0; tries < count && found.m_socket < 0; ++tries) {
        const unsigned set = next++ % count;
        found.m_socket = claim(file + std::to_string(set));
        found.m_flags = flagsOf(set);
    }
    return found;
}

void HandleSet::release() noexcept
{
    if (m_socket >= 0)
        ::close(std::exchange(m_socket, -1));
}

} // namespace dbase
