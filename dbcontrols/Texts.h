#pragma once

#include <QtCore/QString>

namespace dbcontrols
{

/// What the user is told when a line, read afresh for changing, no longer says what he saw.
inline QString changedElsewhere()
{
    return QStringLiteral(
        "Otro puesto ha cambiado esta línea entretanto. Mire lo que dice ahora y vuelva a escribir.");
}

} // namespace dbcontrols
