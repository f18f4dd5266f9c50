#include "dbcontrols/UpperCaseValidator.h"

#include <algorithm>

namespace dbcontrols
{

UpperCaseValidator::UpperCaseValidator(QObject *parent)
    : QValidator(parent)
{
}

UpperCaseValidator::~UpperCaseValidator() = default;

QValidator::State UpperCaseValidator::validate(QString &text, int & /*cursor*/) const
{
    // Character by character: "ß" must not become two, or cursor and width would no longer be right.
    std::transform(text.begin(), text.end(), text.begin(), [](QChar one) { return one.toUpper(); });
    return Acceptable;
}

} // namespace dbcontrols
