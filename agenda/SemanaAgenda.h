#pragma once

#include "dataset/MemTable.h"

#include <QtCore/QDate>
#include <QtCore/QString>

#include <functional>
#include <optional>

// The rules of the week report that every engine of the house shares.

/// Monday of the week that holds a date. Deliberate: a Sunday belongs to the week that ends on it.
[[nodiscard]] QDate LunesDe(QDate fecha);

/// Lays the lines of a table out as week-report rows, a half-week of three days side by side.
/// @param origen   restricted to the week and ordered by date; read from its first line to its last.
/// @param oficial  only lines of this clerk, compared as they are stored. Deliberate: blanks in front of the
///                 stored name make it another one here, while the day sheet trims them.
/// @param semana   open and empty, with the fields of a week-report row.
/// @throws dataset::EDatabaseError
void LlenaSemana(dataset::DataSet &origen, dataset::MemTable &semana, QDate lunes,
                 const std::optional<QString> &oficial);

/// What a week report needs of its engine.
struct TMotorDeSemana {
    dataset::DataSet &Tabla;
    dataset::MemTable &Semana;
    std::function<void()> CancelaRango;
    std::function<void(QDate)> PonRango; ///< one day
};

/// Makes the week rows of the week that holds a date and has them shown. Meanwhile the table holds the week
/// and its controls are told nothing; afterwards, in every case, the rows are dropped, the table holds the
/// day of `fecha` again, on the line where it stood when that is one of the day, and its controls follow.
/// @param muestra  is given the Monday; the rows stand in `motor.Semana`.
/// @throws dataset::EDatabaseError; what `muestra` throws passes on.
void HazInformeSemana(const TMotorDeSemana &motor, QDate fecha, const std::optional<QString> &oficial,
                      const std::function<void(QDate lunes)> &muestra);

/// A clerk's name as reports compare it: as wide as OFICIAL, without blanks at its ends.
[[nodiscard]] QString OficialDelInforme(const QString &nombre);
/// Asks the user for a clerk. @return the name as reports compare it; nothing when the user cancels.
[[nodiscard]] std::optional<QString> PreguntaOficialDelInforme();
