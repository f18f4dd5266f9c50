#include "tests/driver/Told.h"

#include <algorithm>
#include <chrono>
#include <sstream>

namespace driver
{

namespace
{

/// What create() puts under a key; empty for all others.
std::string firstValue(const std::string &key)
{
    if (key == counterKey)
        return "0";
    return key.starts_with("shared-") ? "v0" : "";
}

std::string saying(std::string text, const std::string &value, const char *what)
{
    return text.append(" is \"").append(value).append("\", ").append(what);
}

} // namespace

void Told::lines(int writer, std::string_view text)
{
    for (std::size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
        line(writer, text.substr(0, end));
        text.remove_prefix(end + 1);
    }
}

void Told::line(int writer, std::string_view text)
{
    std::istringstream in{std::string(text)};
    std::vector<std::string> words;
    for (std::string word; in >> word;)
        words.push_back(word);
    if (words.size() < 4 || words.back().front() != '@')
        return;
    const std::int64_t at = std::stoll(words.back().substr(1));
    if (words[0] != "TRY")
        return answer(writer, words[0], at);
    Change begun;
    begun.value = words[1] == "del" ? std::string() : words[3];
    begun.begun = at;
    auto &changes = m_changes[words[2]];
    m_underWay[writer] = {words[2], changes.size()};
    changes.push_back(std::move(begun));
}

void Told::answer(int writer, std::string_view verb, std::int64_t at)
{
    const auto asked = m_underWay.find(writer);
    if (asked == m_underWay.end())
        return;
    auto &changes = m_changes[asked->second.key];
    Change &change = changes[asked->second.change];
    change.ended = at;
    change.sure = verb == "ACK";
    m_acknowledged += change.sure ? 1 : 0;
    m_refused += change.sure ? 0 : 1;
    if (verb == "NAK")
        change.begun = never; // it has not happened; the place stays, others count by it
    m_underWay.erase(asked);
}

void Told::died(int writer)
{
    if (!m_underWay.contains(writer))
        return;
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    answer(writer, "", std::chrono::nanoseconds(now).count());
}

/// A value stands unless a sure change was begun after this one had ended. `first` stands for the change
/// before all.
bool Told::mayStand(const std::vector<Change> &changes, const std::string &first, const std::string &value)
{
    std::int64_t lastSure = -1;
    for (const Change &one : changes) {
        if (one.sure)
            lastSure = std::max(lastSure, one.begun);
    }
    if (lastSure < 0 && value == first)
        return true;
    return std::any_of(changes.begin(), changes.end(), [&](const Change &one) {
        return one.begun != never && one.value == value && one.ended >= lastSure;
    });
}

std::vector<std::string> Told::compare(const Contents &found) const
{
    std::vector<std::string> wrong;
    for (const auto &[key, changes] : m_changes) {
        const auto place = found.find(key);
        const std::string value = place == found.end() ? std::string() : place->second;
        if (key == counterKey) {
            const auto sure =
                std::count_if(changes.begin(), changes.end(), [](const Change &c) { return c.sure; });
            const auto perhaps = std::count_if(changes.begin(), changes.end(),
                                               [](const Change &c) { return c.begun != never; });
            const long count = value.empty() ? -1 : std::stol(value);
            if (count < sure || count > perhaps)
                wrong.push_back("the counter is " + value + ", told " + std::to_string(sure) + " to " +
                                std::to_string(perhaps));
        } else if (!mayStand(changes, firstValue(key), value)) {
            wrong.push_back(saying(key, value, "which is not the last that was told"));
        }
    }
    for (const auto &[key, value] : found) {
        if (!m_changes.contains(key) && value != firstValue(key))
            wrong.push_back(saying(key, value, "and nobody wrote it"));
    }
    for (const char *key : {"shared-a", "shared-b", "shared-c", counterKey}) {
        if (!found.contains(key))
            wrong.push_back(std::string(key) + " is gone");
    }
    return wrong;
}

} // namespace driver
