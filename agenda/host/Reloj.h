#pragma once

#include <QtCore/QDate>

/// Where today's date comes from: the system's clock in the office, a fixed day in tests.
class IReloj
{
public:
    virtual ~IReloj() = default;
    [[nodiscard]] virtual QDate Hoy() const = 0;
};
