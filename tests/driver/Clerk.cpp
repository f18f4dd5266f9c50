#include "tests/driver/Clerk.h"

#include <cstdio>
#include <sstream>
#include <thread>

namespace driver
{

using namespace dbase;
using Clock = std::chrono::steady_clock;

namespace
{

std::span<const std::uint8_t> bytesOf(const std::string &text)
{
    return {reinterpret_cast<const std::uint8_t *>(text.data()), text.size()};
}

} // namespace

Clerk::Clerk(const std::filesystem::path &folder, int id, Writer::Teller tell)
    : m_writer(folder, id, 1, tell)
    , m_tell(std::move(tell))
{
}

bool Clerk::obey(const std::string &order)
{
    std::istringstream stream(order);
    Words words;
    for (std::string word; stream >> word;)
        words.push_back(word);
    if (words.empty())
        return false;
    const auto begun = Clock::now();
    const auto result = perform(words);
    const auto took = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begun).count();
    if (!result.ok()) {
        std::fprintf(stderr, "%s: %s\n", order.c_str(), result.status().message().c_str());
        if (result.status().kind() == ErrorKind::invalidArgument)
            return false;
    }
    say("DONE " + words[0] + ' ' + std::to_string(took) + ' ' + (result.ok() ? result.value() : "failed"));
    return true;
}

Result<std::string> Clerk::perform(const Words &words)
{
    const std::string &verb = words[0];
    const auto number = [&](std::size_t at) { return std::atol(words[at].c_str()); };
    if (verb == "set" && words.size() == 3) {
        m_writer.changeTo(words[1], words[2]);
        return words[2];
    }
    if (verb == "count" && words.size() == 4) {
        for (long value = 1; value <= number(2); ++value) {
            std::this_thread::sleep_for(std::chrono::milliseconds(number(3)));
            m_writer.changeTo(words[1], std::to_string(value));
        }
        return words[2];
    }
    if (verb == "sheet" && words.size() == 2) {
        m_writer.addSheet(words[1], "v");
        return words[1];
    }
    if (verb == "close") {
        const Status status = m_writer.close();
        return status.ok() ? Result<std::string>("closed") : status;
    }
    if (const Status status = m_writer.open(); !status.ok())
        return status;
    if (verb == "watch" && words.size() == 4)
        return watch(words[1], std::chrono::seconds(number(2)), std::chrono::milliseconds(number(3)));
    if (verb == "refresh") {
        const auto news = m_writer.agenda().table().refresh();
        if (!news.ok())
            return news.status();
        return std::string(news.value() ? "news" : "nothing");
    }
    if (verb == "seek" && words.size() == 2)
        return seek(words[1]);
    if (verb == "day" && words.size() == 2)
        return day(words[1]);
    return Status(ErrorKind::invalidArgument, "no such order");
}

Result<std::string> Clerk::watch(const std::string &key, std::chrono::seconds howLong,
                                 std::chrono::milliseconds pause)
{
    const auto end = Clock::now() + howLong;
    std::string last;
    long looks = 0;
    long failed = 0;
    for (; Clock::now() < end; std::this_thread::sleep_for(pause)) {
        ++looks;
        const auto news = m_writer.agenda().table().refresh();
        if (!news.ok()) {
            ++failed;
            std::fprintf(stderr, "refresh: %s\n", news.status().message().c_str());
        }
        if (!news.ok() || (!news.value() && !last.empty()))
            continue;
        const auto found = seek(key);
        if (!found.ok()) {
            ++failed;
            std::fprintf(stderr, "seek: %s\n", found.status().message().c_str());
        } else if (found.value() != last) {
            last = found.value();
            say(std::string("SEE ").append(key).append(" ").append(last));
        }
    }
    return std::to_string(looks) + " looks " + std::to_string(failed) + " failed";
}

Result<std::string> Clerk::seek(const std::string &key)
{
    AgendaTable &agenda = m_writer.agenda();
    const auto number = agenda.find(key);
    if (!number.ok() || number.value() == 0)
        return number.ok() ? Status(ErrorKind::notFound, "no such line") : number.status();
    Bytes record(agenda.table().recordLength());
    if (const Status status = agenda.table().read(number.value(), record); !status.ok())
        return status;
    return agenda.text(record, Field::interesado);
}

Result<std::string> Clerk::day(const std::string &date)
{
    Table &table = m_writer.agenda().table();
    std::vector<RecordNumber> numbers;
    Bytes rows;
    const std::string low = date + "     ";
    const std::string high = date + "99:99";
    const Status status = table.liveRows(table.index("FECHA"), bytesOf(low), bytesOf(high), numbers, rows);
    return status.ok() ? Result<std::string>(std::to_string(numbers.size())) : status;
}

void Clerk::say(const std::string &text) const
{
    const auto now = Clock::now().time_since_epoch();
    m_tell(text + " @" + std::to_string(std::chrono::nanoseconds(now).count()) + '\n');
}

} // namespace driver
