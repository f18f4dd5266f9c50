#pragma once

#include "agenda3p/Agenda3P.h"

#include <deque>
#include <utility>
#include <vector>

/// What every table shows and where it stands, for going back however the work in between ends; meanwhile
/// none tells its watchers anything. A table in which a change is left pending goes back when that is done
/// with.
class TAgenda3P::TSitio
{
public:
    explicit TSitio(TAgenda3P &motor)
        : m_motor(motor)
    {
        for (int notario = 1; notario <= MaxNotarios; ++notario) {
            dataset::DataSet *const tabla = motor.Tabla(notario);
            if (!tabla)
                continue;
            m_quietas.emplace_back(*tabla);
            m_vistas.emplace_back(tabla, tabla->keepView());
        }
    }
    ~TSitio()
    {
        for (const TVista &una : m_vistas) {
            if (!una.first->isEditing())
                Vuelve(una);
            else if (una.first == &m_motor.TablaActual())
                m_motor.m_trasPegar = una;
        }
    }
    TSitio(const TSitio &) = delete;
    TSitio &operator=(const TSitio &) = delete;

    using TVista = std::pair<dataset::DataSet *, dataset::KeptView>;
    /// Throws nothing: from memory where the table cannot be read.
    static void Vuelve(const TVista &vista);

private:
    TAgenda3P &m_motor;
    std::deque<dataset::ControlsGuard> m_quietas; ///< go last, after every table is where it was
    std::vector<TVista> m_vistas;
};
