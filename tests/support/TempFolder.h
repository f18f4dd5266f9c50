#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

namespace support
{

/// A folder of its own, gone at the end of its life.
class TempFolder
{
public:
    TempFolder()
    {
        std::random_device random;
        m_path = std::filesystem::temp_directory_path() /
                 ("agenda-prueba-" + std::to_string(random()) + "-" + std::to_string(random()));
        std::filesystem::create_directories(m_path);
    }
    ~TempFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TempFolder(const TempFolder &) = delete;
    TempFolder &operator=(const TempFolder &) = delete;
    [[nodiscard]] const std::filesystem::path &path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

inline std::string readFile(const std::filesystem::path &file)
{
    std::ifstream in(file, std::ios::binary);
    EXPECT_TRUE(in.good()) << file;
    return {std::istreambuf_iterator<char>(in), {}};
}

inline void writeFile(const std::filesystem::path &file, const std::string &content)
{
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out << content;
    ASSERT_TRUE(out.good()) << file;
}

} // namespace support
