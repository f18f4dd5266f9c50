// The least that a compiler can guard: a buffer of known size that is filled from outside.

#include <array>
#include <cstdio>
#include <cstring>

#if !defined(MODELO_LUGAR)
#define MODELO_LUGAR __FILE__
#endif

int main(int argc, char *argv[])
{
    std::array<char, 16> copia{};
    for (int i = 1; i < argc; ++i)
        std::memcpy(copia.data(), argv[i],
                    std::strlen(argv[i]) % (copia.size() + static_cast<std::size_t>(argc)));
    return std::printf("%s %s\n", copia.data(), MODELO_LUGAR) > 0 ? 0 : 1;
}
