#pragma once

#include "dataset/DataSet.h"

#include <QtCore/QVariant>

class TClassAgendaN;

/// What the clerk has typed into a line, kept so that it outlives a change which the engine had to cancel.
class TBorradorCita
{
public:
    enum class TLugar {
        suLinea,    ///< in edit again, or in a new line as before
        enEspera,   ///< its line cannot be had just now: held in a new line that is not meant to be written
        lineaNueva, ///< its line is gone: in a new one
        ninguno
    };

    /// Notes the line as it is when its change begins.
    void Empieza(dataset::DataSet &tabla);
    /// Notes what has been typed since.
    void Guarda(dataset::DataSet &tabla);
    /// Begins the change again through the engine and types all of it anew; what others have written
    /// meanwhile into other fields of the line stays. Throws nothing.
    [[nodiscard]] TLugar Recupera(TClassAgendaN &motor);
    /// Whether what was typed is only held: before it can be accepted, Recupera has to find its line free.
    [[nodiscard]] bool EnEspera() const { return m_enEspera; }

private:
    void Escribe(dataset::DataSet &tabla, bool soloLoTecleado) const;

    bool m_nueva = true;
    bool m_enEspera = false;
    dataset::Bookmark m_linea = 0;
    QVariantList m_antes;
    QVariantList m_tecleado;
};
