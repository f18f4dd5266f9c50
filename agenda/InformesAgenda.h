#pragma once

#include "agenda/SemanaAgenda.h"

#include <QtCore/QDate>
#include <QtCore/QString>

#include <memory>
#include <optional>

class QObject;
namespace dataset
{
class DataSet;
}

/// A report layout as its engine sees it. Made, previewed and freed within one call of the engine.
class IInforme
{
public:
    virtual ~IInforme() = default;
    /// Shows the report and returns when the user has closed it. What the data or the report layer throws
    /// passes on.
    virtual void Preview() = 0;
    /// Whose lines they are, to be told in the name of a print job and of a saved file; the titles do not say
    /// it.
    /// @param deQuien  the notary, and the clerk where only his lines are shown.
    virtual void PonDeQuien(const QString & /*deQuien*/) {}
};

/// Where the multi-notary engines get their report layouts from: the printed sheets in the office, doubles in
/// tests. The layouts only read the data set, which must outlive them.
class IInformesAgenda
{
public:
    virtual ~IInformesAgenda() = default;
    /// TQRAgendaDiaN: the day sheet of a date.
    /// @param propietario  owner of the layout's windows; may be null.
    /// @param oficial      only this clerk's lines.
    [[nodiscard]] virtual std::unique_ptr<IInforme>
    CreaQRAgendaDiaN(QObject *propietario, QDate fecha, dataset::DataSet &datos,
                     const std::optional<QString> &oficial) = 0;
    /// TQRAgendaN: the week that begins on a Monday, from week-report rows.
    [[nodiscard]] virtual std::unique_ptr<IInforme> CreaQRAgendaN(QObject *propietario, QDate lunes,
                                                                  dataset::DataSet &semana) = 0;
};

/// What the report operations need of the engine whose lines they print.
struct TMotorDeInformes {
    QObject *Propietario;      ///< owner of the layouts' windows; may be null
    IInformesAgenda *Informes; ///< null where the engine was given none
    TMotorDeSemana Semana;
    QString Notario; ///< whose table it is, for the name of the document; may be empty
};

enum class TClaseInforme { dia, diaPorOficial, semana, semanaPorOficial };

/// Shows a report of an engine's current table until the user closes it. One by clerk asks for the clerk
/// first, and does nothing when the user cancels. The lines are read afresh from the table's file.
/// @param fecha  of a day sheet its title, its lines being those that the table holds; of a week sheet a day
///               of the week, which the table shows afterwards.
/// @throws dataset::EDatabaseError without layouts; what the table or the report layer throws, with the
/// table's range and controls as they were.
void HazInforme(const TMotorDeInformes &motor, TClaseInforme clase, QDate fecha);
