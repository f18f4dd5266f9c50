#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>

/// What is fed with arbitrary bytes. Each target takes any input and returns; a fault ends the process, so
/// that a fuzzer and the rerun of the corpus see it alike.
namespace fuzz
{

using Bytes = std::span<const std::uint8_t>;

void dbf_header(Bytes input);
void mdx(Bytes input);
void tree(Bytes input);
void journal(Bytes input);
void expression(Bytes input);
void codepage(Bytes input);
void table(Bytes input);

/// An assert that is there in every build.
inline void expect(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

} // namespace fuzz
