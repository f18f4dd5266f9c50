#pragma once

#include <QtCore/QString>

#include <optional>

/// A colour as 0x00BBGGRR: blue, green and red from the highest byte to the lowest. With the top bit set it
/// is a colour of the desktop, by number.
using TColor = quint32;

inline constexpr TColor clBtnFace = 0x8000000F;
inline constexpr TColor clBtnText = 0x80000012;

[[nodiscard]] constexpr int Rojo(TColor color)
{
    return static_cast<int>(color & 0xFFU);
}
[[nodiscard]] constexpr int Verde(TColor color)
{
    return static_cast<int>((color >> 8U) & 0xFFU);
}
[[nodiscard]] constexpr int Azul(TColor color)
{
    return static_cast<int>((color >> 16U) & 0xFFU);
}

/// Name of a standard or desktop colour ("clRed", "clBtnFace"), otherwise "$" and eight hexadecimal digits.
[[nodiscard]] QString ColorATexto(TColor color);
/// The way back; names in any case, numbers also decimal or with "0x". @return nothing for an unreadable
/// text.
[[nodiscard]] std::optional<TColor> TextoAColor(const QString &texto);
