#include "tools/agendatool/Sides.h"

#include "dbase/ShareAdvice.h"

#include <algorithm>
#include <sstream>
#include <thread>

namespace agendatool
{

namespace
{

using dbase::ErrorKind;
using dbase::File;
using dbase::Result;
using dbase::Status;

constexpr std::size_t longest = std::size_t{64} * 1024;
/// An order takes a moment; only a share that has gone, or a program that has died, takes that long.
constexpr std::chrono::seconds answerPatience(60);
/// Between two orders the other program may try what it does alone.
constexpr std::chrono::minutes orderPatience(5);

constexpr const char *greeting = "hello";
constexpr const char *farewell = "end";
constexpr const char *exclusiveWord = "exclusive";
constexpr const char *sharedWord = "shared";
constexpr const char *yes = "yes";
constexpr const char *done = "done ";       // in front of an answer
constexpr const char *notDone = "refused "; // in front of a reason

void must(const Status &status)
{
    if (!status.ok())
        throw Refused(status.text());
}

template <class T> T taken(Result<T> result)
{
    must(result.status());
    return std::move(result).value();
}

template <class... Words> std::string order(const Words &...words)
{
    std::ostringstream out;
    ((out << words << ' '), ...);
    return out.str();
}

template <class T> T next(std::istream &words)
{
    T word{};
    if (!(words >> word))
        throw Refused("una orden que no se entiende");
    return word;
}

} // namespace

void Side::create(const std::string &name, std::size_t length, char letter)
{
    carryOut(order("create", name, length, letter));
}
void Side::open(int handle, const std::string &name)
{
    carryOut(order("open", handle, name));
}
void Side::close(int handle)
{
    carryOut(order("close", handle));
}
bool Side::lock(int handle, LockKind kind)
{
    return carryOut(order("lock", handle, kind == LockKind::exclusive ? exclusiveWord : sharedWord)) == yes;
}
void Side::unlock(int handle)
{
    carryOut(order("unlock", handle));
}
void Side::write(int handle, std::uint64_t offset, std::size_t length, char letter)
{
    carryOut(order("write", handle, offset, length, letter));
}
std::string Side::read(int handle, std::uint64_t offset, std::size_t length)
{
    return carryOut(order("read", handle, offset, length));
}
void Side::rename(const std::string &from, const std::string &to)
{
    carryOut(order("rename", from, to));
}
Ground Side::ground()
{
    std::istringstream lines(carryOut(order("ground")));
    Ground found;
    std::string told;
    std::getline(lines, found.text);
    std::getline(lines, told);
    found.optionsTold = told == yes;
    for (std::string one; std::getline(lines, one);)
        found.warnings.push_back(one);
    return found;
}

File &NearSide::file(std::istream &words)
{
    const int handle = next<int>(words);
    if (handle < 0 || handle >= handles)
        throw Refused("una orden que no se entiende");
    return m_files[static_cast<std::size_t>(handle)];
}

File &NearSide::openFile(std::istream &words)
{
    File &one = file(words);
    if (!one.isOpen())
        throw Refused("una orden que no se entiende");
    return one;
}

/// Whoever can write in the folder can give orders: they never lead out of it.
std::filesystem::path NearSide::path(std::istream &words) const
{
    const auto name = next<std::string>(words);
    if (!std::all_of(name.begin(), name.end(), [](char c) { return c >= 'a' && c <= 'z'; }))
        throw Refused("una orden que no se entiende");
    return m_folder / name;
}

std::string NearSide::readBack(std::istream &words)
{
    const File &from = openFile(words);
    const auto offset = next<std::uint64_t>(words);
    std::vector<std::uint8_t> bytes(std::min(next<std::size_t>(words), longest));
    bytes.resize(taken(from.readAt(offset, bytes)));
    std::string answer = std::to_string(bytes.size());
    if (bytes.empty())
        return answer;
    const bool alike = std::all_of(bytes.begin(), bytes.end(), [&](auto byte) { return byte == bytes[0]; });
    return answer + ' ' + (alike ? static_cast<char>(bytes[0]) : '?');
}

namespace
{

/// The lines that Side::ground() takes apart.
std::string groundOf(const std::filesystem::path &folder)
{
    const dbase::Share share = dbase::shareOf(folder);
    const dbase::Mount &mount = share.mount;
    std::string lines = mount.type.empty() ? "desconocido" : mount.type;
    if (!mount.source.empty() && !share.local)
        lines += " de " + mount.source;
    if (!mount.point.empty())
        lines += " en " + mount.point;
    lines += share.local ? " (disco de este equipo)\n" : " (no es un disco de este equipo)\n";
    lines += share.local || !mount.options.empty() ? yes : "no";
    for (const std::string &one : share.warnings)
        lines += '\n' + one;
    return lines;
}

} // namespace

std::string NearSide::carryOut(const std::string &order)
{
    const auto filled = [](std::istream &words) {
        const std::size_t length = std::min(next<std::size_t>(words), longest);
        return std::vector<std::uint8_t>(length, static_cast<std::uint8_t>(next<char>(words)));
    };
    std::istringstream words(order);
    const auto verb = next<std::string>(words);
    if (verb == "create") {
        File made = taken(File::create(path(words)));
        must(made.writeAt(0, filled(words)));
    } else if (verb == "open") {
        File &into = file(words);
        into = taken(File::open(path(words), File::Mode::readWrite));
    } else if (verb == "close") {
        file(words).close();
    } else if (verb == "lock") {
        File &of = openFile(words);
        const bool exclusive = next<std::string>(words) == exclusiveWord;
        return taken(of.tryLock(lockOffset, 1, exclusive ? LockKind::exclusive : LockKind::shared)) ? yes
                                                                                                    : "no";
    } else if (verb == "unlock") {
        openFile(words).unlock(lockOffset, 1);
    } else if (verb == "write") {
        File &into = openFile(words);
        const auto offset = next<std::uint64_t>(words);
        must(into.writeAt(offset, filled(words)));
    } else if (verb == "read") {
        return readBack(words);
    } else if (verb == "rename") {
        const auto from = path(words);
        std::error_code failed;
        std::filesystem::rename(from, path(words), failed);
        if (failed)
            throw Refused("no se puede poner un fichero en el lugar de otro: " + failed.message());
    } else if (verb == "ground") {
        return groundOf(m_folder);
    } else {
        throw Refused("una orden que no se entiende");
    }
    return {};
}

// A message is a block of fixed size with its number at both ends, so that one which is only half there is
// not taken for whole.

namespace
{

constexpr std::size_t numberSize = 8;
constexpr std::size_t messageSize = 4096;
constexpr std::size_t textSize = messageSize - 2 * numberSize;

std::string numberText(int number)
{
    std::string digits = std::to_string(number);
    return digits.insert(0, numberSize - digits.size(), '0');
}

/// The text of a message in a file. @return nothing when another one stands there.
Result<std::optional<std::string>> readMessage(const std::filesystem::path &path, int number)
{
    const auto file = File::open(path, File::Mode::readOnly);
    if (!file.ok())
        return file.status();
    std::vector<std::uint8_t> bytes(messageSize);
    const auto got = file.value().readAt(0, bytes);
    if (!got.ok())
        return got.status();
    const std::string block(bytes.begin(), bytes.end());
    const std::string wanted = numberText(number);
    if (got.value() != messageSize || !block.starts_with(wanted) || !block.ends_with(wanted))
        return std::optional<std::string>();
    const std::string text = block.substr(numberSize, textSize);
    return std::optional(text.substr(0, text.find('\0')));
}

} // namespace

Channel::Channel(const std::filesystem::path &folder, End end)
    : m_own(folder / (end == End::judge ? "ordenes" : "respuestas"))
    , m_theirs(folder / (end == End::judge ? "respuestas" : "ordenes"))
{
}

Status Channel::create() const
{
    const std::vector<std::uint8_t> nothing(messageSize);
    for (const auto &path : {m_own, m_theirs}) {
        auto made = File::create(path);
        const Status status = made.ok() ? made.value().writeAt(0, nothing) : made.status();
        if (!status.ok())
            return status;
    }
    return {};
}

Status Channel::say(int number, std::string text) const
{
    text.resize(textSize, '\0');
    const std::string block = numberText(number) + text + numberText(number);
    auto file = File::open(m_own, File::Mode::readWrite);
    return file.ok() ? file.value().writeAt(0, std::vector<std::uint8_t>(block.begin(), block.end()))
                     : file.status();
}

Result<std::string> Channel::hear(int number, std::chrono::milliseconds patience,
                                  const std::function<bool()> &gone) const
{
    constexpr std::chrono::milliseconds longestPause(20);
    const auto deadline = std::chrono::steady_clock::now() + patience;
    for (std::chrono::milliseconds pause(1);; pause = std::min(2 * pause, longestPause)) {
        // Asked first: it may have answered and ended since the last look.
        const bool last = (gone && gone()) || std::chrono::steady_clock::now() >= deadline;
        const auto found = readMessage(m_theirs, number);
        if (found.ok() && found.value())
            return *found.value();
        if (last) // until then a failure may pass
            return found.ok() ? Status(ErrorKind::locked, "el otro programa no contesta") : found.status();
        std::this_thread::sleep_for(pause);
    }
}

FarSide::FarSide(const std::filesystem::path &folder, std::function<bool()> gone)
    : m_channel(folder, Channel::End::judge)
    , m_gone(std::move(gone))
{
}

std::string FarSide::ask(const std::string &order, std::chrono::milliseconds patience)
{
    ++m_number;
    if (const Status said = m_channel.say(m_number, order); !said.ok())
        throw Lost(said.message());
    const auto heard = m_channel.hear(m_number, patience, m_gone);
    if (!heard.ok())
        throw Lost(heard.status().message());
    const std::string &answer = heard.value();
    if (answer.starts_with(done))
        return answer.substr(std::string_view(done).size());
    if (answer.starts_with(notDone))
        throw Refused("en el otro programa, " + answer.substr(std::string_view(notDone).size()));
    throw Lost("el otro programa contesta lo que no debe");
}

void FarSide::meet(std::chrono::milliseconds patience)
{
    ask(greeting, patience);
}

void FarSide::dismiss()
{
    ask(farewell, answerPatience);
}

std::string FarSide::carryOut(const std::string &order)
{
    return ask(order, answerPatience);
}

Status serve(const std::filesystem::path &folder)
{
    const Channel channel(folder, Channel::End::helper);
    NearSide side(folder);
    for (int number = 1;; ++number) {
        const auto order = channel.hear(number, orderPatience);
        if (!order.ok())
            return order.status();
        std::string answer = done;
        const bool ends = order.value() == farewell;
        if (ends) {
            for (int handle = 0; handle < Side::handles; ++handle)
                side.close(handle);
        } else if (order.value() != greeting) {
            try {
                answer += side.carryOut(order.value());
            } catch (const Refused &why) {
                answer = std::string(notDone) + why.what();
            }
        }
        if (const Status said = channel.say(number, answer); !said.ok() || ends)
            return said;
    }
}

} // namespace agendatool
