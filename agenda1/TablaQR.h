#pragma once

#include "agenda/LineaAgenda.h"
#include "report/Report.h"

#include <span>

// What the sheets of the single-table agenda have in common: a framed table under a title.

/// A column of a sheet, in units from the left margin; the rule to its right neighbour runs at its right end.
struct TColumnaQR {
    const char *Titulo;
    const char *Nombre; ///< of the data field's item
    TCampoLinea Campo;
    double Izquierda;
    double Ancho;
    report::Alignment Alineacion = report::Alignment::left;
    int Notario = 0; ///< 1 or 2 where the field is one of two notaries side by side
};

inline constexpr double MargenDeCelda = 3; ///< between a text and the rules beside it
inline constexpr double ReglaFina = 0.75;
inline constexpr double ReglaGruesa = 2;

/// Printer, document name and preview of a sheet.
/// @param nombre  of the layout.  @param propietario  window behind the preview; may be null.
void PreparaQR(report::Report &informe, const QString &nombre, QObject *propietario,
               const QString &documento);
/// The rules between a band's columns, and at both ends, from one height to another.
void PonReglas(report::Band &banda, std::span<const TColumnaQR> columnas, double arriba, double abajo,
               double izquierda = 0);
/// A row of column titles.
void PonTitulos(report::Band &banda, std::span<const TColumnaQR> columnas, double arriba, double alto,
                double izquierda = 0);
/// A day sheet whole: title and column titles on every page, the lines, a rule under the last one.
/// @param divisorias  positions of columns that begin a block: the rule before them is heavy.
void MontaHojaDia(report::Report &informe, const QString &titulo, std::span<const TColumnaQR> columnas,
                  std::span<const std::size_t> divisorias = {});
