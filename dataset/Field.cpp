#include "dataset/Field.h"

#include "dataset/DataSet.h"
#include "dataset/FieldText.h"

#include <cmath>

namespace dataset
{

const FieldInfo &Field::info() const
{
    return m_dataSet->fieldInfo(m_index);
}
bool Field::isNull() const
{
    return !value().isValid();
}
QVariant Field::value() const
{
    return m_dataSet->currentValue(m_index);
}
QString Field::asText() const
{
    return textOfValue(value(), info());
}

QDate Field::asDate() const
{
    return info().kind == FieldKind::text ? valueOfText(asText(), {info().name, FieldKind::date}).toDate()
                                          : value().toDate();
}

qint64 Field::asInteger() const
{
    return valueForField(value(), {info().name, FieldKind::integer}).toLongLong();
}
double Field::asNumber() const
{
    return valueForField(value(), {info().name, FieldKind::number}).toDouble();
}
bool Field::asBool() const
{
    return valueForField(value(), {info().name, FieldKind::logical}).toBool();
}

void Field::setText(const QString &text)
{
    setValue(text);
}
void Field::setDate(QDate date)
{
    setValue(date.isValid() ? QVariant(date) : QVariant());
}
void Field::setInteger(qint64 number)
{
    setValue(QVariant::fromValue(number));
}
void Field::setNumber(double number)
{
    setValue(number);
}
void Field::setBool(bool value)
{
    setValue(value);
}
void Field::setValue(const QVariant &value)
{
    m_dataSet->setPendingValue(m_index, valueForField(value, info()));
}
void Field::clear()
{
    setValue({});
}

} // namespace dataset
