#include "tests/driver/AgendaTable.h"

#include "upkeep/TableCare.h"

namespace driver
{

using namespace dbase;

namespace
{

TableDefinition definition()
{
    TableDefinition made = upkeep::agendaDefinition();
    made.tags.push_back({"CLAVE", "OFICIAL"});
    return made;
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

Status damaged(const std::string &text)
{
    return {ErrorKind::damaged, text};
}

} // namespace

Status AgendaTable::create(const std::filesystem::path &folder)
{
    const auto file = newTablePath(folder, "AGENDA_N");
    if (!file.ok())
        return file.status();
    if (const Status status = Table::create(file.value(), definition()); !status.ok())
        return status;
    AgendaTable agenda;
    if (const Status status = agenda.open(folder); !status.ok())
        return status;
    std::mt19937 random(1);
    for (const char *key : {"shared-a", "shared-b", "shared-c", counterKey}) {
        if (const auto added = agenda.table().append(agenda.line(key, "v0", random)); !added.ok())
            return added.status();
    }
    return agenda.close();
}

Status AgendaTable::open(const std::filesystem::path &folder, std::chrono::milliseconds lockTimeout,
                         bool durable)
{
    OpenOptions options;
    options.durable = durable;
    options.lockTimeout = lockTimeout;
    options.tags = definition().tags;
    const auto file = findTable(folder, "AGENDA_N");
    if (!file.ok())
        return file.status();
    auto opened = Table::open(file.value(), options);
    if (!opened.ok())
        return opened.status();
    m_table = std::move(opened).value();
    if (!m_table->isReadOnly())
        return {};
    const Status refused(ErrorKind::readOnly, m_table->readOnlyReason());
    m_table.reset();
    return refused;
}

Status AgendaTable::close()
{
    return m_table ? Table::close(std::move(m_table)) : Status();
}

Bytes AgendaTable::line(const std::string &key, const std::string &value, std::mt19937 &random) const
{
    Bytes record = blankRecord(m_table->recordLength());
    setTime(record, random);
    setText(record, Field::oficial, key);
    setText(record, Field::salida, "N");
    setText(record, Field::aviso, "N");
    setValue(record, value);
    return record;
}

void AgendaTable::setTime(Bytes &record, std::mt19937 &random) const
{
    const Date date{2026, 1 + static_cast<int>(random() % 12), 1 + static_cast<int>(random() % 28)};
    static_cast<void>(writeDate(record, definitionOf(Field::fecha), date)); // every month has these days
    setText(record, Field::hora, std::to_string(10 + random() % 10) + (random() % 2 != 0 ? ":30" : ":00"));
}

void AgendaTable::setValue(Bytes &record, const std::string &value) const
{
    setText(record, Field::interesado, value);
    setText(record, Field::concepto, pattern(value));
}

long AgendaTable::counter(std::span<const std::uint8_t> record) const
{
    return static_cast<long>(readNumber(record, definitionOf(Field::codcliente)).value_or(0));
}

void AgendaTable::setCounter(Bytes &record, long count) const
{
    static_cast<void>(writeNumber(record, definitionOf(Field::codcliente), static_cast<double>(count)));
}

void AgendaTable::setText(Bytes &record, Field field, const std::string &text) const
{
    writeText(record, definitionOf(field), m_table->codePage(), std::u16string(text.begin(), text.end()));
}

std::string AgendaTable::text(std::span<const std::uint8_t> record, Field field) const
{
    const std::u16string wide = readText(record, definitionOf(field), m_table->codePage());
    return {wide.begin(), wide.end()};
}

const FieldDefinition &AgendaTable::definitionOf(Field field) const
{
    return m_table->fields()[static_cast<std::size_t>(field)];
}

Result<RecordNumber> AgendaTable::find(const std::string &key) const
{
    const auto numbers = findAll(key);
    if (!numbers.ok())
        return numbers.status();
    return numbers.value().empty() ? RecordNumber(0) : numbers.value().front();
}

Result<std::vector<RecordNumber>> AgendaTable::findAll(const std::string &key) const
{
    std::string padded = key;
    padded.resize(16, ' ');
    const std::span wanted(reinterpret_cast<const std::uint8_t *>(padded.data()), padded.size());
    std::vector<RecordNumber> numbers;
    const Status status = m_table->liveRecords(m_table->index("CLAVE"), wanted, wanted, numbers);
    return status.ok() ? Result<std::vector<RecordNumber>>(std::move(numbers)) : status;
}

Result<Contents> AgendaTable::readAll() const
{
    std::vector<RecordNumber> numbers;
    std::vector<RecordNumber> inFile;
    Bytes rows;
    Status status = m_table->liveRows(m_table->index("FECHA"), {}, {}, numbers, rows);
    if (status.ok())
        status = m_table->liveRecords(nullptr, {}, {}, inFile);
    if (!status.ok())
        return status;
    if (numbers.size() != inFile.size())
        return damaged("the index shows " + std::to_string(numbers.size()) + " lines of " +
                       std::to_string(inFile.size()));
    Contents contents;
    std::map<std::string, int> lines;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const auto row = std::span(rows).subspan(i * m_table->recordLength(), m_table->recordLength());
        const std::string key = text(row, Field::oficial);
        std::string value = text(row, Field::interesado);
        if (text(row, Field::concepto) != pattern(value))
            return damaged("line " + std::to_string(numbers[i]) + " (" + key + ") is torn");
        if (key == counterKey)
            value = std::to_string(counter(row));
        const bool first = ++lines[key] == 1;
        if (!first && (contents[key] != value || key.back() != 's'))
            return damaged("key " + key + " stands in the table twice");
        contents[key] = value;
    }
    for (const auto &[key, count] : lines) {
        if (key.front() == 'w' && key.back() == 's' && count != linesOfSheet)
            return damaged("sheet " + key + " has " + std::to_string(count) + " lines");
    }
    return contents;
}

} // namespace driver
