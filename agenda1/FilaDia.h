#pragma once

#include "agenda/LineaAgenda.h"

#include <QtCore/QDate>
#include <QtCore/QString>

#include <array>
#include <vector>

// A line of the day of two notaries, and how a line of AGENDA holds both of them side by side.

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

    [[nodiscard]] bool operator==(const TFilaDia &) const = default;
};
using TFilasDia = std::vector<TFilaDia>;

/// The name of a field of the day in cdsAgenda2. @param campo  a TCampoDia.
[[nodiscard]] QString NombreEnDia(std::size_t campo);
/// A line of AGENDA, taken apart.
[[nodiscard]] TFilaDia Desempaqueta(const TLineaAgenda &linea);
/// Writes a line's values, packed, into the record of AGENDA that is being edited or inserted.
/// @throws dataset::EDatabaseError
void Empaqueta(const TFilaDia &fila, QDate fecha, dataset::DataSet &tabla);
