#include "dbase/ShareAdvice.h"

#include <algorithm>
#include <charconv>

namespace dbase
{

namespace
{

std::vector<std::string_view> split(std::string_view text, char separator)
{
    std::vector<std::string_view> parts;
    for (;;) {
        const auto end = text.find(separator);
        parts.push_back(text.substr(0, end));
        if (end == std::string_view::npos)
            return parts;
        text.remove_prefix(end + 1);
    }
}

bool isOctal(char c)
{
    return c >= '0' && c <= '7';
}

/// The system writes blanks, line ends and backslashes of names as \040.
std::string withoutEscapes(std::string_view text)
{
    constexpr std::size_t digits = 3;
    std::string out;
    while (!text.empty()) {
        const bool escaped = text.front() == '\\' && text.size() > digits && text[1] <= '3' &&
                             std::all_of(text.begin() + 1, text.begin() + 1 + digits, isOctal);
        if (!escaped) {
            out += text.front();
            text.remove_prefix(1);
            continue;
        }
        unsigned value = 0;
        for (const char digit : text.substr(1, digits))
            value = value * 8 + static_cast<unsigned>(digit - '0');
        out += static_cast<char>(value);
        text.remove_prefix(1 + digits);
    }
    return out;
}

/// One line: number, parent, device, root, folder, options, notes of any number, "-", type, source, options.
std::optional<Mount> readLine(std::string_view line)
{
    constexpr std::size_t pointAt = 4;
    constexpr std::size_t notesAt = 6;
    constexpr std::size_t behindNotes = 4; // the dash included
    const auto fields = split(line, ' ');
    if (fields.size() < notesAt + behindNotes)
        return std::nullopt;
    const auto dash = std::find(fields.begin() + notesAt, fields.end(), "-");
    if (fields.end() - dash < static_cast<std::ptrdiff_t>(behindNotes))
        return std::nullopt;
    Mount mount{withoutEscapes(fields[pointAt]), withoutEscapes(dash[1]), withoutEscapes(dash[2]), {}};
    for (const std::string_view all : {fields[notesAt - 1], dash[3]}) {
        for (const std::string_view one : split(all, ','))
            mount.options.emplace_back(one);
    }
    return mount;
}

bool contains(std::string_view folder, std::string_view path)
{
    if (!path.starts_with(folder))
        return false;
    return folder.ends_with('/') || path.size() == folder.size() || path[folder.size()] == '/';
}

bool has(const Mount &mount, std::string_view option)
{
    return std::find(mount.options.begin(), mount.options.end(), option) != mount.options.end();
}

/// @param name  with its "=". @return empty when it is not given.
std::string_view valueOf(const Mount &mount, std::string_view name)
{
    for (const std::string_view option : mount.options) {
        if (option.starts_with(name))
            return option.substr(name.size());
    }
    return {};
}

/// The first number of a version, 3 of "3.1.1"; nothing where it does not begin with one.
std::optional<int> mainNumber(std::string_view version)
{
    int number = 0;
    const auto read = std::from_chars(version.data(), version.data() + version.size(), number);
    return read.ec == std::errc() ? std::optional(number) : std::nullopt;
}

class Warnings
{
public:
    explicit Warnings(const Mount &mount)
        : m_mount(mount)
    {
    }

    std::vector<std::string> take()
    {
        const std::string &type = m_mount.type;
        if (type == "cifs" || type.starts_with("smb"))
            smb();
        else if (type == "nfs" || type == "nfs4")
            nfs();
        else if (!type.empty() && type != "fuseblk") // whatever serves it, its disk is in this machine
            say("usa «" + type +
                "», un sistema de ficheros del que no se sabe si hace ver a unos puestos los bloqueos de "
                "otros; no trabaje en ella sin haberla probado con «agendatool red» desde dos puestos");
        return std::move(m_said);
    }

private:
    void say(const std::string &fault) { m_said.push_back("la carpeta " + m_mount.point + ' ' + fault); }

    void sayLocksUnseen(const std::string &option)
    {
        say("está montada con «" + option +
            "» y los demás puestos no ven los bloqueos de este; no trabaje así y quite esa opción");
    }

    void smb()
    {
        constexpr int oldestVersion = 3;
        if (has(m_mount, "nobrl"))
            sayLocksUnseen("nobrl");
        const std::string cache(valueOf(m_mount, "cache="));
        if (cache != "none")
            say("está montada " + (cache.empty() ? "sin «cache=none»" : "con «cache=" + cache + "»") +
                " y este puesto puede enseñar datos viejos de su memoria; ponga cache=none");
        if (!has(m_mount, "hard"))
            say("está montada sin «hard» y un corte breve de la red se convierte en un fallo al escribir; "
                "ponga hard");
        const std::string version(valueOf(m_mount, "vers="));
        if (mainNumber(version).value_or(oldestVersion) < oldestVersion)
            say("habla con el servidor en SMB " + version + "; ponga vers=3.1.1");
    }

    void nfs()
    {
        constexpr int oldestVersion = 4;
        const std::string localLock(valueOf(m_mount, "local_lock="));
        if (!localLock.empty() && localLock != "none")
            sayLocksUnseen("local_lock=" + localLock);
        else if (has(m_mount, "nolock"))
            sayLocksUnseen("nolock");
        const std::string version(valueOf(m_mount, "vers="));
        if (mainNumber(version).value_or(oldestVersion) < oldestVersion)
            say("habla con el servidor en NFS " + version +
                ", que no tiene bloqueos suyos; móntela con la versión 4.2");
        for (const char *const soft : {"soft", "softerr"}) {
            if (has(m_mount, soft))
                say("está montada con «" + std::string(soft) +
                    "» y un corte breve de la red deja escrituras sin hacer; ponga hard");
        }
    }

    const Mount &m_mount;
    std::vector<std::string> m_said;
};

} // namespace

std::optional<Mount> mountOf(std::string_view mountInfo, std::string_view realPath)
{
    std::optional<Mount> nearest;
    for (const std::string_view line : split(mountInfo, '\n')) {
        auto mount = readLine(line);
        if (mount && contains(mount->point, realPath) &&
            (!nearest || mount->point.size() >= nearest->point.size()))
            nearest = std::move(mount);
    }
    return nearest;
}

std::vector<std::string> mountWarnings(const Mount &mount)
{
    return Warnings(mount).take();
}

} // namespace dbase
