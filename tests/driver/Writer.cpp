#include "tests/driver/Writer.h"

#include <chrono>
#include <cstdio>

namespace driver
{

using namespace dbase;

namespace
{

/// How a change ended: done, refused with nothing changed, or unknown.
const char *verbOf(const Status &status)
{
    switch (status.kind()) {
    case ErrorKind::none:
        return "ACK";
    case ErrorKind::locked:
    case ErrorKind::conflict:
    case ErrorKind::notFound:
    case ErrorKind::full:
        return "NAK";
    default:
        return "UNK";
    }
}

} // namespace

Writer::Writer(std::filesystem::path folder, int id, unsigned seed, Teller tell,
               std::chrono::milliseconds lockTimeout)
    : m_folder(std::move(folder))
    , m_id(id)
    , m_random(seed)
    , m_tell(std::move(tell))
    , m_lockTimeout(lockTimeout)
{
}

void Writer::step()
{
    const long n = m_steps++;
    const std::string own = "w" + std::to_string(m_id) + "-" + std::to_string(n);
    const std::string value =
        "v" + std::to_string(m_id) + "x" + std::to_string(n) + "x" + std::to_string(m_random() % 1000);
    const auto what = m_random() % 100;
    if (what < 10)
        return answer("inc", counterKey, "1", [&](const std::string &) { return increment(); });
    const auto changeOf = [&](const std::string &key) {
        answer("upd", key, value, [&](const std::string &one) { return change(one, value, true); });
    };
    if (what < 30)
        return changeOf(std::string("shared-") + static_cast<char>('a' + m_random() % 3));
    if (what < 35)
        return addSheet(own + "s", value);
    if (what < 65 || m_mine.empty()) {
        m_mine.push_back(own);
        return add(own, value);
    }
    const std::size_t pick = m_random() % m_mine.size();
    const std::string key = m_mine[pick];
    if (what < 90)
        return changeOf(key);
    m_mine.erase(m_mine.begin() + static_cast<std::ptrdiff_t>(pick));
    answer("del", key, {}, [&](const std::string &one) { return remove(one); });
}

void Writer::stepWithSheets()
{
    const auto what = m_random() % 100;
    if (what < 40)
        return step();
    const long n = m_steps++;
    const std::string value = "v" + std::to_string(m_id) + "x" + std::to_string(n);
    if (what < 65 || m_sheets.empty()) {
        m_sheets.push_back("w" + std::to_string(m_id) + "-" + std::to_string(n) + "s");
        return addSheet(m_sheets.back(), value);
    }
    const auto picked = m_sheets.begin() + static_cast<std::ptrdiff_t>(m_random() % m_sheets.size());
    const std::string key = *picked;
    if (what < 90) {
        return answer("upd", key, value, [&](const std::string &one) {
            return withSheet(one, [&](Bytes &record) {
                m_agenda.setValue(record, value);
                m_agenda.setTime(record, m_random);
            });
        });
    }
    m_sheets.erase(picked);
    answer("del", key, {}, [&](const std::string &one) {
        return withSheet(one, [](Bytes &record) { record[0] = deletedMark; });
    });
}

void Writer::changeTo(const std::string &key, const std::string &value)
{
    answer("upd", key, value, [&](const std::string &one) { return change(one, value, false); });
}

void Writer::add(const std::string &key, const std::string &value)
{
    answer("ins", key, value, [&](const std::string &one) { return insert(one, value); });
}

void Writer::addSheet(const std::string &key, const std::string &value)
{
    answer("ins", key, value, [&](const std::string &one) { return sheet(one, value); });
}

Status Writer::open()
{
    return m_agenda.isOpen() ? Status() : m_agenda.open(m_folder, m_lockTimeout);
}

Status Writer::refresh()
{
    const Status status = m_agenda.isOpen() ? m_agenda.table().refresh().status() : Status();
    if (!status.ok() && !m_keepsOpen)
        static_cast<void>(m_agenda.close());
    return status;
}

void Writer::say(const char *verb, const char *op, const std::string &key, const std::string &value) const
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    m_tell(std::string(verb) + ' ' + op + ' ' + key + (value.empty() ? "" : " " + value) + " @" +
           std::to_string(std::chrono::nanoseconds(now).count()) + '\n');
}

template <class Work>
void Writer::answer(const char *op, const std::string &key, const std::string &value, Work &&work)
{
    say("TRY", op, key, value);
    Status status = open();
    const bool opened = status.ok();
    if (opened)
        status = work(key);
    say(opened ? verbOf(status) : "NAK", op, key, value);
    if (status.ok())
        return;
    std::fprintf(stderr, "%s %s: %s\n", op, key.c_str(), status.message().c_str());
    // As a window would after a failure of the disk: the table is closed, and opened again for the next
    // change.
    const bool isBroken = status.kind() == ErrorKind::inputOutput || status.kind() == ErrorKind::damaged;
    if (isBroken && !m_keepsOpen)
        static_cast<void>(m_agenda.close());
}

Status Writer::insert(const std::string &key, const std::string &value)
{
    return m_agenda.table().append(m_agenda.line(key, value, m_random)).status();
}

Status Writer::sheet(const std::string &key, const std::string &value)
{
    Table &table = m_agenda.table();
    Status status = table.beginGroup();
    for (int i = 0; status.ok() && i < linesOfSheet; ++i)
        status = table.append(m_agenda.line(key, value, m_random)).status();
    if (status.ok())
        return table.commitGroup();
    table.dropGroup();
    return status;
}

/// Locks a line, reads it afresh, lets `edit` change it and writes it, as edit() and post() do.
template <class Edit> Status Writer::withLine(const std::string &key, Edit &&edit)
{
    Table &table = m_agenda.table();
    const auto number = m_agenda.find(key);
    if (!number.ok())
        return number.status();
    if (number.value() == 0)
        return {ErrorKind::notFound, "no such line"};
    auto lock = table.lockRecord(number.value());
    if (!lock.ok())
        return lock.status();
    Bytes before(table.recordLength());
    if (const Status status = table.read(number.value(), before); !status.ok())
        return status;
    if (isDeleted(before) || m_agenda.text(before, Field::oficial) != key)
        return {ErrorKind::notFound, "the line is gone"};
    Bytes after = before;
    edit(after);
    return table.update(number.value(), before, after);
}

Status Writer::change(const std::string &key, const std::string &value, bool mayMove)
{
    return withLine(key, [&](Bytes &record) {
        m_agenda.setValue(record, value);
        if (mayMove && m_random() % 4 == 0)
            m_agenda.setTime(record, m_random);
    });
}

Status Writer::increment()
{
    return withLine(counterKey,
                    [&](Bytes &record) { m_agenda.setCounter(record, m_agenda.counter(record) + 1); });
}

Status Writer::remove(const std::string &key)
{
    return withLine(key, [](Bytes &record) { record[0] = deletedMark; });
}

/// Changes all lines of a sheet in one commit; nobody else changes it.
template <class Edit> Status Writer::withSheet(const std::string &key, Edit &&edit)
{
    Table &table = m_agenda.table();
    Status status = table.beginGroup();
    if (!status.ok())
        return status;
    const auto numbers = m_agenda.findAll(key);
    status = numbers.ok() && numbers.value().empty() ? Status(ErrorKind::notFound, "no such sheet")
                                                     : numbers.status();
    Bytes before(table.recordLength());
    for (std::size_t i = 0; status.ok() && i < numbers.value().size(); ++i) {
        const RecordNumber number = numbers.value()[i];
        status = table.read(number, before);
        Bytes after = before;
        edit(after);
        if (status.ok())
            status = table.update(number, before, after);
    }
    if (status.ok())
        return table.commitGroup();
    table.dropGroup();
    return status;
}

} // namespace driver
