#pragma once

#include "dataset/Export.h"

#include <QtCore/QDate>
#include <QtCore/QString>
#include <QtCore/QVariant>

namespace dataset
{

class DataSet;

enum class FieldKind { text, date, number, integer, logical };

/// Name and shape of a field. Names are capitals and compared without regard to case.
struct FieldInfo {
    QString name;
    FieldKind kind = FieldKind::text;
    int width = 0;    ///< characters; 0 for kinds without one
    int decimals = 0; ///< number only
};

/// One field of the current record: a light handle, valid as long as its data set is open.
///
/// Reading: with no current record, and for a null (blank) field, the value is empty, 0, false or an invalid
/// date. Writing: needs the edit or insert state, else EDatabaseError.
class DATASET_EXPORT Field
{
public:
    Field(DataSet &dataSet, int index)
        : m_dataSet(&dataSet)
        , m_index(index)
    {
    }

    [[nodiscard]] const FieldInfo &info() const;
    [[nodiscard]] int index() const { return m_index; }

    [[nodiscard]] bool isNull() const;
    /// QString, QDate, double, qlonglong or bool by kind; an invalid QVariant for null.
    [[nodiscard]] QVariant value() const;
    /// Text as shown to the user: dates "dd/mm/yyyy", numbers without superfluous zeros, logical "S" or "N".
    [[nodiscard]] QString asText() const;
    [[nodiscard]] QDate asDate() const;
    /// Numbers lose their fraction (towards zero). @throws EConvertError for a text that is no whole number.
    [[nodiscard]] qint64 asInteger() const;
    [[nodiscard]] double asNumber() const;
    [[nodiscard]] bool asBool() const;

    /// A text field keeps the first characters that fit; other kinds read the text in the form that asText()
    /// gives.
    /// @throws EConvertError for a text that does not say a value of the field's kind.
    void setText(const QString &text);
    void setDate(QDate date); ///< an invalid date is null
    void setInteger(qint64 number);
    void setNumber(double number);
    void setBool(bool value);
    void setValue(const QVariant &value); ///< converts by kind; an invalid QVariant is null
    void clear();

private:
    DataSet *m_dataSet;
    int m_index;
};

} // namespace dataset
