#pragma once

#include "dataset/Aliases.h"

#include <QtCore/QDate>
#include <QtCore/QStringList>

#include <functional>

/// What is known of an office that is to be made.
struct TOficinaNueva {
    QStringList Notarios; ///< names, one to five; the first is also the office's
    QStringList Oficiales;
    int HoraInicio = 9;
    int HoraFin = 20;
    int Intervalo = 30;                                ///< minutes
    QString ColorSalida = QStringLiteral("$00C6C6FF"); ///< of outings, as the settings file writes it
    QDate Hoy;                                         ///< the agenda begins here
    bool Convenio = false; ///< the single-table agenda is of the first two notaries
};

/// Makes every table of the office in a folder, without appointments or clients. @return its databases.
/// @throws dataset::EDatabaseError
dataset::Aliases CreaTablasDeOficina(const QString &carpeta, const TOficinaNueva &oficina);
/// Writes the office's configuration, which comes last: a folder with it is an office.
/// @throws dataset::EDatabaseError
void CreaConfiguracionDeOficina(const QString &carpeta, const TOficinaNueva &oficina);

/// Why an office cannot be made in a folder, which may be missing still; empty when it can. Nothing is
/// written.
[[nodiscard]] QString PorQueNoSirve(const QString &carpeta);

/// Has an office made out of sight and puts it into its folder when it is whole. When that fails the folder
/// is left as it was, or missing as it was.
/// @param haz  makes the office in the folder that it is given. What it throws passes on.
/// @throws dataset::EDatabaseError
void CreaEnSuSitio(const QString &carpeta, const std::function<void(const QString &)> &haz);
