// Files as memory, and the signal of a page that the file no longer has.

#include "dbase/FileNative.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <sys/mman.h>
#include <unistd.h>

namespace dbase
{

// A read of a mapped page that the file no longer has is a signal, SIGBUS. The handler puts zeros in the
// place of the missing pages and notes it; all else it hands on to whoever was there before. It may only use
// what is safe in a signal: atomics, and mmap, which is a bare system call here.

struct MappedRange {
    std::atomic<std::uintptr_t> begin{0}; ///< 0: free
    std::atomic<std::uintptr_t> end{0};
    std::atomic<bool> lost{false};
};

namespace
{

/// Three for a table; beyond that files are read without mapping.
constexpr std::size_t mostMappings = 384;
std::array<MappedRange, mostMappings> mappedRanges;
static_assert(std::atomic<std::uintptr_t>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

class BusErrorHandler
{
public:
    BusErrorHandler()
    {
        s_pageSize = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
        struct sigaction action = {};
        action.sa_sigaction = &BusErrorHandler::handle;
        action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART;
        sigemptyset(&action.sa_mask);
        ::sigaction(SIGBUS, &action, &s_before);
    }
    ~BusErrorHandler()
    {
        struct sigaction present = {};
        ::sigaction(SIGBUS, nullptr, &present);
        if ((present.sa_flags & SA_SIGINFO) != 0 && present.sa_sigaction == &BusErrorHandler::handle)
            ::sigaction(SIGBUS, &s_before, nullptr);
    }
    BusErrorHandler(const BusErrorHandler &) = delete;
    BusErrorHandler &operator=(const BusErrorHandler &) = delete;

private:
    static void handle(int signal, siginfo_t *info, void *context)
    {
        const int error = errno;
        const auto address = reinterpret_cast<std::uintptr_t>(info->si_addr);
        for (MappedRange &range : mappedRanges) {
            const std::uintptr_t begin = range.begin.load();
            const std::uintptr_t end = range.end.load();
            // Read again behind the end: the two may be those of two mappings, one after the other.
            if (begin == 0 || address < begin || address >= end || range.begin.load() != begin)
                continue;
            range.lost = true;
            const std::uintptr_t page = address - address % s_pageSize;
            void *const zeros = ::mmap(reinterpret_cast<void *>(page), end - page, PROT_READ,
                                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
            if (zeros == MAP_FAILED)
                break;
            errno = error;
            return;
        }
        if ((s_before.sa_flags & SA_SIGINFO) != 0)
            s_before.sa_sigaction(signal, info, context);
        else if (s_before.sa_handler != SIG_DFL && s_before.sa_handler != SIG_IGN)
            s_before.sa_handler(signal);
        else
            ::sigaction(SIGBUS, &s_before, nullptr); // the read is done again, and ends the program
    }
    static inline std::uintptr_t s_pageSize = 0;
    static inline struct sigaction s_before = {};
};

MappedRange *freeRange()
{
    constexpr std::uintptr_t taken = 1;
    for (MappedRange &range : mappedRanges) {
        std::uintptr_t free = 0;
        if (range.begin.compare_exchange_strong(free, taken))
            return &range;
    }
    return nullptr;
}

} // namespace

Result<Mapping> Mapping::of(const File &file, std::size_t size)
{
    static const BusErrorHandler handler;
    Mapping mapping;
    mapping.m_range = freeRange();
    if (!mapping.m_range)
        return Status(ErrorKind::unsupported, "hay demasiados ficheros proyectados en memoria");
    void *const data = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, file.m_native->descriptor, 0);
    if (data == MAP_FAILED)
        return failureOfCall("el fichero no se puede proyectar en memoria", file.m_native->name);
    mapping.m_data = static_cast<const std::uint8_t *>(data);
    mapping.m_size = size;
    mapping.m_range->lost = false;
    // While only one of the two is there the range is empty: another thread's missing page is not its own.
    mapping.m_range->begin = reinterpret_cast<std::uintptr_t>(data);
    mapping.m_range->end = reinterpret_cast<std::uintptr_t>(data) + size;
    return mapping;
}

bool Mapping::lost() const
{
    return m_range && m_range->lost.load(std::memory_order_relaxed);
}

Mapping::~Mapping()
{
    if (m_range) {
        m_range->end = 0;
        m_range->begin = 0;
    }
    if (m_data)
        ::munmap(const_cast<std::uint8_t *>(m_data), m_size);
}

} // namespace dbase
