#pragma once

#include <QtCore/QDate>
#include <QtCore/QString>
#include <QtWidgets/QDialog>

class QCalendarWidget;
class QDialogButtonBox;
namespace dbcontrols
{
class MaskEdit;
}

/// The buttons at the foot of a dialog, named here and not by Qt's translation, which an installation may
/// lack.
/// @param cancelar  caption of the second button, which rejects; empty for none.
QDialogButtonBox *CreaBotones(QDialog &dialogo, const QString &aceptar, const QString &cancelar);

/// A warning with the house's title.
void AvisaAtencion(const QString &texto);

/// Asks for a date, typed or picked in a calendar.
class TDialogoFecha : public QDialog
{
    Q_OBJECT
public:
    TDialogoFecha(QDate fecha, const QString &indicacion, const QString &titulo, QWidget *padre);
    /// The date accepted.
    [[nodiscard]] QDate Fecha() const { return m_fecha; }
    void accept() override;

private:
    dbcontrols::MaskEdit *m_texto = nullptr;
    QCalendarWidget *m_calendario = nullptr;
    QDate m_fecha;
};
