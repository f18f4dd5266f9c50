#pragma once

#include "agenda/DiaDeTabla.h"
#include "agenda1/FusionDia.h"
#include "dataset/DbfTable.h"
#include "dataset/MemTable.h"

#include <QtCore/QHash>

/// The working day of two notaries: in memory, cdsAgenda2, as the clerk sees it, and in AGENDA.
///
/// What is in memory is what AGENDA held when it was read last, without the lines that the clerk has deleted
/// since: those go with Escribe(). Everything else that he does is in both or in neither. What others have
/// written in between is brought together with it, line by line and field by field (FusionDia).
///
/// Operations throw dataset::EDatabaseError when AGENDA cannot be read or written, and nothing has changed
/// then. They answer with the hours of lines that others have changed at the same time in another way: of
/// those both versions stand in memory, and in AGENDA where the operation writes.
class TDiaDeDos
{
public:
    /// All outlive this object. @param dia  the day that `tabla` shows.
    TDiaDeDos(dataset::DbfTable &tabla, TDiaDeTabla &dia, dataset::MemTable &memoria)
        : m_tabla(tabla)
        , m_dia(dia)
        , m_memoria(memoria)
    {
    }

    /// Reads a day. Deletions of the day before that were not written are forgotten.
    void Carga(QDate fecha);
    /// Takes in what others have written; the current line stays so.
    QStringList Recarga();
    /// Writes the line that is being edited, if anything was typed, and ends its edit.
    QStringList Acepta();
    /// Makes the lines of the day in AGENDA those in memory, in one commit.
    QStringList Escribe();
    /// Gives the lines in memory back as they were read last. Deleted ones stay deleted.
    void Deshaz();

private:
    enum class TBorradas { quedan, seVan }; ///< the lines deleted here, in AGENDA
    QStringList Guarda(const TFilasDia &mias, TBorradas borradas);
    [[nodiscard]] TFilasDia DeTabla() const;
    [[nodiscard]] TFilasDia DeMemoria() const;
    [[nodiscard]] TFilaDia LineaActual() const;
    void PonEnMemoria(const TFilasDia &filas);
    void VuelveA(const TFilaDia &linea);
    [[nodiscard]] TFilaDia EscribeFila(const TFilaDia &fila);

    dataset::DbfTable &m_tabla;
    TDiaDeTabla &m_dia;
    dataset::MemTable &m_memoria;
    QDate m_fecha;
    TFilasDia m_base;                                        ///< the day as it was read last
    QHash<dataset::Bookmark, dataset::Bookmark> m_registros; ///< of the lines in memory, in AGENDA
};
