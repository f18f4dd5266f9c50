#pragma once

#include <QtCore/QLineF>
#include <QtCore/QMarginsF>
#include <QtCore/QRectF>
#include <QtCore/QSizeF>
#include <QtCore/QString>
#include <QtGui/QRgb>

#include <vector>

namespace report
{

/// Places and sizes on a page are counted in 1/96 inch, from the paper's upper left corner to the right and
/// downwards; paper and margins are given in millimetres.
inline constexpr double unitsPerInch = 96;
inline constexpr double unitsPerMm = unitsPerInch / 25.4;

inline constexpr QRgb black = 0xFF000000U;

/// Paper and margins, in millimetres.
struct PageSetup {
    QSizeF paper{210, 297};
    QMarginsF margins{10, 10, 10, 10};

    [[nodiscard]] static PageSetup a4Portrait() { return {}; }
    [[nodiscard]] static PageSetup a4Landscape() { return {{297, 210}, {10, 10, 10, 10}}; }
    /// The paper in units.
    [[nodiscard]] QRectF paperRect() const { return {QPointF(), paper * unitsPerMm}; }
    /// What the margins leave, in units.
    [[nodiscard]] QRectF printableRect() const { return paperRect().marginsRemoved(margins * unitsPerMm); }
};

/// One line of text, ready to be drawn.
struct TextPrimitive {
    QString text;
    double left = 0; ///< where its first letter begins
    double top = 0;
    double baseline = 0;
    double width = 0; ///< of the text itself
    double points = 8;
    QRgb color = black;
    bool bold = false;
};

struct LinePrimitive {
    QLineF line;
    double width = 1;
    QRgb color = black;
};

struct RectanglePrimitive {
    QRectF box;
    double width = 1; ///< of the pen; 0: no outline
    QRgb color = black;
    QRgb fill = 0; ///< transparent: not filled
};

/// A page as it is to be painted: rectangles first, lines over them, texts over all.
struct Page {
    int number = 1;
    std::vector<RectanglePrimitive> rectangles;
    std::vector<LinePrimitive> lines;
    std::vector<TextPrimitive> texts;
};

} // namespace report
