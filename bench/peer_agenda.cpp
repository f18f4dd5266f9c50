// The table files as one of the programs of a speed comparison: the same data and operations for each of
// them. The frame, driver.hpp, belongs to the comparison; this is only built when its folder is named
// (AGENDA_SPEED_FRAME).

#include "dbase/Table.h"

#include "driver.hpp"

#include <memory>

namespace
{

using namespace dbase;

std::span<const std::uint8_t> bytesOf(const std::string &text)
{
    return {reinterpret_cast<const std::uint8_t *>(text.data()), text.size()};
}

void require(const Status &status)
{
    if (!status.ok())
        die(status.message());
}

struct AgendaPeer : Peer {
    std::unique_ptr<Table> table;
    std::unique_ptr<Table> durable;
    std::vector<std::uint8_t> record;
    std::vector<RecordNumber> numbers;
    std::vector<std::uint8_t> rows;

    std::unique_ptr<Table> openTable(bool flushed)
    {
        OpenOptions options;
        options.durable = flushed;
        options.lockTimeout = std::chrono::seconds(5);
        options.tags = {{"FECHA", "DTOS(FECHA)+HORA"}};
        auto opened = Table::open(dir + "/AGENDA_N.DBF", options);
        require(opened.status());
        return std::move(opened).value();
    }
    Table &use(bool flushed)
    {
        if (!flushed)
            return *table;
        if (!durable)
            durable = openTable(true);
        return *durable;
    }
    void build(const std::string &base) override
    {
        mkdir(dir.c_str(), 0755);
        std::ifstream in(base, std::ios::binary);
        std::ofstream(dir + "/AGENDA_N.DBF", std::ios::binary) << in.rdbuf();
        openTable(false);
    }
    void open() override
    {
        table = openTable(false);
        record.resize(table->recordLength());
    }
    RecordNumber find(Table &in, const std::string &day, const std::string &hour)
    {
        const auto found = in.index("FECHA")->find(bytesOf(day + hour));
        require(found.status());
        return found.value() ? found.value()->record : 0;
    }
    bool seek(const std::string &day, const std::string &hour, uint64_t &hash) override
    {
        const RecordNumber number = find(*table, day, hour);
        if (number == 0)
            return false;
        require(table->read(number, record));
        const char *r = reinterpret_cast<const char *>(record.data());
        hash = seek_hash({r + 1, 8}, {r + 9, 5}, rtrim(r + 14, 254));
        return true;
    }
    int range(const std::string &low, const std::string &high, uint64_t &sum, std::string *first) override
    {
        numbers.clear();
        rows.clear();
        require(table->liveRows(table->index("FECHA"), bytesOf(low), bytesOf(high), numbers, rows));
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            const Line line = line_of(reinterpret_cast<const char *>(rows.data()) + i * record.size());
            if (first && i == 0)
                *first =
                    std::string(line.fecha) + " " + std::string(line.hora) + " " + std::string(line.concepto);
            sum = sum * 31 + line_hash(line);
        }
        return static_cast<int>(numbers.size());
    }
    void sheet(const std::string &day, bool batch, bool sync) override
    {
        Table &in = use(sync);
        if (batch)
            require(in.beginGroup());
        for (int i = 0; i < 24; ++i) {
            auto line = blankRecord(in.recordLength());
            const std::string hour = slot(i);
            std::copy(day.begin(), day.end(), line.begin() + 1);
            std::copy(hour.begin(), hour.end(), line.begin() + 9);
            require(in.append(line).status());
        }
        if (batch)
            require(in.commitGroup());
    }
    /// Finds, reads and changes a line as one commit, respecting the locks of others.
    template <class Change> void withLine(Table &in, const KeyOp &key, Change &&change)
    {
        require(in.beginGroup());
        const RecordNumber number = find(in, key.day, key.hour);
        if (number == 0)
            die("no line " + key.day + key.hour);
        require(in.read(number, record));
        auto after = record;
        change(after);
        require(in.update(number, record, after));
        require(in.commitGroup());
    }
    static void put(std::vector<std::uint8_t> &line, int at, int width, const std::string &text)
    {
        std::fill_n(line.begin() + at, width, ' ');
        std::copy(text.begin(), text.end(), line.begin() + at);
    }
    void edit(const KeyOp &key, bool sync) override
    {
        withLine(use(sync), key, [&](auto &line) {
            put(line, 14, 254, key.text);
            put(line, 378, 16, "MARTA");
        });
    }
    void move(const KeyOp &key) override
    {
        withLine(*table, key, [&](auto &line) { put(line, 9, 5, key.text); });
    }
    void watch(const std::string &) override
    {
        struct timespec tick = {0, 60'000'000}; // the clock of the file system must have moved on
        nanosleep(&tick, nullptr);
        require(table->refresh().status());
    }
    bool changed(const std::string &) override
    {
        const auto news = table->refresh();
        require(news.status());
        return news.value();
    }
    void dump(FILE *file) override
    {
        numbers.clear();
        rows.clear();
        require(table->liveRows(table->index("FECHA"), {}, {}, numbers, rows));
        for (std::size_t i = 0; i < numbers.size(); ++i)
            dump_line(file, line_of(reinterpret_cast<const char *>(rows.data()) + i * record.size()));
    }
};

} // namespace

int main(int argc, char **argv)
{
    AgendaPeer peer;
    return drive(peer, argc - 1, argv + 1);
}
