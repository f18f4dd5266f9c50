#pragma once

#include "agendan/ClaseAgendaN.h"
#include "tests/support/OficinaDePrueba.h"

#include <gtest/gtest.h>

namespace support
{

/// An engine over its own tables, in an office for tests.
class MotorTest : public testing::Test
{
protected:
    explicit MotorTest(int notarios = 1)
        : oficina(notarios)
    {
    }
    /// Made late, so that a test can lay out its tables first.
    TClassAgendaN &motor()
    {
        if (!m_motor)
            m_motor = std::make_unique<TClassAgendaN>(nullptr, nullptr, TClassAgendaN::TTablas{}, nullptr);
        return *m_motor;
    }
    [[nodiscard]] QString mostrado()
    {
        dataset::DataSet &tabla = motor().TablaActual();
        return tabla.field(u"FECHA").asText() + u' ' + tabla.field(u"HORA").asText();
    }
    OficinaDePrueba oficina;

private:
    std::unique_ptr<TClassAgendaN> m_motor;
};

inline const QDate Lunes{2026, 11, 16};
inline const QDate Jueves = Lunes.addDays(3);

} // namespace support
