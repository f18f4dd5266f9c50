#pragma once

#include <QtCore/QDate>
#include <QtCore/QList>
#include <QtWidgets/QWizard>

class QComboBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QRadioButton;
class QSpinBox;

/// Leads by hand to a working office: its folder, notaries, hours and clerks, empty or with invented data.
/// All of it is made at the end; until then, and when that fails, nothing is written.
class TAsistenteOficina : public QWizard
{
    Q_OBJECT
public:
    /// @param carpeta  proposed; the user may choose another one.
    TAsistenteOficina(const QString &carpeta, QDate hoy);

    /// After accepting, the folder with the office: a new one, or one that was there and is to be opened.
    [[nodiscard]] QString Carpeta() const;
    /// Makes the office. Stays open, with what was typed, when that cannot be done.
    void accept() override;

private:
    QWizardPage *PaginaCarpeta(const QString &carpeta);
    QWizardPage *PaginaNotarios();
    QWizardPage *PaginaHoras();
    QWizardPage *PaginaOficiales();
    QWizardPage *PaginaContenido();
    [[nodiscard]] bool ValidaCarpeta();
    [[nodiscard]] bool ValidaNotarios();
    [[nodiscard]] bool ValidaHoras();
    [[nodiscard]] bool ValidaOficiales();
    [[nodiscard]] QStringList Notarios() const;
    [[nodiscard]] QStringList Oficiales() const;
    void Resume();
    void ExaminaCarpetas();

    QDate m_hoy;
    QLineEdit *ECarpeta = nullptr;
    QList<QLineEdit *> ENotarios;
    QComboBox *CBHoraInicio = nullptr;
    QComboBox *CBHoraFin = nullptr;
    QSpinBox *SEIntervalo = nullptr;
    QPlainTextEdit *MOficiales = nullptr;
    QRadioButton *RBVacia = nullptr;
    QRadioButton *RBDemo = nullptr;
    QLabel *LResumen = nullptr;
};
