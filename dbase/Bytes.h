#pragma once

#include <bit>
#include <cstdint>

namespace dbase
{

/// Little-endian integers, by shifts: the same on every machine, at any address.
[[nodiscard]] inline std::uint16_t get16(const std::uint8_t *p)
{
    return static_cast<std::uint16_t>(p[0] | p[1] << 8);
}
[[nodiscard]] inline std::uint32_t get32(const std::uint8_t *p)
{
    return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8U |
           static_cast<std::uint32_t>(p[2]) << 16U | static_cast<std::uint32_t>(p[3]) << 24U;
}
[[nodiscard]] inline std::uint64_t get64(const std::uint8_t *p)
{
    return static_cast<std::uint64_t>(get32(p)) | static_cast<std::uint64_t>(get32(p + 4)) << 32U;
}
inline void put16(std::uint8_t *p, std::uint16_t value)
{
    p[0] = static_cast<std::uint8_t>(value);
    p[1] = static_cast<std::uint8_t>(value >> 8U);
}
inline void put32(std::uint8_t *p, std::uint32_t value)
{
    put16(p, static_cast<std::uint16_t>(value));
    put16(p + 2, static_cast<std::uint16_t>(value >> 16U));
}
inline void put64(std::uint8_t *p, std::uint64_t value)
{
    put32(p, static_cast<std::uint32_t>(value));
    put32(p + 4, static_cast<std::uint32_t>(value >> 32U));
}

// A number as eight bytes that memcmp orders: its bits from the highest byte down, the sign turned.

inline void putComparable(double value, std::uint8_t *p)
{
    constexpr std::uint64_t signBit = std::uint64_t{1} << 63U;
    auto bits = std::bit_cast<std::uint64_t>(value);
    bits = (bits & signBit) != 0 ? ~bits : bits | signBit;
    for (int i = 7; i >= 0; --i, bits >>= 8U)
        p[i] = static_cast<std::uint8_t>(bits);
}
[[nodiscard]] inline double doubleOfComparable(const std::uint8_t *p)
{
    constexpr std::uint64_t signBit = std::uint64_t{1} << 63U;
    std::uint64_t bits = 0;
    for (int i = 0; i < 8; ++i)
        bits = bits << 8U | p[i];
    return std::bit_cast<double>((bits & signBit) != 0 ? bits & ~signBit : ~bits);
}

} // namespace dbase
