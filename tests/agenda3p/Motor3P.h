#pragma once

#include "agenda3p/Agenda3P.h"
#include "tests/support/OficinaDePrueba.h"

#include <gtest/gtest.h>

namespace support
{

inline const QDate Hoy{2026, 11, 16};
inline const QDate Manana{2026, 11, 17};

/// An engine over the tables of several notaries, its own ones.
class Motor3PTest : public testing::Test
{
protected:
    explicit Motor3PTest(int notarios = 3)
        : oficina(notarios)
        , cuantos(notarios)
    {
    }
    /// The same lines in every table.
    void enTodas(QDate fecha, const QStringList &horas)
    {
        for (int notario = 1; notario <= cuantos; ++notario) {
            for (const QString &hora : horas)
                oficina.linea(notario, fecha, hora);
        }
    }
    /// Made late, so that a test can lay out its tables first.
    TAgenda3P &motor()
    {
        if (!m_motor)
            m_motor = std::make_unique<TAgenda3P>(nullptr, Hoy, TTablasNotarios{});
        return *m_motor;
    }
    void ve(const QString &hora)
    {
        EXPECT_TRUE(motor().BuscarPorFecha(Hoy, hora, true)) << hora.toStdString();
    }
    [[nodiscard]] QString valor(const char *campo)
    {
        return motor().TablaActual().field(QString::fromLatin1(campo)).asText();
    }

    OficinaDePrueba oficina;
    int cuantos;

private:
    std::unique_ptr<TAgenda3P> m_motor;
};

} // namespace support
