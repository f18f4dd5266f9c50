#include "dbcontrols/Mask.h"

#include <algorithm>

namespace dbcontrols
{

namespace
{

bool isDigit(QChar character)
{
    return character >= QLatin1Char('0') && character <= QLatin1Char('9');
}

QList<QString> digitParts(const QString &text)
{
    QList<QString> parts;
    bool inPart = false;
    for (const QChar character : text) {
        if (!isDigit(character)) {
            inPart = false;
            continue;
        }
        if (!inPart)
            parts.append(QString());
        parts.last().append(character);
        inPart = true;
    }
    return parts;
}

} // namespace

Mask::Mask(const QString &mask)
{
    const QStringList sections = mask.split(QLatin1Char(';'));
    Q_ASSERT_X(sections.size() < 2 || sections.at(1) == QLatin1String("1"), "Mask",
               "literals are always stored");
    if (sections.size() > 2 && !sections.at(2).isEmpty())
        m_blank = sections.at(2).front();
    bool escaped = false;
    for (const QChar character : sections.front()) {
        if (!escaped && character == QLatin1Char('\\')) {
            escaped = true;
            continue;
        }
        Place place = Place::literal;
        if (!escaped && character == QLatin1Char('9'))
            place = Place::optionalDigit;
        else if (!escaped && character == QLatin1Char('0'))
            place = Place::requiredDigit;
        m_places.append({place, character});
        escaped = false;
    }
}

QString Mask::blankText() const
{
    QString text;
    for (const Slot &slot : m_places)
        text.append(slot.place == Place::literal ? slot.literal : m_blank);
    return text;
}

bool Mask::isBlank(const QString &text) const
{
    return std::none_of(text.begin(), text.end(), isDigit);
}

bool Mask::isAcceptable(const QString &text) const
{
    if (text.size() != m_places.size())
        return false;
    for (int i = 0; i < length(); ++i) {
        const Slot &slot = m_places.at(i);
        const QChar character = text.at(i);
        const bool fits =
            slot.place == Place::literal
                ? character == slot.literal
                : isDigit(character) || (slot.place == Place::optionalDigit && character == m_blank);
        if (!fits)
            return false;
    }
    return true;
}

bool Mask::isLiteral(int position) const
{
    return position >= 0 && position < length() && m_places.at(position).place == Place::literal;
}

int Mask::nextPlace(int position) const
{
    position = std::max(position, 0);
    while (isLiteral(position))
        ++position;
    return std::min(position, length());
}

int Mask::previousPlace(int position) const
{
    --position;
    while (isLiteral(position))
        --position;
    return position;
}

bool Mask::fits(const QString &text) const
{
    if (text.size() != m_places.size())
        return false;
    for (int i = 0; i < length(); ++i) {
        const QChar character = text.at(i);
        if (isLiteral(i) ? character != m_places.at(i).literal : !isDigit(character) && character != m_blank)
            return false;
    }
    return true;
}

QString Mask::mended(const QString &before, const QString &after) const
{
    QString result = before;
    bringToLength(result);
    const qsizetype shorter = std::min(result.size(), after.size());
    qsizetype front = 0;
    while (front < shorter && result.at(front) == after.at(front))
        ++front;
    qsizetype behind = 0;
    while (behind < shorter - front &&
           result.at(result.size() - 1 - behind) == after.at(after.size() - 1 - behind))
        ++behind;
    blank(result, static_cast<int>(front), static_cast<int>(result.size() - behind));
    return fits(result) ? result : blankText();
}

void Mask::bringToLength(QString &text) const
{
    if (text.size() != length())
        text = text.left(length()) + blankText().mid(text.size());
}

int Mask::type(QString &text, int position, QChar character) const
{
    bringToLength(text);
    if (isDigit(character) || character == QLatin1Char(' ') || character == m_blank) {
        const int place = nextPlace(position);
        if (place >= length())
            return -1;
        text[place] = isDigit(character) ? character : m_blank;
        return nextPlace(place + 1);
    }
    // The cursor stands behind the literal already when the part before it is full: "24" and then "/".
    if (isLiteral(position - 1) && m_places.at(position - 1).literal == character)
        return position;
    for (int i = std::max(position, 0); i < length(); ++i) {
        if (isLiteral(i) && m_places.at(i).literal == character)
            return nextPlace(i + 1);
    }
    return -1;
}

void Mask::padPart(QString &text, int position, QChar character) const
{
    bringToLength(text);
    const int first = position - 1;
    const bool twoPlaces = first >= 0 && !isLiteral(first) && !isLiteral(position) &&
                           (first == 0 || isLiteral(first - 1)) && isLiteral(position + 1);
    if (!twoPlaces || m_places.at(position + 1).literal != character || !isDigit(text.at(first)) ||
        isDigit(text.at(position)))
        return;
    text[position] = text.at(first);
    text[first] = QLatin1Char('0');
}

void Mask::blank(QString &text, int first, int last) const
{
    bringToLength(text);
    for (int i = std::max(first, 0); i < std::min(last, length()); ++i) {
        if (!isLiteral(i))
            text[i] = m_blank;
    }
}

QString Mask::fitted(const QString &text) const
{
    const QList<QString> parts = digitParts(text);
    if (parts.size() != 1)
        return fittedParts(parts);
    const auto places = std::count_if(m_places.begin(), m_places.end(),
                                      [](const Slot &slot) { return slot.place != Place::literal; });
    if (parts.front().size() != places)
        return {};
    QString result = blankText();
    int position = 0;
    for (const QChar digit : parts.front())
        position = type(result, position, digit);
    return result;
}

QString Mask::fittedParts(const QList<QString> &parts) const
{
    QString result = blankText();
    int position = nextPlace(0);
    for (const QString &part : parts) {
        int end = position;
        while (end < length() && !isLiteral(end))
            ++end;
        const int width = end - position;
        if (width == 0 || part.size() > width)
            return {};
        const bool padded = width == 2 && part.size() == 1;
        result.replace(position, part.size() + (padded ? 1 : 0), padded ? QLatin1Char('0') + part : part);
        position = nextPlace(end);
    }
    return parts.isEmpty() || position < length() ? QString() : result;
}

} // namespace dbcontrols
