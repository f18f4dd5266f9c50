// A table's file gives way to another one: packing, and taking other lines.

#include "dbase/TableImpl.h"

#include <algorithm>
#include <tuple>

namespace dbase
{

namespace
{

constexpr std::size_t copyChunk = std::size_t{1} << 20U;

} // namespace

Status TableImpl::pack()
{
    return whileAlone([this] {
        std::vector<std::uint8_t> rows;
        const Status status = scan(1, [&](RecordNumber /*number*/, std::span<const std::uint8_t> record) {
            if (!isDeleted(record))
                rows.insert(rows.end(), record.begin(), record.end());
        });
        return status.ok() ? rewriteLines(rows, {}) : status;
    });
}

Status TableImpl::replaceLines(std::span<const std::uint8_t> rows, const std::filesystem::path &aside)
{
    if (rows.size() % header.recordLength != 0)
        return failure(ErrorKind::invalidArgument, "las líneas no son de esta tabla");
    return whileAlone([&] { return rewriteLines(rows, aside); });
}

/// Does something that nobody else may have the table open for.
Status TableImpl::whileAlone(const std::function<Status()> &work)
{
    if (readOnly)
        return failure(ErrorKind::readOnly, readOnlyReason);
    noteRenewal(m_openedIn);
    if (const Status status = reconnect(); !status.ok())
        return status;
    if (m_group)
        return failure(ErrorKind::invalidArgument, "hay un grupo de cambios empezado");
    const std::uint64_t renewed = m_remote ? sessionsRenewed() : 0;
    const std::string refusal = "otro puesto tiene abierta la tabla";
    const auto gate =
        waitForLock(m_journal, gateOffset, 1, File::LockKind::exclusive, options.lockTimeout, refusal);
    if (!gate.ok())
        return gate.status();
    m_presence.release();
    Status status;
    {
        // Files that are opened anew in between would be without the locks that keep the others out.
        const FlagGuard alone(m_isAlone);
        const auto got = m_journal.tryLock(presenceOffset, 1, File::LockKind::exclusive);
        const RangeLock whole =
            got.ok() && got.value() ? RangeLock(m_journal, presenceOffset, 1) : RangeLock();
        status = got.status();
        if (status.ok() && m_remote && (hasFailed() || sessionsRenewed() != renewed))
            status = failure(ErrorKind::inputOutput, "se ha perdido la conexión con la carpeta de la tabla");
        if (status.ok())
            status = whole.held() ? beginChange() : failure(ErrorKind::locked, refusal);
        if (status.ok()) {
            // Own locks of lines, whose numbers are about to be others', would be in the way on a share.
            while (!m_locked.empty())
                dropRecordLock(*m_locked.begin());
            // Programs that do not know the journal show themselves by the lines that they hold.
            auto lines = waitForLock(m_dbf, headerLockOffset - mostRecords, mostRecords,
                                     File::LockKind::exclusive, options.lockTimeout, refusal);
            status = lines.ok() ? work() : lines.status();
            endChange();
        }
    }
    // What this object has left half done is for the next opener, who must find nobody in the table.
    if (!m_poison.ok())
        return status;
    // Behind the gate nobody else can be alone.
    auto joined =
        waitForLock(m_journal, presenceOffset, 1, File::LockKind::shared, options.lockTimeout, refusal);
    if (joined.ok())
        m_presence = std::move(joined).value();
    else
        std::ignore = poison(joined.status());
    return status; // of the work, which has been done or has not
}

/// A new file beside the old one, put in its place in one step: a cut leaves the one or the other.
Status TableImpl::rewriteLines(std::span<const std::uint8_t> rows, const std::filesystem::path &aside)
{
    // The numbers of lines become others': nothing that was written before is to be done again.
    m_indexRewritten = true;
    m_state.past.forget(m_state.applied + numbersLeap + 1);
    Status status = checkpoint(false);
    // Nor by whoever meets a header that was written late over this one; and what has been deleted is to be
    // gone from here as well.
    if (status.ok())
        status = wipeJournal();
    if (!status.ok())
        return status;
    std::filesystem::path written = path;
    written += ".PCK";
    std::error_code error;
    std::filesystem::remove(written, error); // of a pack that was cut
    const auto kept = static_cast<RecordNumber>(rows.size() / header.recordLength);
    const auto dateAndCount = encodeDateAndCount(today(), kept);
    status = writeBeside(written, dateAndCount, rows);
    if (status.ok() && !aside.empty())
        status = copyBeside(m_dbf, aside);
    if (status.ok()) {
        status = takePlace(written);
        if (!status.ok() && !aside.empty())
            std::filesystem::remove(aside, error);
    }
    if (!status.ok()) {
        std::filesystem::remove(written, error);
        return status;
    }
    m_dateAndCount.assign(dateAndCount.begin(), dateAndCount.end());
    header.recordCount = kept;
    m_reservedUpTo = 0;
    ++version;
    status = syncFolder(path.parent_path());
    if (!status.ok())
        return poison(status);
    // The new lines are there to stay, whatever becomes of the index. One that cannot be made right now is
    // nothing that this object, or anybody beside it, may go on with.
    if (m_poison.ok()) {
        if (m_mdx)
            status = repairIndex();
        if (status.ok())
            status = checkpoint(false);
        if (!status.ok())
            std::ignore = poison(status);
    }
    return {};
}

/// The table's header and these lines in a file of their own, on the disk.
Status TableImpl::writeBeside(const std::filesystem::path &written,
                              std::span<const std::uint8_t> dateAndCount, std::span<const std::uint8_t> rows)
{
    auto made = File::createBeside(m_dbf, written);
    if (!made.ok())
        return made.status();
    std::vector<std::uint8_t> bytes(header.headerLength);
    const auto got = m_dbf.readAt(0, bytes);
    if (!got.ok())
        return got.status();
    std::copy(dateAndCount.begin(), dateAndCount.end(), bytes.begin() + dbfDateOffset);
    bytes.insert(bytes.end(), rows.begin(), rows.end());
    bytes.push_back(dbfEndMark);
    const Status status = made.value().writeAt(0, bytes);
    return status.ok() ? made.value().sync() : status;
}

/// A copy of a file as it is, with the table's rights, on the disk under its name before this returns. A
/// failure leaves none.
/// @return invalidArgument when there is a file of the name.
Status TableImpl::copyBeside(const File &from, const std::filesystem::path &to) const
{
    auto made = File::createBeside(m_dbf, to);
    if (!made.ok())
        return made.status();
    Status status;
    std::vector<std::uint8_t> buffer(copyChunk);
    for (std::uint64_t at = 0; status.ok();) {
        const auto got = from.readAt(at, buffer);
        status = got.status();
        if (!got.ok() || got.value() == 0)
            break;
        status = made.value().writeAt(at, std::span(buffer).first(got.value()));
        at += got.value();
    }
    if (status.ok())
        status = made.value().sync();
    if (status.ok())
        status = syncFolder(to.parent_path());
    if (!status.ok()) {
        made.value().close();
        std::error_code error;
        std::filesystem::remove(to, error);
    }
    return status;
}

/// Puts the new file in the old one's place and goes on with whichever lies there.
/// @return failure when that is the old one, with everything as before.
Status TableImpl::takePlace(const std::filesystem::path &written)
{
    m_dbfLock.release();
    m_headerMap = Mapping();
    m_dbf.close(); // an open file cannot give up its place everywhere
    std::error_code error;
    std::filesystem::rename(written, path, error);
    auto opened = File::open(path, File::Mode::readWrite);
    if (opened.ok()) {
        m_dbf = std::move(opened).value();
        if (const auto look = m_dbf.look(); look.ok())
            m_identity = look.value().identity;
        mapHeader();
    } else {
        std::ignore = poison(opened.status());
    }
    if (error)
        return failure(ErrorKind::inputOutput, "la tabla nueva no ha podido ocupar su sitio");
    return {};
}

} // namespace dbase
