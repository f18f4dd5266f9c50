#pragma once

#include <QtCore/QDate>
#include <QtCore/QString>

namespace report
{
struct Report;
}

/// The host's office routines that need the office's data or the screen.
class IRut
{
public:
    virtual ~IRut() = default;
    /// @param notario  1-based. @return the alias of the database that holds that notary's AGENDA_N table.
    [[nodiscard]] virtual QString AliasNotario(int notario) = 0;
    /// Asks for a date. @param fecha  initial value; the chosen date when accepted, untouched otherwise.
    /// @return true when accepted.
    virtual bool PreguntaFecha(QDate &fecha, const QString &indicacion, const QString &titulo) = 0;
    /// Lets the user choose a clerk. @param nombre  initial name; the clerk's name when accepted.
    /// @return true when accepted.
    virtual bool PreguntaOficial(QString &nombre) = 0;
    /// Previews a report, lets the user print it or keep it as a PDF, and returns when the preview is closed.
    /// What laying the report out throws passes on.
    virtual void Visualizador(report::Report &informe) = 0;
};
