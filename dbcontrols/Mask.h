#pragma once

#include "dbcontrols/Export.h"

#include <QtCore/QChar>
#include <QtCore/QList>
#include <QtCore/QString>

namespace dbcontrols
{

/// An edit mask in the classic form "places;literals stored;blank": in the places "9" is a digit that may
/// stay blank, "0" one that must be given, "\" makes the next character a literal, and every other character
/// is a literal. Only masks that store their literals (";1;") are known, so the text is always as long as the
/// mask and what is seen is what is kept.
///
/// Pure text work: positions count characters from 0. A text of another length than the mask's is brought to
/// it by whatever changes it: cut behind, or filled with what an empty field shows.
class DBCONTROLS_EXPORT Mask
{
public:
    Mask() = default;
    explicit Mask(const QString &mask);

    [[nodiscard]] int length() const { return static_cast<int>(m_places.size()); }
    /// Literals in their places, everything else blank.
    [[nodiscard]] QString blankText() const;
    /// No digit given: blanks and literals only.
    [[nodiscard]] bool isBlank(const QString &text) const;
    /// Fits the mask and every required digit is there.
    [[nodiscard]] bool isAcceptable(const QString &text) const;

    [[nodiscard]] bool isLiteral(int position) const;
    /// First place for a digit at or after a position; length() when there is none.
    [[nodiscard]] int nextPlace(int position) const;
    /// Last place for a digit before a position; -1 when there is none.
    [[nodiscard]] int previousPlace(int position) const;
    /// One character typed at a position, as in overwriting: a digit or blank fills the next place, a
    /// literal's own character jumps behind it, anything else changes nothing.
    /// @return the position after it, or -1 when the character has no place.
    int type(QString &text, int position, QChar character) const;
    /// Before a literal is typed behind the only digit of a two-place part: the digit moves to the second
    /// place and a zero stands in front ("9" and ":" give "09:"). Anything else changes nothing.
    /// @param position  the cursor's, behind that digit.
    void padPart(QString &text, int position, QChar character) const;
    /// Every character fits its place; required digits may be missing.
    [[nodiscard]] bool fits(const QString &text) const;
    /// A text that fits, put together from one that did and what became of it where something that knows no
    /// places has taken characters out: what is left stays in its place, the rest is blank.
    [[nodiscard]] QString mended(const QString &before, const QString &after) const;
    /// Blanks the places of [first, last).
    void blank(QString &text, int first, int last) const;
    /// Brings a whole text into the mask: parts divided by anything but digits ("1/2/2024"), or as many
    /// digits as there are places ("01022024"). A one-digit part of two places gets a zero in front.
    /// @return empty when the text does not fit.
    [[nodiscard]] QString fitted(const QString &text) const;

private:
    enum class Place { optionalDigit, requiredDigit, literal };
    struct Slot {
        Place place;
        QChar literal;
    };
    void bringToLength(QString &text) const;
    [[nodiscard]] QString fittedParts(const QList<QString> &parts) const;

    QList<Slot> m_places;
    QChar m_blank = QLatin1Char(' ');
};

} // namespace dbcontrols
