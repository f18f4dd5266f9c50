#include "agenda/Color.h"

#include <QtCore/QStringView>

#include <algorithm>
#include <array>

namespace
{

struct TNombreColor {
    TColor Color;
    QLatin1String Nombre;
};

constexpr TColor DelEscritorio = 0x80000000;

// The first name of a value is the one written; later ones are only read.
constexpr std::array Nombres = {
    TNombreColor{0x000000, QLatin1String("clBlack")},
    TNombreColor{0x000080, QLatin1String("clMaroon")},
    TNombreColor{0x008000, QLatin1String("clGreen")},
    TNombreColor{0x008080, QLatin1String("clOlive")},
    TNombreColor{0x800000, QLatin1String("clNavy")},
    TNombreColor{0x800080, QLatin1String("clPurple")},
    TNombreColor{0x808000, QLatin1String("clTeal")},
    TNombreColor{0x808080, QLatin1String("clGray")},
    TNombreColor{0xC0C0C0, QLatin1String("clSilver")},
    TNombreColor{0x0000FF, QLatin1String("clRed")},
    TNombreColor{0x00FF00, QLatin1String("clLime")},
    TNombreColor{0x00FFFF, QLatin1String("clYellow")},
    TNombreColor{0xFF0000, QLatin1String("clBlue")},
    TNombreColor{0xFF00FF, QLatin1String("clFuchsia")},
    TNombreColor{0xFFFF00, QLatin1String("clAqua")},
    TNombreColor{0xFFFFFF, QLatin1String("clWhite")},
    TNombreColor{0x808080, QLatin1String("clDkGray")},
    TNombreColor{0xC0C0C0, QLatin1String("clLtGray")},
    TNombreColor{0xC0DCC0, QLatin1String("clMoneyGreen")},
    TNombreColor{0xF0CAA6, QLatin1String("clSkyBlue")},
    TNombreColor{0xF0FBFF, QLatin1String("clCream")},
    TNombreColor{0xA4A0A0, QLatin1String("clMedGray")},
    TNombreColor{0x1FFFFFFF, QLatin1String("clNone")},
    TNombreColor{0x20000000, QLatin1String("clDefault")},
    TNombreColor{DelEscritorio + 0, QLatin1String("clScrollBar")},
    TNombreColor{DelEscritorio + 1, QLatin1String("clBackground")},
    TNombreColor{DelEscritorio + 2, QLatin1String("clActiveCaption")},
    TNombreColor{DelEscritorio + 3, QLatin1String("clInactiveCaption")},
    TNombreColor{DelEscritorio + 4, QLatin1String("clMenu")},
    TNombreColor{DelEscritorio + 5, QLatin1String("clWindow")},
    TNombreColor{DelEscritorio + 6, QLatin1String("clWindowFrame")},
    TNombreColor{DelEscritorio + 7, QLatin1String("clMenuText")},
    TNombreColor{DelEscritorio + 8, QLatin1String("clWindowText")},
    TNombreColor{DelEscritorio + 9, QLatin1String("clCaptionText")},
    TNombreColor{DelEscritorio + 10, QLatin1String("clActiveBorder")},
    TNombreColor{DelEscritorio + 11, QLatin1String("clInactiveBorder")},
    TNombreColor{DelEscritorio + 12, QLatin1String("clAppWorkSpace")},
    TNombreColor{DelEscritorio + 13, QLatin1String("clHighlight")},
    TNombreColor{DelEscritorio + 14, QLatin1String("clHighlightText")},
    TNombreColor{clBtnFace, QLatin1String("clBtnFace")},
    TNombreColor{DelEscritorio + 16, QLatin1String("clBtnShadow")},
    TNombreColor{DelEscritorio + 17, QLatin1String("clGrayText")},
    TNombreColor{clBtnText, QLatin1String("clBtnText")},
    TNombreColor{DelEscritorio + 19, QLatin1String("clInactiveCaptionText")},
    TNombreColor{DelEscritorio + 20, QLatin1String("clBtnHighlight")},
    TNombreColor{DelEscritorio + 21, QLatin1String("cl3DDkShadow")},
    TNombreColor{DelEscritorio + 22, QLatin1String("cl3DLight")},
    TNombreColor{DelEscritorio + 23, QLatin1String("clInfoText")},
    TNombreColor{DelEscritorio + 24, QLatin1String("clInfoBk")},
    TNombreColor{DelEscritorio + 26, QLatin1String("clHotLight")},
    TNombreColor{DelEscritorio + 27, QLatin1String("clGradientActiveCaption")},
    TNombreColor{DelEscritorio + 28, QLatin1String("clGradientInactiveCaption")},
    TNombreColor{DelEscritorio + 29, QLatin1String("clMenuHighlight")},
    TNombreColor{DelEscritorio + 30, QLatin1String("clMenuBar")},
};

} // namespace

QString ColorATexto(TColor color)
{
    const auto *conNombre = std::ranges::find(Nombres, color, &TNombreColor::Color);
    if (conNombre != Nombres.end())
        return conNombre->Nombre;
    return QStringLiteral("$%1").arg(color, 8, 16, QLatin1Char('0')).toUpper();
}

std::optional<TColor> TextoAColor(const QString &texto)
{
    const QString limpio = texto.trimmed();
    for (const TNombreColor &candidato : Nombres) {
        if (limpio.compare(candidato.Nombre, Qt::CaseInsensitive) == 0)
            return candidato.Color;
    }
    bool bien = false;
    TColor color = 0;
    if (limpio.startsWith(u'$'))
        color = limpio.mid(1).toUInt(&bien, 16);
    else if (limpio.startsWith(QLatin1String("0x"), Qt::CaseInsensitive))
        color = limpio.mid(2).toUInt(&bien, 16);
    else if (limpio.startsWith(u'-'))
        color = static_cast<TColor>(limpio.toInt(&bien)); // desktop colours, as a signed program writes them
    else
        color = limpio.toUInt(&bien);
    return bien ? std::optional(color) : std::nullopt;
}
