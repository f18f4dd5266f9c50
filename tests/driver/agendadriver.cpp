// agendadriver: a writer and a judge of an agenda table, for tests that kill it, cut its power or make its
// calls fail.
//
//   agendadriver init DIR                   makes the table, with a counter and three lines that all writers
//   share agendadriver write DIR ID SEED [OPS]    changes lines and says so; without OPS until it is killed
//   agendadriver check DIR                  opens (and so repairs) the table and holds it to what it must be;
//   0 = sound agendadriver dump DIR                   "key value" of every line agendadriver hold DIR KEY
//   SECONDS       keeps the lock of a line
//
// Each change is announced and answered in one line and one write:
//   TRY op key [value] @ns    ACK op key [value] @ns    NAK op key    UNK op key
// A line's key stands in OFICIAL, its value in INTERESADO, and CONCEPTO is filled with a pattern made of the
// value, so that half a line gives itself away. A day sheet is one commit of many lines with one key.

#include "dbase/Table.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

namespace
{

using namespace dbase;
using Bytes = std::vector<std::uint8_t>;

enum Field { fecha, hora, concepto, codcliente, interesado, oficial, salida, aviso };
constexpr int linesOfSheet = 12;
const char *const counterKey = "counter";

TableDefinition definition()
{
    TableDefinition made;
    made.fields = {{"FECHA", FieldType::date, 8},
                   {"HORA", FieldType::character, 5},
                   {"CONCEPTO", FieldType::character, 254},
                   {"CODCLIENTE", FieldType::floating, 20, 4},
                   {"INTERESADO", FieldType::character, 100},
                   {"OFICIAL", FieldType::character, 16},
                   {"SALIDA", FieldType::character, 1},
                   {"AVISO", FieldType::character, 1}};
    made.tags = {{"FECHA", "DTOS(FECHA)+HORA"}, {"CLAVE", "OFICIAL"}};
    return made;
}

[[noreturn]] void fail(const std::string &text)
{
    std::fprintf(stderr, "agendadriver: %s\n", text.c_str());
    std::exit(1);
}

void say(const char *verb, const char *op, const std::string &key, const std::string &value)
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    const std::string line = std::string(verb) + ' ' + op + ' ' + key + (value.empty() ? "" : " " + value) +
                             " @" + std::to_string(std::chrono::nanoseconds(now).count()) + '\n';
    // Past stdio: a killed process must not keep a line in its buffer.
#if defined(_WIN32)
    if (_write(1, line.data(), static_cast<unsigned>(line.size())) < 0)
        std::exit(3);
#else
    if (::write(1, line.data(), line.size()) < 0)
        std::exit(3);
#endif
}

std::string pattern(const std::string &value)
{
    std::string text;
    std::uint32_t mix = 2166136261U;
    for (const char c : value)
        mix = (mix ^ static_cast<unsigned char>(c)) * 16777619U;
    for (int i = 0; i < 254; ++i) {
        mix = mix * 1664525U + 1013904223U;
        text.push_back(static_cast<char>('a' + (mix >> 24U) % 26));
    }
    return text;
}

class Agenda
{
public:
    Status open(const std::string &folder)
    {
        OpenOptions options;
        options.lockTimeout = std::chrono::seconds(2);
        options.tags = definition().tags;
        const auto file = findTable(folder, "AGENDA_N");
        if (!file.ok())
            return file.status();
        auto opened = Table::open(file.value(), options);
        if (!opened.ok())
            return opened.status();
        m_table = std::move(opened).value();
        return m_table->isReadOnly() ? Status(ErrorKind::readOnly, m_table->readOnlyReason()) : Status();
    }
    void close() { m_table.reset(); }
    [[nodiscard]] bool isOpen() const { return m_table != nullptr; }
    Table &table() { return *m_table; }

    Bytes line(const std::string &key, const std::string &value, std::mt19937 &random)
    {
        Bytes record = blankRecord(m_table->recordLength());
        setTime(record, random);
        setText(record, oficial, key);
        setText(record, salida, "N");
        setText(record, aviso, "N");
        setValue(record, value);
        return record;
    }
    void setTime(Bytes &record, std::mt19937 &random)
    {
        const Date date{2026, 1 + static_cast<int>(random() % 12), 1 + static_cast<int>(random() % 28)};
        if (!writeDate(record, m_table->fields()[fecha], date).ok())
            fail("a date that does not exist");
        const std::string hours = std::to_string(10 + random() % 10) + (random() % 2 != 0 ? ":30" : ":00");
        setText(record, hora, hours);
    }
    void setValue(Bytes &record, const std::string &value)
    {
        setText(record, interesado, value);
        setText(record, concepto, pattern(value));
    }
    void setText(Bytes &record, Field field, const std::string &text)
    {
        writeText(record, m_table->fields()[field], m_table->codePage(),
                  std::u16string(text.begin(), text.end()));
    }
    std::string text(std::span<const std::uint8_t> record, Field field) const
    {
        const std::u16string wide = readText(record, m_table->fields()[field], m_table->codePage());
        return {wide.begin(), wide.end()};
    }
    /// The live line with a key, as a window finds it: through the index.
    RecordNumber find(const std::string &key, Status &status)
    {
        std::string padded = key;
        padded.resize(16, ' ');
        const std::span wanted(reinterpret_cast<const std::uint8_t *>(padded.data()), padded.size());
        std::vector<RecordNumber> numbers;
        status = m_table->liveRecords(m_table->index("CLAVE"), wanted, wanted, numbers);
        return numbers.empty() ? 0 : numbers.front();
    }

private:
    std::unique_ptr<Table> m_table;
};

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

class Writer
{
public:
    Writer(const std::string &folder, int id, unsigned seed)
        : m_folder(folder)
        , m_id(id)
        , m_random(seed)
    {
    }

    void run(long operations)
    {
        for (long n = 0; operations == 0 || n < operations; ++n)
            step(n);
    }

private:
    void step(long n)
    {
        const std::string own = "w" + std::to_string(m_id) + "-" + std::to_string(n);
        const std::string value =
            "v" + std::to_string(m_id) + "x" + std::to_string(n) + "x" + std::to_string(m_random() % 1000);
        const auto what = m_random() % 100;
        if (what < 10)
            return answer("inc", counterKey, "1", [&] { return increment(); });
        if (what < 30)
            return answer("upd", std::string("shared-") + static_cast<char>('a' + m_random() % 3), value,
                          [&](const std::string &key) { return change(key, value); });
        if (what < 35)
            return answer("ins", own + "s", value, [&](const std::string &key) { return sheet(key, value); });
        if (what < 65 || m_mine.empty()) {
            m_mine.push_back(own);
            return answer("ins", own, value, [&](const std::string &key) { return insert(key, value); });
        }
        const std::size_t pick = m_random() % m_mine.size();
        const std::string key = m_mine[pick];
        if (what < 90)
            return answer("upd", key, value, [&](const std::string &one) { return change(one, value); });
        m_mine.erase(m_mine.begin() + static_cast<std::ptrdiff_t>(pick));
        answer("del", key, {}, [&](const std::string &one) { return remove(one); });
    }

    template <class Work>
    void answer(const char *op, const std::string &key, const std::string &value, Work &&work)
    {
        say("TRY", op, key, value);
        Status status = m_agenda.isOpen() ? Status() : m_agenda.open(m_folder);
        if (!status.ok()) {
            std::fprintf(stderr, "%s %s: %s\n", op, key.c_str(), status.message().c_str());
            m_agenda.close();
            say("NAK", op, key, value);
            return;
        }
        if constexpr (std::is_invocable_v<Work>)
            status = work();
        else
            status = work(key);
        say(verbOf(status), op, key, value);
        if (status.ok())
            return;
        std::fprintf(stderr, "%s %s: %s\n", op, key.c_str(), status.message().c_str());
        // As a window would after a failure of the disk: the table is closed, and opened again for the next
        // change.
        if (status.kind() == ErrorKind::inputOutput || status.kind() == ErrorKind::damaged)
            m_agenda.close();
    }

    Status insert(const std::string &key, const std::string &value)
    {
        return m_agenda.table().append(m_agenda.line(key, value, m_random)).status();
    }

    Status sheet(const std::string &key, const std::string &value)
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
    template <class Edit> Status withLine(const std::string &key, Edit &&edit)
    {
        Table &table = m_agenda.table();
        Status status;
        const RecordNumber number = m_agenda.find(key, status);
        if (!status.ok())
            return status;
        if (number == 0)
            return {ErrorKind::notFound, "no such line"};
        auto lock = table.lockRecord(number);
        if (!lock.ok())
            return lock.status();
        Bytes before(table.recordLength());
        status = table.read(number, before);
        if (!status.ok())
            return status;
        if (isDeleted(before) || m_agenda.text(before, oficial) != key)
            return {ErrorKind::notFound, "the line is gone"};
        Bytes after = before;
        edit(after);
        return table.update(number, before, after);
    }

    Status change(const std::string &key, const std::string &value)
    {
        return withLine(key, [&](Bytes &record) {
            m_agenda.setValue(record, value);
            if (m_random() % 4 == 0)
                m_agenda.setTime(record, m_random);
        });
    }

    Status increment()
    {
        return withLine(counterKey, [&](Bytes &record) {
            const FieldDefinition &field = m_agenda.table().fields()[codcliente];
            if (!writeNumber(record, field, readNumber(record, field).value_or(0) + 1).ok())
                fail("the counter is full");
        });
    }

    Status remove(const std::string &key)
    {
        return withLine(key, [](Bytes &record) { record[0] = deletedMark; });
    }

    std::string m_folder;
    int m_id;
    std::mt19937 m_random;
    Agenda m_agenda;
    std::vector<std::string> m_mine;
};

struct Seen {
    std::string value;
    int lines = 0;
};

/// Every live line, held to its pattern. @return key to value.
std::map<std::string, Seen> readAll(Agenda &agenda)
{
    Table &table = agenda.table();
    std::vector<RecordNumber> numbers;
    Bytes rows;
    if (const Status status = table.liveRows(table.index("FECHA"), {}, {}, numbers, rows); !status.ok())
        fail(status.message());
    std::vector<RecordNumber> inFile;
    if (const Status status = table.liveRecords(nullptr, {}, {}, inFile); !status.ok())
        fail(status.message());
    if (numbers.size() != inFile.size())
        fail("the index shows " + std::to_string(numbers.size()) + " lines of " +
             std::to_string(inFile.size()));
    std::map<std::string, Seen> seen;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const auto row = std::span(rows).subspan(i * table.recordLength(), table.recordLength());
        const std::string key = agenda.text(row, oficial);
        std::string value = agenda.text(row, interesado);
        if (agenda.text(row, concepto) != pattern(value))
            fail("line " + std::to_string(numbers[i]) + " (" + key + ") is torn");
        if (key == counterKey)
            value =
                std::to_string(static_cast<long>(readNumber(row, table.fields()[codcliente]).value_or(0)));
        Seen &one = seen[key];
        if (++one.lines > 1 && (one.value != value || key.back() != 's'))
            fail("key " + key + " stands in the table twice");
        one.value = value;
    }
    for (const auto &[key, one] : seen) {
        if (key.front() == 'w' && key.back() == 's' && one.lines != linesOfSheet)
            fail("sheet " + key + " has " + std::to_string(one.lines) + " lines");
    }
    return seen;
}

int initTable(const std::string &folder)
{
    const auto file = newTablePath(folder, "AGENDA_N");
    if (!file.ok())
        fail(file.status().message());
    if (const Status status = Table::create(file.value(), definition()); !status.ok())
        fail(status.message());
    Agenda agenda;
    if (const Status status = agenda.open(folder); !status.ok())
        fail(status.message());
    std::mt19937 random(1);
    for (const char *key : {"shared-a", "shared-b", "shared-c", counterKey}) {
        if (const auto added = agenda.table().append(agenda.line(key, "v0", random)); !added.ok())
            fail(added.status().message());
    }
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.size() < 2)
        fail("init|write|check|dump|hold DIR ...");
    const std::string &verb = words[0];
    const std::string &folder = words[1];
    if (verb == "init")
        return initTable(folder);
    if (verb == "write" && words.size() >= 4) {
        Writer(folder, std::atoi(words[2].c_str()), static_cast<unsigned>(std::atol(words[3].c_str())))
            .run(words.size() > 4 ? std::atol(words[4].c_str()) : 0);
        return 0;
    }
    Agenda agenda;
    if (const Status status = agenda.open(folder); !status.ok())
        fail(status.message());
    if (verb == "check") {
        if (const Status status = agenda.table().check(); !status.ok())
            fail(status.message());
        readAll(agenda);
        return 0;
    }
    if (verb == "dump") {
        for (const auto &[key, one] : readAll(agenda))
            std::printf("%s %s\n", key.c_str(), one.value.c_str());
        return 0;
    }
    if (verb == "hold" && words.size() == 4) {
        Status status;
        const RecordNumber number = agenda.find(words[2], status);
        const auto lock = agenda.table().lockRecord(number);
        if (!lock.ok())
            fail(lock.status().message());
        std::this_thread::sleep_for(std::chrono::seconds(std::atoi(words[3].c_str())));
        return 0;
    }
    fail("init|write|check|dump|hold DIR ...");
}
