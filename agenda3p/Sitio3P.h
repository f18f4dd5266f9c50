#pragma once

#include "agenda3p/Agenda3P.h"

#include <deque>
#include <vector>

/// What every table shows and where it stands, for going back however the work in between ends; meanwhile
/// none tells its watchers anything. The day of no table may be changed by that work. A table in which a
/// change is left pending goes back when that is done with.
class TAgenda3P::TSitio
{
public:
    explicit TSitio(TAgenda3P &motor);
    ~TSitio();
    TSitio(const TSitio &) = delete;
    TSitio &operator=(const TSitio &) = delete;

private:
    TAgenda3P &m_motor;
    std::deque<dataset::ControlsGuard> m_quietas; ///< go last, after every table is where it was
    std::vector<TLugar> m_lugares;
};
