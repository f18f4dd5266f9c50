#include "dbase/File.h"
#include "dbase/Table.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace dbase
{

namespace
{

namespace fs = std::filesystem;

constexpr std::size_t maxNameLength = 64;

std::string upper(std::string_view text)
{
    std::string out(text);
    std::transform(out.begin(), out.end(), out.begin(),
                   [](unsigned char c) { return static_cast<char>(c < 0x80 ? std::toupper(c) : c); });
    return out;
}

/// The bare name in capitals, or why it is none. Names are those that a table file has on every system.
Result<std::string> bareName(std::string_view name)
{
    const auto refuse = [&name](const char *why) {
        return Status(ErrorKind::invalidArgument, "«" + std::string(name.substr(0, maxNameLength)) +
                                                      "» no puede ser el nombre de una tabla: " + why);
    };
    std::string bare = upper(name);
    if (bare.size() > 4 && bare.ends_with(".DBF"))
        bare.resize(bare.size() - 4);
    if (bare.empty() || bare.size() > maxNameLength)
        return refuse("es demasiado corto o demasiado largo");
    if (bare.front() == ' ' || bare.back() == ' ')
        return refuse("empieza o acaba en blanco");
    for (const char c : bare) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7F || std::string_view("/\\:*?\"<>|.").find(c) != std::string_view::npos)
            return refuse("tiene un carácter que no se admite");
    }
    static constexpr std::array<std::string_view, 4> devices{"CON", "PRN", "AUX", "NUL"};
    const bool numbered = bare.size() == 4 && (bare.starts_with("COM") || bare.starts_with("LPT")) &&
                          bare[3] >= '0' && bare[3] <= '9';
    if (numbered || std::find(devices.begin(), devices.end(), bare) != devices.end())
        return refuse("es el nombre de un dispositivo");
    return bare;
}

/// A link may lead to another file of the folder, never out of it.
/// @return the file itself; empty when it lies elsewhere.
fs::path insideOf(const fs::path &folder, const fs::path &file)
{
    std::error_code error;
    if (!fs::is_symlink(file, error))
        return file;
    const fs::path realFolder = fs::canonical(folder, error);
    const fs::path realFile = error ? fs::path() : fs::canonical(file, error);
    return !error && realFile.parent_path() == realFolder ? folder / realFile.filename() : fs::path();
}

} // namespace

Result<fs::path> findTable(const fs::path &folder, std::string_view name)
{
    const auto bare = bareName(name);
    if (!bare.ok())
        return bare.status();
    const std::string wanted = bare.value() + ".DBF";
    std::error_code error;
    fs::path found = folder / wanted;
    if (!fs::exists(found, error)) {
        found.clear();
        for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
             entry.increment(error)) {
            if (upper(displayName(entry->path().filename())) == wanted) {
                found = entry->path();
                break;
            }
        }
        if (found.empty())
            return Status(ErrorKind::notFound, "no existe la tabla " + bare.value(), displayName(folder));
    }
    found = insideOf(folder, found);
    if (found.empty())
        return Status(ErrorKind::invalidArgument, "la tabla " + bare.value() + " lleva fuera de su carpeta",
                      displayName(folder));
    if (!fs::is_regular_file(found, error))
        return Status(ErrorKind::unsupported, "la tabla " + bare.value() + " no es un fichero",
                      displayName(folder));
    return found;
}

Result<fs::path> newTablePath(const fs::path &folder, std::string_view name)
{
    const auto bare = bareName(name);
    if (!bare.ok())
        return bare.status();
    std::error_code error;
    if (!fs::is_directory(folder, error))
        return Status(ErrorKind::notFound, "no existe la carpeta", displayName(folder));
    return folder / (bare.value() + ".DBF");
}

} // namespace dbase
