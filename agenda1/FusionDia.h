#pragma once

#include "dataset/DataSet.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <array>
#include <vector>

// Two workstations on the same day of two notaries: what each has done to it, brought together.

/// Fields of a line of the day, in the order of cdsAgenda2 without its date.
enum TCampoDia {
    DiaHora,
    DiaInteresado1,
    DiaOficial1,
    DiaConcepto1,
    DiaInteresado2,
    DiaOficial2,
    DiaConcepto2,
    DiaSalida,
    NumCamposDia
};

struct TFilaDia {
    dataset::Bookmark Registro = 0; ///< its record in AGENDA; 0 for a line that is not there yet
    std::array<QString, NumCamposDia> Valores;
};
using TFilasDia = std::vector<TFilaDia>;

struct TFusionDia {
    TFilasDia Filas;
    QStringList Choques; ///< hours of the lines that both have touched in a way that excludes the other
};

/// Brings two versions of a day together, field by field. Nothing is lost: of a line that both have changed
/// in the same field both versions stay, and a line deleted by one and changed by the other stays.
/// @param base   the day as this workstation loaded it.
/// @param mias   the day as it is here now; lines keep the record they were loaded from.
/// @param suyas  the day as the table holds it now. Lines that were written anew, under other records, are
///               known again by their hour.
[[nodiscard]] TFusionDia FundeDia(const TFilasDia &base, const TFilasDia &mias, TFilasDia suyas);
