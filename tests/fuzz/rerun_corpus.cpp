// Feeds every target with every file of its corpus: what once was a fault stays mended, without a fuzzer.

#include "tests/fuzz/Targets.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace
{

constexpr struct {
    const char *name;
    void (*run)(fuzz::Bytes);
} targets[] = {{"dbf_header", fuzz::dbf_header},
               {"mdx", fuzz::mdx},
               {"tree", fuzz::tree},
               {"journal", fuzz::journal},
               {"expression", fuzz::expression},
               {"codepage", fuzz::codepage},
               {"table", fuzz::table}};

int rerun(const std::filesystem::path &folder, void (*run)(fuzz::Bytes))
{
    int files = 0;
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator(folder, error)) {
        std::ifstream in(entry.path(), std::ios::binary);
        const std::vector<char> content{std::istreambuf_iterator<char>(in), {}};
        // Said beforehand: after a fault nothing more is said.
        std::printf("%s\n", entry.path().string().c_str());
        std::fflush(stdout);
        run({reinterpret_cast<const std::uint8_t *>(content.data()), content.size()});
        ++files;
    }
    return files;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "rerun_corpus FOLDER\n");
        return 2;
    }
    for (const auto &target : targets) {
        if (rerun(std::filesystem::path(argv[1]) / target.name, target.run) == 0) {
            std::fprintf(stderr, "no corpus for %s\n", target.name);
            return 1;
        }
    }
    return 0;
}
