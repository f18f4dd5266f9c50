#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <ctime>
#include <fstream>
#include <optional>

#if !defined(_WIN32)
#include <sys/resource.h>
#endif

namespace support
{

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define SUPPORT_MEMORY_OF_A_SANITIZER
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SUPPORT_MEMORY_OF_A_SANITIZER
#endif

/// The most memory that this process has had, in bytes; nothing where that is not known, or is a sanitizer's.
inline std::optional<std::size_t> peakMemory()
{
#if defined(_WIN32) || defined(SUPPORT_MEMORY_OF_A_SANITIZER)
    return {};
#else
    rusage usage{};
    if (getrusage(RUSAGE_SELF, &usage) != 0)
        return {};
#if defined(__APPLE__)
    constexpr std::size_t unit = 1;
#else
    constexpr std::size_t unit = 1024;
#endif
    return static_cast<std::size_t>(usage.ru_maxrss) * unit;
#endif
}

/// What is done during the life of this object takes less than a second of the processor and less than
/// 256 MiB, whatever a file says: nothing may go in circles, nor make room for what is not there.
class WithinBounds
{
public:
    static constexpr std::size_t mostMemory = std::size_t{256} * 1024 * 1024;

    WithinBounds()
    {
        // Linux forgets the peak of before; elsewhere it counts as long as it is the highest.
        std::ofstream("/proc/self/clear_refs") << "5";
        m_before = peakMemory();
        m_start = std::clock();
    }
    ~WithinBounds()
    {
        EXPECT_LT(std::clock() - m_start, mostTime);
        if (const auto after = peakMemory(); after && m_before) {
            EXPECT_LT(*after - *m_before, mostMemory);
        }
    }
    WithinBounds(const WithinBounds &) = delete;
    WithinBounds &operator=(const WithinBounds &) = delete;

private:
    /// Of the processor: a slow disk is no fault. A clock that ticks in milliseconds counts waiting, too.
    static constexpr std::clock_t mostTime = CLOCKS_PER_SEC > 1000 ? CLOCKS_PER_SEC : 60 * CLOCKS_PER_SEC;
    std::optional<std::size_t> m_before;
    std::clock_t m_start = 0;
};

} // namespace support
