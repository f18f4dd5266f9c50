#pragma once

#include "agenda/AgendaZenDM.h"

#include <QtCore/QStringList>

#include <memory>

/// Settings of a new single-table agenda.
struct TAjustesUnica {
    QStringList Notarios = QStringList(); ///< two names for two notaries; none for one
    int HoraInicio = 9;
    int HoraFin = 20;
    int Intervalo = 30; ///< minutes
};

/// Makes the table AGENDA of the alias "DB", with its folder where that is missing, and its settings row; an
/// existing table only gets the row. @return the table, open. @throws dataset::EDatabaseError
std::unique_ptr<dataset::DbfTable> CreaAgendaUnica(const dataset::Aliases &aliases,
                                                   const TAjustesUnica &ajustes);

/// Sees to it that the single-table agenda can be opened: where its table or its settings row is missing the
/// user is asked whether it is to be made. @return false when he declines. @throws dataset::EDatabaseError
bool PreparaAgendaUnica(const dataset::Aliases &aliases);
