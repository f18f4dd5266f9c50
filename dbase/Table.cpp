#include "dbase/Table.h"

#include "dbase/TableImpl.h"

#include <algorithm>

namespace dbase
{

RecordLock::RecordLock(RecordLock &&other) noexcept
    : m_release(std::exchange(other.m_release, nullptr))
{
}

RecordLock &RecordLock::operator=(RecordLock &&other) noexcept
{
    if (this != &other) {
        release();
        m_release = std::exchange(other.m_release, nullptr);
    }
    return *this;
}

RecordLock::~RecordLock()
{
    release();
}

void RecordLock::release() noexcept
{
    if (const auto giveBack = std::exchange(m_release, nullptr))
        giveBack();
}

Status Table::create(const std::filesystem::path &file, const TableDefinition &definition)
{
    auto bytes = encodeDbfHeader(definition, today());
    if (!bytes.ok())
        return {bytes.status().kind(), bytes.status().text(), displayName(file)};
    auto created = File::create(file);
    if (!created.ok())
        return created.status();
    bytes.value().push_back(dbfEndMark);
    {
        File &dbf = created.value();
        Status status = dbf.writeAt(0, bytes.value());
        if (status.ok())
            status = dbf.sync();
        if (status.ok())
            status = syncFolder(file.parent_path());
        if (!status.ok())
            return status;
    }
    // Journal and index are made by the first opening. A journal that lies there already is that of a table
    // that has gone.
    OpenOptions options;
    options.tags = definition.tags;
    auto impl = std::make_unique<TableImpl>(file, options);
    impl->isNew = true;
    return impl->open();
}

namespace
{

/// The path of the file itself: a table has one journal and one index, whatever links lead to it.
std::filesystem::path ownPath(const std::filesystem::path &file)
{
    std::error_code error;
    if (!std::filesystem::is_symlink(file, error))
        return file;
    std::filesystem::path own = std::filesystem::canonical(file, error);
    return error ? file : own;
}

} // namespace

Result<std::unique_ptr<Table>> Table::open(const std::filesystem::path &file, const OpenOptions &options)
{
    // Whoever packs a table over and over again does not keep others out for ever.
    const auto deadline = std::chrono::steady_clock::now() + options.lockTimeout + repairPatience;
    do {
        auto impl = std::make_unique<TableImpl>(ownPath(file), options);
        const Status status = impl->open();
        if (status.ok())
            return std::unique_ptr<Table>(new Table(std::move(impl))); // a private constructor; owned at once
        if (!impl->wasDisplaced)
            return status;
    } while (std::chrono::steady_clock::now() < deadline);
    return Status(ErrorKind::locked, "otro puesto está arreglando la tabla", displayName(file));
}

Result<bool> Table::isInUse(const std::filesystem::path &file)
{
    return TableImpl(ownPath(file), {}).hasOthers();
}

Status Table::close(std::unique_ptr<Table> table)
{
    return table->m_impl->close();
}

Table::Table(std::unique_ptr<TableImpl> impl)
    : m_impl(std::move(impl))
{
}
Table::~Table() = default;

const std::filesystem::path &Table::file() const
{
    return m_impl->path;
}
const std::vector<FieldDefinition> &Table::fields() const
{
    return m_impl->header.fields;
}
CodePage Table::codePage() const
{
    return m_impl->header.codePage;
}
std::size_t Table::recordLength() const
{
    return m_impl->header.recordLength;
}
RecordNumber Table::recordCount() const
{
    return m_impl->recordCount();
}
bool Table::isReadOnly() const
{
    return m_impl->readOnly;
}
std::uint64_t Table::version() const
{
    return m_impl->version;
}

int Table::fieldIndex(std::string_view name) const
{
    const auto same = [name](const FieldDefinition &field) { return sameText(name, field.name); };
    const auto &all = fields();
    const auto found = std::find_if(all.begin(), all.end(), same);
    return found == all.end() ? -1 : static_cast<int>(found - all.begin());
}

Status Table::read(RecordNumber number, std::span<std::uint8_t> record) const
{
    return m_impl->readRecord(number, record);
}

Result<RecordNumber> Table::append(std::span<const std::uint8_t> record)
{
    return m_impl->append(record);
}

Status Table::update(RecordNumber number, std::span<const std::uint8_t> before,
                     std::span<const std::uint8_t> after)
{
    return m_impl->update(number, before, after);
}

Status Table::erase(RecordNumber number, std::span<const std::uint8_t> before)
{
    return m_impl->erase(number, before);
}

Result<RecordLock> Table::lockRecord(RecordNumber number, std::chrono::milliseconds timeout)
{
    if (const Status status = m_impl->takeRecordLock(number, timeout); !status.ok())
        return status;
    // The lock may outlive the table, whose closing has given it back already.
    return RecordLock([impl = m_impl.get(), alive = std::weak_ptr(m_impl->alive), number] {
        if (!alive.expired())
            impl->dropRecordLock(number);
    });
}

Result<RecordLock> Table::lockRecord(RecordNumber number)
{
    return lockRecord(number, m_impl->options.lockTimeout);
}

Result<bool> Table::refresh()
{
    return m_impl->refresh();
}

std::vector<TagDefinition> Table::tags() const
{
    return m_impl->tags();
}

Status Table::beginGroup()
{
    return m_impl->beginGroup();
}
Status Table::commitGroup()
{
    return m_impl->commitGroup();
}
void Table::dropGroup()
{
    m_impl->dropGroup();
}
Status Table::check()
{
    return m_impl->check();
}
Status Table::pack()
{
    return m_impl->pack();
}
Status Table::replaceLines(std::span<const std::uint8_t> rows, const std::filesystem::path &aside)
{
    return m_impl->replaceLines(rows, aside);
}
Status Table::reindex()
{
    return m_impl->reindex();
}
std::string Table::readOnlyReason() const
{
    return m_impl->readOnly ? m_impl->readOnlyReason : std::string();
}
std::string Table::notice() const
{
    return m_impl->notice;
}
std::string Table::takeNotice()
{
    return std::exchange(m_impl->freshNotice, {});
}

Index *Table::index(std::string_view tag) const
{
    return m_impl->index(tag);
}
Status Table::addTag(const TagDefinition &tag)
{
    return m_impl->addTag(tag);
}

Status Table::liveRecords(Index *index, std::span<const std::uint8_t> low, std::span<const std::uint8_t> high,
                          std::vector<RecordNumber> &out) const
{
    return m_impl->liveRows(index, low, high, out, nullptr, 0);
}

Status Table::liveRows(Index *index, std::span<const std::uint8_t> low, std::span<const std::uint8_t> high,
                       std::vector<RecordNumber> &out, std::vector<std::uint8_t> &rows,
                       std::size_t mostRows) const
{
    return m_impl->liveRows(index, low, high, out, &rows, mostRows);
}

} // namespace dbase
