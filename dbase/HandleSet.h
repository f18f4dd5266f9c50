#pragma once

// Linux's SMB client gives two openings of one file with equal flags one and the same handle at the server,
// also to two programs, and the locks belong to that handle: what one gives back the other loses, and what
// one is refused may stay taken for all others. So each opening has flags that no other one has at that time.
// None of them changes anything else: an I/O signal that nobody asks for, waiting that files do not know,
// links that are not there, and two words for a write that is on the disk when it returns.

#include <utility>

namespace dbase
{

/// A set of flags that no other opening of a file has on this machine, for as long as this lives.
class HandleSet
{
public:
    static constexpr unsigned count = 16;

    HandleSet() = default; ///< no flags
    /// @param descriptor  an opening of the file, with whatever flags.
    /// @return another set than the one before, even where that is free again: the system may keep what was
    /// closed for a moment. When none is free, one that another opening has.
    [[nodiscard]] static HandleSet of(int descriptor);
    ~HandleSet() { release(); }
    HandleSet(HandleSet &&other) noexcept
        : m_flags(std::exchange(other.m_flags, 0))
        , m_socket(std::exchange(other.m_socket, -1))
    {
    }
    HandleSet &operator=(HandleSet &&other) noexcept
    {
        std::swap(m_flags, other.m_flags);
        std::swap(m_socket, other.m_socket);
        return *this;
    }
    HandleSet(const HandleSet &) = delete;
    HandleSet &operator=(const HandleSet &) = delete;

    [[nodiscard]] int flags() const { return m_flags; } ///< for open()
    void release() noexcept;

private:
    int m_flags = 0;
    int m_socket = -1; ///< whose name, which the system gives only once, stands for the set
};

} // namespace dbase
