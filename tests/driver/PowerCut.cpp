#include "tests/driver/PowerCut.h"

#include "tests/support/TempFolder.h"

#include <algorithm>
#include <random>
#include <set>

namespace driver
{

namespace
{

using filecalls::Event;

constexpr std::size_t sector = 512;

/// Whether a sector of one of the unsafe changes, counted from the oldest, has reached the disk.
using Arrived = std::function<bool(std::size_t change, std::size_t sector)>;

bool everything(std::size_t /*change*/, std::size_t /*sector*/)
{
    return true;
}
bool nothing(std::size_t /*change*/, std::size_t /*sector*/)
{
    return false;
}

struct Change {
    bool isSize = false;
    std::uint64_t offset = 0; ///< or the new size
    std::string bytes;
    bool dropped = false; ///< covered by a flush that failed
    [[nodiscard]] std::uint64_t end() const { return offset + bytes.size(); }
    [[nodiscard]] Change part(std::uint64_t from, std::uint64_t to) const
    {
        return {false, from, bytes.substr(from - offset, to - from), dropped};
    }
};

class DiskFile
{
public:
    explicit DiskFile(std::string content = {})
        : m_safe(std::move(content))
    {
    }
    [[nodiscard]] std::size_t unsafeChanges() const { return m_changes.size(); }
    [[nodiscard]] const Change &change(std::size_t number) const { return m_changes[number]; }

    void add(Change change)
    {
        // What is written anew is no longer what was dropped.
        std::erase_if(m_changes, [&](const Change &old) {
            return old.dropped && (change.isSize ? old.end() > change.offset
                                                 : old.end() > change.offset && old.offset < change.end());
        });
        m_changes.push_back(std::move(change));
    }
    void flush()
    {
        const auto kept = std::stable_partition(m_changes.begin(), m_changes.end(),
                                                [](const Change &one) { return !one.dropped; });
        for (auto one = m_changes.begin(); one != kept; ++one)
            apply(m_safe, *one, 0, everything);
        m_changes.erase(m_changes.begin(), kept);
    }
    /// Of some bytes: nothing else of the file becomes safe.
    void flush(std::uint64_t from, std::uint64_t to)
    {
        std::vector<Change> rest;
        for (const Change &one : m_changes) {
            const std::uint64_t first = std::max(one.offset, from);
            const std::uint64_t last = std::min(one.end(), to);
            if (one.dropped || one.isSize || first >= last) {
                rest.push_back(one);
                continue;
            }
            apply(m_safe, one.part(first, last), 0, everything);
            for (const Change &left : {one.part(one.offset, first), one.part(last, one.end())}) {
                if (!left.bytes.empty())
                    rest.push_back(left);
            }
        }
        m_changes = std::move(rest);
    }
    void flushFails(std::uint64_t from, std::uint64_t to)
    {
        for (Change &one : m_changes)
            one.dropped = one.dropped || (!one.isSize && one.offset < to && one.end() > from);
    }
    [[nodiscard]] std::string content(const Arrived &arrived) const
    {
        std::string made = m_safe;
        for (std::size_t i = 0; i < m_changes.size(); ++i)
            apply(made, m_changes[i], i, arrived);
        return made;
    }

private:
    static void apply(std::string &content, const Change &change, std::size_t number, const Arrived &arrived)
    {
        if (change.isSize) {
            if (arrived(number, 0))
                content.resize(change.offset);
            return;
        }
        for (std::uint64_t from = change.offset; from < change.end();) {
            const std::uint64_t to = std::min((from / sector + 1) * sector, change.end());
            if (arrived(number, from / sector)) {
                content.resize(std::max<std::size_t>(content.size(), to));
                content.replace(from, to - from, change.bytes, from - change.offset, to - from);
            }
            from = to;
        }
    }
    std::string m_safe;
    std::vector<Change> m_changes;
};

using Names = std::map<std::string, std::size_t>; ///< name to number of the file

struct NameChange {
    Event::Kind kind;
    std::string name;
    std::string newName;
    std::size_t file = 0;
};

/// The disk as it stands at one point of a recording.
class Disk
{
public:
    explicit Disk(const Image &start)
    {
        for (const auto &[name, content] : start) {
            m_safeNames[name] = m_files.size();
            m_files.emplace_back(content);
        }
        m_names = m_safeNames;
    }

    void step(const Event &event)
    {
        const std::string name = event.file.string();
        switch (event.kind) {
        case Event::Kind::mark:
            return;
        case Event::Kind::created:
            if (m_names.contains(name))
                return;
            m_files.emplace_back();
            return rename({event.kind, name, {}, m_files.size() - 1});
        case Event::Kind::renamed:
            return rename({event.kind, name, event.text});
        case Event::Kind::removed:
            return rename({event.kind, name, {}});
        case Event::Kind::written:
            return m_files[m_names.at(name)].add({false, event.offset, event.bytes});
        case Event::Kind::sized:
            return m_files[m_names.at(name)].add({true, event.offset, {}});
        case Event::Kind::flushed:
            if (event.length > 0)
                return m_files[m_names.at(name)].flush(event.offset, event.offset + event.length);
            m_files[m_names.at(name)].flush();
            m_safeNames = m_names;
            m_nameChanges.clear();
            return;
        case Event::Kind::flushFailed:
            return m_files[m_names.at(name)].flushFails(
                event.offset, event.length > 0 ? event.offset + event.length : UINT64_MAX);
        }
    }

    /// @param names    so many of the unsafe changes of names have arrived.
    /// @param arrived  one for each file.
    [[nodiscard]] Image image(std::size_t names, const std::vector<Arrived> &arrived) const
    {
        Names known = m_safeNames;
        for (std::size_t i = 0; i < std::min(names, m_nameChanges.size()); ++i)
            apply(known, m_nameChanges[i]);
        Image made;
        for (const auto &[name, file] : known)
            made[name] = m_files[file].content(arrived[file]);
        return made;
    }
    [[nodiscard]] const std::vector<DiskFile> &files() const { return m_files; }
    [[nodiscard]] std::size_t nameChanges() const { return m_nameChanges.size(); }

private:
    void rename(NameChange change)
    {
        apply(m_names, change);
        m_nameChanges.push_back(std::move(change));
    }
    static void apply(Names &names, const NameChange &change)
    {
        if (change.kind == Event::Kind::created) {
            names[change.name] = change.file;
            return;
        }
        if (const auto old = names.extract(change.name); old && change.kind == Event::Kind::renamed)
            names[change.newName] = old.mapped();
    }
    std::vector<DiskFile> m_files;
    Names m_names;
    Names m_safeNames;
    std::vector<NameChange> m_nameChanges;
};

struct State {
    std::string label;
    Image image;
};

/// Draws states of a disk.
class Draw
{
public:
    Draw(const Disk &disk, std::mt19937 &random)
        : m_disk(disk)
        , m_random(random)
    {
        for (std::size_t i = 0; i < disk.files().size(); ++i) {
            if (disk.files()[i].unsafeChanges() > 0)
                m_busy.push_back(i);
        }
    }

    [[nodiscard]] State all() const
    {
        return {"everything", m_disk.image(m_disk.nameChanges(), same(everything))};
    }
    [[nodiscard]] State none() const { return {"only what is safe", m_disk.image(0, same(nothing))}; }
    [[nodiscard]] bool hasChoice() const { return !m_busy.empty() || m_disk.nameChanges() > 0; }

    [[nodiscard]] State some()
    {
        if (m_busy.empty() || below(3) == 0)
            return scattered();
        const std::size_t file = m_busy[below(m_busy.size())];
        const bool othersToo = below(2) == 0;
        auto arrived = same(othersToo ? everything : nothing);
        const std::string label = oneFile(m_disk.files()[file], arrived[file]);
        return {"file " + std::to_string(file) + " " + label +
                    (othersToo ? ", the others all" : ", the others not"),
                m_disk.image(m_disk.nameChanges(), arrived)};
    }

private:
    std::size_t below(std::size_t limit) { return m_random() % limit; }
    [[nodiscard]] std::vector<Arrived> same(const Arrived &arrived) const
    {
        return std::vector<Arrived>(m_disk.files().size(), arrived);
    }
    /// The same answer whenever it is asked for the same place.
    static std::uint32_t dice(std::uint32_t seed, std::size_t a, std::size_t b)
    {
        std::minstd_rand made(seed ^ static_cast<std::uint32_t>(a * 0x9E3779B1U) ^
                              static_cast<std::uint32_t>(b * 0x85EBCA77U + 1));
        made.discard(3);
        return static_cast<std::uint32_t>(made() >> 8U);
    }

    State scattered()
    {
        const auto seed = static_cast<std::uint32_t>(m_random());
        const bool inOrder = below(2) == 0;
        std::vector<Arrived> arrived = same(everything);
        for (const std::size_t file : m_busy) {
            const std::size_t changes = m_disk.files()[file].unsafeChanges();
            // Either each sector after some number of the changes to it, or each piece by itself.
            if (inOrder)
                arrived[file] = [=](std::size_t change, std::size_t place) {
                    return change < dice(seed, file, place) % (changes + 1);
                };
            else
                arrived[file] = [=](std::size_t change, std::size_t /*place*/) {
                    return dice(seed, file, change) % 2 == 0;
                };
        }
        return {inOrder ? "each sector at a time of its own" : "some changes, others not",
                m_disk.image(below(m_disk.nameChanges() + 1), arrived)};
    }

    std::string oneFile(const DiskFile &file, Arrived &arrived)
    {
        const std::size_t one = below(file.unsafeChanges());
        const std::string which = std::to_string(one + 1) + " of " + std::to_string(file.unsafeChanges());
        const std::size_t first = file.change(one).offset / sector;
        const std::size_t sectors = file.change(one).bytes.size() / sector + 1;
        switch (below(5)) {
        case 0:
            arrived = [one](std::size_t change, std::size_t /*place*/) { return change <= one; };
            return "up to change " + which;
        case 1:
            arrived = [one](std::size_t change, std::size_t /*place*/) { return change != one; };
            return "without change " + which;
        case 2:
            arrived = [one](std::size_t change, std::size_t /*place*/) { return change == one; };
            return "only change " + which;
        case 3: {
            const std::size_t cut = first + below(sectors);
            arrived = [=](std::size_t change, std::size_t place) {
                return change < one || (change == one && place <= cut);
            };
            return "torn behind a sector of change " + which;
        }
        default: {
            const std::size_t cut = first + below(sectors);
            arrived = [=](std::size_t change, std::size_t place) {
                return change < one || (change == one && place > cut);
            };
            return "torn before a sector of change " + which;
        }
        }
    }

    const Disk &m_disk;
    std::mt19937 &m_random;
    std::vector<std::size_t> m_busy;
};

class Cutter
{
public:
    Cutter(const CutJudge &judge, const CutOptions &options)
        : m_judge(judge)
        , m_options(options)
        , m_random(options.seed)
    {
    }

    void run(const Image &start, std::span<const Event> events, std::vector<std::string> marks, bool second)
    {
        Disk disk(start);
        for (std::size_t n = 0; n < events.size() && !enough(); ++n) {
            disk.step(events[n]);
            if (events[n].kind == Event::Kind::mark && !second)
                marks.push_back(events[n].text);
            ++m_report.points;
            m_where = "seed " + std::to_string(m_options.seed) + (second ? ", repair" : "") +
                      ", after call " + std::to_string(n) + " " + events[n].file.string();
            atPoint(disk, marks, second ? 4 : m_options.statesAtPoint);
        }
    }
    /// Cuts some of the repairs that have been recorded.
    void cutRepairs()
    {
        std::vector<Repair> repairs = std::move(m_repairs);
        std::shuffle(repairs.begin(), repairs.end(), m_random);
        for (std::size_t i = 0; i < repairs.size() && m_report.repairsCut < m_options.repairsCut && !enough();
             ++i) {
            ++m_report.repairsCut;
            run(repairs[i].start, repairs[i].events, repairs[i].marks, true);
        }
    }
    CutReport report() { return std::move(m_report); }

private:
    struct Repair {
        Image start;
        std::vector<Event> events;
        std::vector<std::string> marks;
    };
    [[nodiscard]] bool enough() const { return m_report.failures.size() >= m_options.mostFailures; }

    void atPoint(const Disk &disk, const std::vector<std::string> &marks, int most)
    {
        Draw draw(disk, m_random);
        look(draw.all(), marks);
        if (!draw.hasChoice())
            return;
        look(draw.none(), marks);
        for (int i = 2; i < most && !enough(); ++i)
            look(draw.some(), marks);
    }

    void look(const State &state, const std::vector<std::string> &marks)
    {
        std::size_t key = marks.size();
        for (const auto &[name, content] : state.image) {
            key = key * 31 + std::hash<std::string>()(name);
            key = key * 31 + std::hash<std::string>()(content);
        }
        if (!m_seen.insert(key).second)
            return;
        ++m_report.states;
        writeImage(m_place.path(), state.image);
        filecalls::watch(m_place.path());
        filecalls::plant(m_options.planted);
        filecalls::behaveAs(m_options.share);
        const std::vector<std::string> wrong = m_judge(m_place.path(), marks);
        if (m_options.repairsCut > 0 && m_random() % 16 == 0)
            keep({state.image, filecalls::recorded(), marks});
        filecalls::behaveAs(filecalls::Share::local);
        filecalls::unwatch();
        for (const std::string &one : wrong)
            m_report.failures.push_back(m_where + ", " + state.label + ": " + one);
    }

    /// Some of all, for what is recorded of a repair takes room.
    void keep(Repair repair)
    {
        const auto most = static_cast<std::size_t>(m_options.repairsCut) * 4;
        if (m_repairs.size() < most)
            m_repairs.push_back(std::move(repair));
        else
            m_repairs[m_random() % most] = std::move(repair);
    }

    const CutJudge &m_judge;
    const CutOptions &m_options;
    std::mt19937 m_random;
    support::TempFolder m_place;
    std::set<std::size_t> m_seen;
    std::vector<Repair> m_repairs;
    std::string m_where;
    CutReport m_report;
};

} // namespace

Image readImage(const std::filesystem::path &folder)
{
    Image image;
    for (const auto &entry : std::filesystem::directory_iterator(folder))
        image[entry.path().filename().string()] = support::readFile(entry.path());
    return image;
}

void writeImage(const std::filesystem::path &folder, const Image &image)
{
    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
        if (!image.contains(entry.path().filename().string()))
            std::filesystem::remove(entry.path());
    }
    for (const auto &[name, content] : image)
        support::writeFile(folder / name, content);
}

CutReport cutEverywhere(const Image &start, std::span<const Event> events, const CutJudge &judge,
                        const CutOptions &options)
{
    Cutter cutter(judge, options);
    cutter.run(start, events, {}, false);
    cutter.cutRepairs();
    return cutter.report();
}

} // namespace driver
