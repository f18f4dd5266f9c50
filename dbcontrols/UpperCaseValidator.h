#pragma once

#include "dbcontrols/Export.h"

#include <QtGui/QValidator>

namespace dbcontrols
{

/// Turns what is typed, pasted or composed into capitals and refuses nothing.
class DBCONTROLS_EXPORT UpperCaseValidator : public QValidator
{
    Q_OBJECT
public:
    explicit UpperCaseValidator(QObject *parent);
    ~UpperCaseValidator() override;
    State validate(QString &text, int &cursor) const override;
};

} // namespace dbcontrols
