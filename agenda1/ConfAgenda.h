#pragma once

#include "dbcontrols/FieldDialog.h"

namespace dbcontrols
{
class ColorPanel;
class MaskEdit;
} // namespace dbcontrols

class QBoxLayout;
class QComboBox;
class QGroupBox;
class QKeyEvent;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class TAgenda;

/// The settings of the single-table agenda: the kind of agenda, its hours and names in the settings row, the
/// end date with the host, and the colour of outings, which is stored the moment it is chosen. Esc is the
/// exit button.
class TFConfAgenda : public dbcontrols::FieldDialog
{
    Q_OBJECT
public:
    /// @param propietario  the dialog is centred on its window; may be null.
    /// @param motor        whose settings row is read and written; not owned, outlives the dialog.
    /// @throws dataset::EDatabaseError when the table cannot be read.
    TFConfAgenda(QWidget *propietario, TAgenda &motor);

protected:
    [[nodiscard]] bool takesKey(const QWidget &control, const QKeyEvent &tecla) const override;
    void entered(QWidget &control) override;
    void left(QWidget &control) override;
    void showEvent(QShowEvent *evento) override;

private:
    QGroupBox *CreaTipo();
    QGroupBox *CreaIntervaloDelDia();
    QGroupBox *CreaIntervalo();
    QGroupBox *CreaNombres();
    QGroupBox *CreaColor();
    QGroupBox *CreaFecha();
    QBoxLayout *CreaBotones();
    QComboBox *CreaHoras(const char *nombre, const QString &rotulo, int indice);
    QLineEdit *CreaEdicion(const char *nombre, const QString &rotulo);

    void leerDatos();
    void escribirDatos();
    void HabilitaInteresados();
    void rbNormalClick();
    void pColorAgendaSalidaClick();
    void BAceptarClick();
    void BSalirClick();
    void eIntervaloHorasExit();
    void MEFechaExit();
    /// Brings the date typed into its form. @return false, after a message and with the focus on it, when it
    /// is none; none at all is one.
    bool CompruebaFecha();
    [[nodiscard]] static bool eIntervaloHorasKeyPress(const QKeyEvent &tecla);

    TAgenda &m_motor;
    QRadioButton *rbNormal = nullptr;
    QRadioButton *rbConvenio = nullptr;
    QComboBox *cbHoraComienzo = nullptr;
    QComboBox *cbHoraFin = nullptr;
    QLineEdit *eIntervaloHoras = nullptr;
    QGroupBox *gbINteresados = nullptr;
    QLabel *m_rotuloNotario1 = nullptr;
    QLabel *m_rotuloNotario2 = nullptr;
    QLineEdit *eNotario1 = nullptr;
    QLineEdit *eNotario2 = nullptr;
    dbcontrols::ColorPanel *pColorAgendaSalida = nullptr;
    dbcontrols::MaskEdit *MEFecha = nullptr;
    QPushButton *BAceptar = nullptr;
    QPushButton *BSalir = nullptr;
    bool m_sinFecha = false;       ///< the end date could not be read
    bool m_sinNumero = false;      ///< the minutes were left without a number and are to get the focus back
    bool m_fechaPendiente = false; ///< the date was left wrong, and the user has not been told yet
};
