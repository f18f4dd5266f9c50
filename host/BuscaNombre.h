#pragma once

#include "dataset/DataSet.h"

#include <QtCore/QString>

/// Finds names by how they begin, through the table's index: a few questions for each letter, however many
/// lines there are. Capitals do not count, nor do the marks of letters: "pena" finds "Peña" where no name
/// begins as typed.
class TBuscaNombre
{
public:
    /// @param tabla  open, and ordered by UPPER of the field; not owned, outlives this.
    TBuscaNombre(dataset::DataSet &tabla, const QString &campo)
        : m_tabla(tabla)
        , m_campo(campo)
    {
    }
    /// Goes to the first name that begins so. @return false when there is none, or for an empty text; the
    /// table then stands on the line nearest after it. @throws dataset::EDatabaseError
    bool Busca(const QString &comienzo);

private:
    [[nodiscard]] bool Hay(const QString &comienzo);
    [[nodiscard]] bool HayConOtraMarca(const QString &hallado, const QString &resto);

    dataset::DataSet &m_tabla;
    QString m_campo;
};

/// Whether two names are the same but for capitals and marks.
[[nodiscard]] bool MismoNombre(const QString &uno, const QString &otro);
