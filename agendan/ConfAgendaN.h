#pragma once

#include "agenda/VistaConfiguracion.h"

#include "dbcontrols/FieldDialog.h"

namespace dbcontrols
{
class ColorPanel;
}
class QCheckBox;
class QComboBox;
class QGroupBox;
class QKeyEvent;
class QLabel;
class QLineEdit;
class QPushButton;

/// The settings dialog. It only holds the values while it is open.
///
/// Esc is the cancel button. A minute field that is no number keeps the focus.
class TFConfAgendaN : public dbcontrols::FieldDialog
{
    Q_OBJECT
public:
    /// @param propietario  the dialog is centred on its window and modal over it; may be null.
    explicit TFConfAgendaN(QWidget *propietario);

    void PonAjustes(const TAjustesEnPantalla &ajustes);
    [[nodiscard]] TAjustesEnPantalla Ajustes() const;
    /// The outcome: 1 when the user has accepted, 0 otherwise.
    [[nodiscard]] int Tag() const { return m_tag; }

protected:
    [[nodiscard]] bool takesKey(const QWidget &control, const QKeyEvent &tecla) const override;
    void entered(QWidget &control) override;
    void left(QWidget &control) override;
    void showEvent(QShowEvent *evento) override;

private:
    QGroupBox *CreaIntervaloDelDia();
    QGroupBox *CreaMinutos(const QString &titulo, const QString &rotulo, const char *nombre,
                           QLineEdit *&edicion);
    QGroupBox *CreaColor();
    QGroupBox *CreaSincronizar();
    QComboBox *CreaHoras(const char *nombre, const QString &rotulo, int indice);
    QPushButton *CreaBoton(const char *nombre, const QString &titulo);
    QLabel *CreaNota(const QString &texto);

    [[nodiscard]] bool EsDeMinutos(const QWidget &control) const;
    [[nodiscard]] static bool eIntervaloHorasKeyPress(const QKeyEvent &tecla);
    void eIntervaloHorasExit(QLineEdit &edicion);
    void PonColor(TColor color);
    void pColorAgendaSalidaClick();
    void BAceptarClick();
    void BCancelarClick();

    QComboBox *cbHoraComienzo = nullptr;
    QComboBox *cbHoraFin = nullptr;
    QLineEdit *eIntervaloHoras = nullptr;
    QLineEdit *EIncrementoMin = nullptr;
    dbcontrols::ColorPanel *pColorAgendaSalida = nullptr;
    QPushButton *BAceptar = nullptr;
    QPushButton *BCancelar = nullptr;
    QGroupBox *gbSincronizar = nullptr;
    QCheckBox *CBSincronizarDia = nullptr;
    QLineEdit *m_sinNumero = nullptr; ///< the minute field that is about to get the focus back
    int m_tag = 0;
};

/// The dialog for the settings object.
class TVistaConfiguracion : public IVistaConfiguracion
{
public:
    bool EditaAjustes(TAjustesEnPantalla &ajustes, QObject *propietario) override;
};
