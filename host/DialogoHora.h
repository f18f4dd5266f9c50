#pragma once

#include <QtWidgets/QDialog>

namespace dbcontrols
{
class MaskEdit;
}

/// Asks for an hour of the day.
class TDialogoHora : public QDialog
{
    Q_OBJECT
public:
    /// @param hora  offered first, "hh:nn"; may be empty.
    TDialogoHora(const QString &hora, const QString &indicacion, const QString &titulo, QWidget *padre);
    /// The hour accepted, "hh:nn".
    [[nodiscard]] QString Hora() const { return m_hora; }
    void accept() override;

private:
    dbcontrols::MaskEdit *EHora = nullptr;
    QString m_hora;
};
