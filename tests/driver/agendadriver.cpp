// agendadriver: a writer and a judge of an agenda table, for tests that kill it, cut its power or make its
// calls fail.
//
//   - agendadriver init DIR
//     makes the table
//   - agendadriver write DIR ID SEED [OPS [sheets]]
//     changes lines and says so (see Writer.h); without OPS, or 0, until it is killed
//   - agendadriver check DIR
//     opens (and so repairs) the table and holds it to what it must be; 0 = sound
//   - agendadriver dump DIR
//     "key value" of every line
//   - agendadriver hold DIR KEY SECONDS
//     keeps the lock of a line
//   - agendadriver obey DIR ID
//     does what the lines of the standard input ask for (see Clerk.h), until they end

#include "tests/driver/Clerk.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <thread>

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

namespace
{

using namespace dbase;
using namespace driver;

[[noreturn]] void fail(const std::string &text)
{
    std::fprintf(stderr, "agendadriver: %s\n", text.c_str());
    std::exit(1);
}

void succeed(const Status &status)
{
    if (!status.ok())
        fail(status.message());
}

/// Past stdio: a killed process must not keep a line in its buffer.
void print(const std::string &line)
{
#if defined(_WIN32)
    if (_write(1, line.data(), static_cast<unsigned>(line.size())) < 0)
        std::exit(3);
#else
    if (::write(1, line.data(), line.size()) < 0)
        std::exit(3);
#endif
}

void write(const std::vector<std::string> &words)
{
    Writer writer(words[1], std::atoi(words[2].c_str()), static_cast<unsigned>(std::atol(words[3].c_str())),
                  print);
    const long operations = words.size() > 4 ? std::atol(words[4].c_str()) : 0;
    const bool withSheets = words.size() > 5 && words[5] == "sheets";
    for (long n = 0; operations == 0 || n < operations; ++n)
        withSheets ? writer.stepWithSheets() : writer.step();
    // Every change has been answered; a failure now costs the next opener some time, and is said all the
    // same.
    if (const Status status = writer.close(); !status.ok())
        std::fprintf(stderr, "close: %s\n", status.message().c_str());
}

void obey(const std::vector<std::string> &words)
{
    Clerk clerk(words[1], std::atoi(words[2].c_str()), print);
    for (std::string order; std::getline(std::cin, order);) {
        if (!clerk.obey(order))
            fail("no such order: " + order);
    }
}

void hold(AgendaTable &agenda, const std::string &key, int seconds)
{
    const auto number = agenda.find(key);
    succeed(number.status());
    const auto lock = agenda.table().lockRecord(number.value());
    succeed(lock.status());
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
}

Contents readAll(AgendaTable &agenda)
{
    const auto contents = agenda.readAll();
    succeed(contents.status());
    return contents.value();
}

} // namespace

int main(int argc, char **argv)
{
    const std::vector<std::string> words(argv + 1, argv + argc);
    const std::string verb = words.size() < 2 ? std::string() : words[0];
    if (verb == "init") {
        succeed(AgendaTable::create(words[1]));
        return 0;
    }
    if (verb == "write" && words.size() >= 4) {
        write(words);
        return 0;
    }
    if (verb == "obey" && words.size() == 3) {
        obey(words);
        return 0;
    }
    const bool holding = verb == "hold" && words.size() == 4;
    if (verb != "check" && verb != "dump" && !holding)
        fail("init|write|check|dump|hold|obey DIR ...");
    AgendaTable agenda;
    succeed(agenda.open(words[1]));
    if (holding) {
        hold(agenda, words[2], std::atoi(words[3].c_str()));
    } else if (verb == "check") {
        succeed(agenda.table().check());
        readAll(agenda);
    } else {
        for (const auto &[key, value] : readAll(agenda))
            std::printf("%s %s\n", key.c_str(), value.c_str());
    }
    return 0;
}
