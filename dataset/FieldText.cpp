#include "dataset/FieldText.h"

#include "dataset/DatabaseError.h"

#include <QtCore/QLocale>

#include <cmath>

namespace dataset
{

namespace
{

const QString dateFormat = QStringLiteral("dd/MM/yyyy");
// Whole numbers beyond this lose digits in a double.
constexpr double largestWhole = 9007199254740992.0;

EConvertError refusal(const QString &text, const FieldInfo &field, const char *what)
{
    return EConvertError(
        QStringLiteral("«%1» no es %2 (campo %3)").arg(text, QString::fromUtf8(what), field.name));
}

QVariant dateOfText(const QString &text, const FieldInfo &field)
{
    const QDate date = QDate::fromString(text, dateFormat);
    if (!date.isValid())
        throw refusal(text, field, "una fecha");
    return date;
}

double numberOfText(QString text, const FieldInfo &field)
{
    bool good = false;
    const double number = QLocale::c().toDouble(text.replace(u',', u'.'), &good);
    if (!good || !std::isfinite(number))
        throw refusal(text, field, "un número");
    return number;
}

qint64 wholeOf(double number, const FieldInfo &field)
{
    if (!(std::abs(number) <= largestWhole))
        throw refusal(QString::number(number), field, "un número entero admisible");
    return static_cast<qint64>(number);
}

} // namespace

QString textOfValue(const QVariant &value, const FieldInfo &field)
{
    if (!value.isValid())
        return {};
    switch (field.kind) {
    case FieldKind::text:
        return value.toString();
    case FieldKind::date:
        return value.toDate().toString(dateFormat);
    case FieldKind::number:
        return QString::number(value.toDouble(), 'f', QLocale::FloatingPointShortest);
    case FieldKind::integer:
        return QString::number(value.toLongLong());
    case FieldKind::logical:
        return value.toBool() ? QStringLiteral("S") : QStringLiteral("N");
    }
    return {};
}

QVariant valueOfText(const QString &text, const FieldInfo &field)
{
    if (field.kind == FieldKind::text)
        return text.isEmpty() ? QVariant() : QVariant(text);
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return {};
    switch (field.kind) {
    case FieldKind::date:
        return dateOfText(trimmed, field);
    case FieldKind::number:
        return numberOfText(trimmed, field);
    case FieldKind::integer: {
        bool good = false;
        const qlonglong whole = trimmed.toLongLong(&good);
        if (!good)
            throw refusal(text, field, "un número entero");
        return whole;
    }
    default:
        break;
    }
    if (trimmed.compare(u'S', Qt::CaseInsensitive) == 0)
        return true;
    if (trimmed.compare(u'N', Qt::CaseInsensitive) == 0)
        return false;
    throw refusal(text, field, "«S» o «N»");
}

QVariant valueForField(const QVariant &value, const FieldInfo &field)
{
    if (!value.isValid())
        return {};
    if (value.typeId() == QMetaType::QString)
        return valueOfText(value.toString(), field);
    switch (field.kind) {
    case FieldKind::text:
        return valueOfText(value.typeId() == QMetaType::QDate ? value.toDate().toString(dateFormat)
                                                              : value.toString(),
                           field);
    case FieldKind::date:
        return value.toDate().isValid() ? QVariant(value.toDate()) : QVariant();
    case FieldKind::number:
        return value.toDouble();
    case FieldKind::integer:
        return value.typeId() == QMetaType::Double ? wholeOf(value.toDouble(), field) : value.toLongLong();
    case FieldKind::logical:
        return value.toBool();
    }
    return {};
}

} // namespace dataset
