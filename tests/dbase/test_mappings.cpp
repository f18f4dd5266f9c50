// Files as memory, shortened by other programs while several threads read.

#include "dbase/File.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#if !defined(_WIN32)

#include <atomic>
#include <filesystem>
#include <thread>

namespace
{

using namespace dbase;

constexpr std::size_t length = 8192;

// A missing page is put down to the mapping that it belongs to, also while another thread makes and ends its
// own: who has read zeros is told so, and nobody else.
TEST(Mappings, AMissingPageIsItsOwnMappingsLoss)
{
    const support::TempFolder folder;
    const auto cut = folder.path() / "cortado";
    const auto whole = folder.path() / "entero";
    support::writeFile(whole, std::string(length, 'x'));
    std::atomic<bool> over = false;
    std::atomic<int> wrong = 0;
    std::thread other([&] {
        const auto file = File::open(whole, File::Mode::readOnly);
        while (!over) {
            const auto mapping = Mapping::of(file.value(), length);
            if (!mapping.ok() || mapping.value().data()[length - 1] != 'x' || mapping.value().lost())
                ++wrong;
        }
    });
    const int most = std::getenv("AGENDA_HOSTIL") ? 400'000 : 20'000; // "make hostil"
    int believed = 0;
    for (int round = 0; round < most; ++round) {
        support::writeFile(cut, std::string(length, 'y'));
        const auto file = File::open(cut, File::Mode::readOnly);
        ASSERT_TRUE(file.ok());
        const auto mapping = Mapping::of(file.value(), length);
        ASSERT_TRUE(mapping.ok());
        std::filesystem::resize_file(cut, 0);
        const std::uint8_t read = *static_cast<const volatile std::uint8_t *>(mapping.value().data());
        believed += read == 0 && !mapping.value().lost();
    }
    over = true;
    other.join();
    EXPECT_EQ(believed, 0) << "zeros that were taken for what the file has";
    EXPECT_EQ(wrong, 0);
}

} // namespace

#endif
