// Opening a table and leaving it.

#include "dbase/FolderNames.h"
#include "dbase/ShareAdvice.h"
#include "dbase/TableImpl.h"

#include <algorithm>
#include <cctype>
#include <mutex>
#include <thread>

namespace dbase
{

Date today()
{
    const auto now = std::chrono::system_clock::now();
    const std::chrono::year_month_day date{std::chrono::floor<std::chrono::days>(now)};
    return {static_cast<int>(date.year()), static_cast<int>(static_cast<unsigned>(date.month())),
            static_cast<int>(static_cast<unsigned>(date.day()))};
}

bool sameText(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](unsigned char x, unsigned char y) { return std::toupper(x) == std::toupper(y); });
}

TableImpl::TableImpl(std::filesystem::path tablePath, OpenOptions openOptions)
    : path(std::move(tablePath))
    , name(displayName(path))
    , options(std::move(openOptions))
    , m_random(std::random_device{}())
{
}

TableImpl::~TableImpl()
{
    try {
        static_cast<void>(close());
    } catch (...) {
        // No memory left: the system frees the locks, and the next opener finds the journal open and looks
        // for itself.
        m_opened = false;
    }
}

Status TableImpl::close()
{
    dropGroup();
    while (!m_locked.empty())
        dropRecordLock(*m_locked.begin());
    payBeforeLeaving();
    if (m_opened && !hasFailed() && isInDoubt()) { // who is still present twice is never the last one
        noteRenewal(m_openedIn);
        static_cast<void>(reconnect().ok());
    }
    const bool mayChange = std::exchange(m_opened, false) && m_poison.ok() && !readOnly && m_journal.isOpen();
    return mayChange && m_held == Held::nothing ? closeInOrder() : Status();
}

/// The file of that extension beside the table, found whatever its case; where it would go when there is
/// none.
std::filesystem::path TableImpl::sibling(const char *extension) const
{
    std::filesystem::path wanted = path;
    const std::string own = displayName(path.extension());
    std::string spelled = extension;
    if (own == ".dbf")
        std::transform(spelled.begin(), spelled.end(), spelled.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    wanted.replace_extension(spelled);
    std::error_code error;
    if (std::filesystem::exists(wanted, error))
        return wanted;
    const auto spelledOtherwise = FolderNames::ofProgram().find(wanted, m_dbf.isOpen() && !m_remote);
    return spelledOtherwise.empty() ? wanted : spelledOtherwise;
}

Status TableImpl::open()
{
    Status status = openFiles();
    if (!status.ok())
        return status;
    takeOverOwed();
    if (const auto look = lookAtFile(); look.ok())
        noteStamp(look.value().stamp);
    m_seenCommit = m_state.applied;
    m_lookedClosely = std::chrono::steady_clock::now();
    m_stampDoubtful = false; // nothing has been shown yet that could be out of date
    if (readOnly && m_mdx && !soundForReading())
        goOnWithoutIndexFile();
    status = needTags();
    m_opened = status.ok();
    return status;
}

/// Whether the journal's header says that the files are in order, and they look like it.
bool TableImpl::wasClosedInOrder()
{
    if (!m_journal.isOpen())
        return false;
    std::vector<std::uint8_t> bytes(journalSector);
    const auto got = m_journal.readAt(0, bytes);
    const auto state = got.ok() && got.value() == bytes.size() ? decodeJournalHeader(bytes) : std::nullopt;
    if (!state)
        return false;
    takeState(*state, bytes);
    return closedAsSeen();
}

/// Whether an index that cannot be repaired may be believed.
bool TableImpl::soundForReading()
{
    if (wasClosedInOrder())
        return true;
    const auto keys = keysOfAll();
    return keys.ok() && indexIsRight(keys.value());
}

Result<bool> TableImpl::isDisplaced() const
{
    const auto there = File::open(path, File::Mode::readOnly);
    if (there.status().kind() == ErrorKind::unsupported)
        return true; // no file, whatever it is
    if (!there.ok())
        return there.status();
    const auto same = m_dbf.isSameAs(there.value());
    if (!same.ok() || same.value())
        return same.ok() ? Result<bool>(false) : same.status();
    if (!m_remote)
        return true;
    // Not every share gives a file the same number each time; another file has another size or time as well,
    // also when nobody writes in between.
    constexpr int mostLooks = 3;
    for (int look = 0; look < mostLooks; ++look) {
        const auto own = m_dbf.look();
        const auto now = there.value().look();
        const auto after = m_dbf.look();
        if (!own.ok() || !now.ok() || !after.ok())
            return !own.ok() ? own.status() : !now.ok() ? now.status() : after.status();
        if (own.value().stamp == now.value().stamp)
            return false;
        if (own.value().stamp == after.value().stamp && look > 0)
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(look + 1));
    }
    return false;
}

Result<bool> TableImpl::hasOthers() const
{
    // For writing, where that is allowed: not every system answers without trying to take the lock.
    auto journal = File::open(sibling(".JNL"), File::Mode::readWrite);
    const bool isWritable = journal.ok();
    if (journal.status().kind() == ErrorKind::readOnly)
        journal = File::open(sibling(".JNL"), File::Mode::readOnly);
    if (journal.status().kind() == ErrorKind::notFound)
        return false;
    if (!journal.ok())
        return journal.status();
    // Behind the gate: a system that answers by taking the lock must not be met by somebody who joins.
    File &file = journal.value();
    const auto kind = isWritable ? File::LockKind::exclusive : File::LockKind::shared;
    const auto gate = file.tryLock(gateOffset, 1, kind);
    if (!gate.ok() || !gate.value())
        return gate.ok() ? Result<bool>(true) : gate.status(); // somebody comes or goes
    const RangeLock held(file, gateOffset, 1);
    return file.isLockedElsewhere(presenceOffset, 1);
}

Status TableImpl::refuseDisplaced()
{
    const auto displaced = isDisplaced();
    if (!displaced.ok() || !displaced.value())
        return displaced.status();
    wasDisplaced = true;
    m_presence.release();
    return failure(ErrorKind::locked, "la tabla se ha cambiado por otra mientras se abría");
}

/// A reader joins as well, so that the file is not packed away beneath it. But who is not alone takes it that
/// the first one has put everything in order, which a reader cannot: it joins only where that is so.
Status TableImpl::joinAsReader()
{
    const auto isInOrder = [this] {
        const auto others = m_journal.isLockedElsewhere(presenceOffset, 1);
        return (others.ok() && others.value()) || wasClosedInOrder();
    };
    constexpr std::string_view refusal = "otro puesto está arreglando la tabla";
    const auto timeout = options.lockTimeout + repairPatience;
    // Shared, which it can be by those who may only read: it waits for whoever is behind the gate.
    const auto gate = m_journal.isOpen()
                          ? waitForLock(m_journal, gateOffset, 1, File::LockKind::shared, timeout, refusal)
                          : Result<RangeLock>(RangeLock());
    if (gate.status().kind() == ErrorKind::locked)
        return gate.status();
    if (m_journal.isOpen() && isInOrder()) {
        auto joined = waitForLock(m_journal, presenceOffset, 1, File::LockKind::shared, timeout, refusal);
        if (joined.status().kind() == ErrorKind::locked)
            return joined.status();
        // Asked behind the gate, and not again: some systems take this one's own lock for another's.
        if (joined.ok())
            m_presence = std::move(joined).value();
    }
    return refuseDisplaced();
}

Status TableImpl::openFiles()
{
    readOnly = options.readOnly;
    readOnlyReason = "la tabla está abierta solo para lectura";
    m_openedIn = sessionsRenewed();
    auto file = File::open(path, readOnly ? File::Mode::readOnly : File::Mode::readWrite);
    if (!file.ok() && file.status().kind() == ErrorKind::readOnly && !readOnly) {
        readOnly = true;
        file = File::open(path, File::Mode::readOnly);
    }
    if (!file.ok())
        return file.status();
    m_dbf = std::move(file).value();
    m_remote = m_dbf.isRemote();
    Status status;
    if (m_remote) {
        const auto look = m_dbf.look();
        status = look.status();
        if (look.ok())
            m_identity = look.value().identity;
        warnOfMount();
    }
    if (status.ok())
        status = readHeader();
    if (status.ok())
        status = openJournal();
    if (status.ok())
        status = openIndex();
    if (status.ok() && readOnly && m_journal.isOpen()) {
        // Somebody may have made it just now and not have got further; a reader can do without.
        std::vector<std::uint8_t> bytes(journalSector);
        const auto got = m_journal.readAt(0, bytes);
        if (!got.ok() || got.value() != bytes.size() || !decodeJournalHeader(bytes))
            m_journal = File();
    }
    if (status.ok())
        status = readOnly ? joinAsReader() : joinOthers();
    return status.ok() ? linesInFile().status() : status;
}

/// Says once in a program what is wrong with the mount that the table lies on.
void TableImpl::warnOfMount()
{
    static std::mutex toldMutex; // tables are opened on several threads
    static std::set<std::string> told;
    const Share share = shareOf(path);
    const std::lock_guard guard(toldMutex);
    if (share.warnings.empty() || !told.insert(share.mount.point).second)
        return;
    for (const std::string &warning : share.warnings)
        addNotice(warning);
}

/// Whole lines that the file has room for. @return damaged when the header promises more: nobody knows which
/// are missing.
Result<std::uint64_t> TableImpl::linesInFile() const
{
    const auto size = m_dbf.size();
    if (!size.ok())
        return size.status();
    const std::uint64_t lines = linesThatFit(size.value());
    if (lines >= header.recordCount)
        return lines;
    return failure(ErrorKind::damaged, "la tabla dice tener " + std::to_string(header.recordCount) +
                                           " líneas y el fichero solo contiene " + std::to_string(lines));
}

Status TableImpl::readHeader()
{
    const auto named = [this](const Status &status) {
        return Status(status.kind(), status.text(), name, status.offset());
    };
    std::vector<std::uint8_t> bytes(dbfFixedHeader + 1);
    auto got = m_dbf.readAt(0, bytes);
    if (!got.ok())
        return got.status();
    bytes.resize(got.value());
    const auto length = dbfHeaderLength(bytes);
    if (!length.ok())
        return named(length.status());
    bytes.resize(length.value());
    got = m_dbf.readAt(0, bytes);
    if (!got.ok())
        return got.status();
    bytes.resize(got.value());
    auto decoded = decodeDbfHeader(bytes);
    if (!decoded.ok())
        return named(decoded.status());
    header = std::move(decoded).value();
    m_dateAndCount.assign(bytes.begin() + dbfDateOffset, bytes.begin() + dbfDateOffset + dbfDateAndCount);
    return {};
}

} // namespace dbase
