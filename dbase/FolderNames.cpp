#include "dbase/FolderNames.h"

#include "dbase/File.h"

#include <algorithm>
#include <cctype>
#include <chrono>

namespace dbase
{

namespace
{

std::string capitals(const std::filesystem::path &name)
{
    std::string text = displayName(name);
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

std::filesystem::path folderOf(const std::filesystem::path &file)
{
    std::error_code error;
    return std::filesystem::absolute(file, error).parent_path();
}

} // namespace

FolderNames &FolderNames::ofProgram()
{
    static FolderNames names;
    return names;
}

std::filesystem::path FolderNames::find(const std::filesystem::path &wanted, bool mayTrust)
{
    const std::lock_guard guard(m_mutex);
    const std::filesystem::path folder = folderOf(wanted);
    std::error_code error;
    const Time time = std::filesystem::last_write_time(folder, error);
    if (error || !mayTrust || !m_isKept || m_folder != folder || m_time != time) {
        m_folder = folder;
        m_time = time;
        read();
        // What is made within the same tick of the clock as the last change leaves the time as it is.
        constexpr std::chrono::milliseconds ticks(100);
        m_isKept = !error && Time::clock::now() - time > ticks;
    }
    const auto found = m_names.find(capitals(wanted.filename()));
    return found == m_names.end() ? std::filesystem::path() : wanted.parent_path() / found->second;
}

void FolderNames::made(const std::filesystem::path &file)
{
    const std::lock_guard guard(m_mutex);
    if (!m_isKept || m_folder != folderOf(file))
        return;
    std::error_code error;
    m_time = std::filesystem::last_write_time(m_folder, error);
    m_isKept = !error;
    keep(file.filename());
}

void FolderNames::read()
{
    m_names.clear();
    std::error_code error;
    for (std::filesystem::directory_iterator entry(m_folder, error), end; !error && entry != end;
         entry.increment(error))
        keep(entry->path().filename());
}

void FolderNames::keep(const std::filesystem::path &name)
{
    m_names.emplace(capitals(name), name);
}

} // namespace dbase
