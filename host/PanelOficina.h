#pragma once

#include <QtCore/QDate>
#include <QtCore/QStringList>
#include <QtWidgets/QAbstractButton>

class QAction;
class QLabel;
class QVBoxLayout;

/// A large button for a command: its name, what it is for, and its key.
class TBotonGrande : public QAbstractButton
{
    Q_OBJECT
public:
    /// @param comando  not owned; outlives the button. Its status tip is the second line.
    TBotonGrande(QAction &comando, QWidget *padre);
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *evento) override;
    void keyPressEvent(QKeyEvent *evento) override;
    void enterEvent(QEnterEvent *evento) override;
    void leaveEvent(QEvent *evento) override;

private:
    [[nodiscard]] QFont LetraTitulo() const;

    QString m_explicacion;
    QString m_tecla;
};

/// The centre of the main window: the date, a large button for each agenda, and the notaries of the office.
class TPanelOficina : public QWidget
{
    Q_OBJECT
public:
    explicit TPanelOficina(QWidget *padre);

    /// Adds an agenda's button below the others. @param comando  not owned; outlives the panel.
    void AnadeAgenda(QAction &comando);
    void PonFecha(QDate hoy);
    void PonNotarios(const QStringList &nombres);
    /// The first button gets the focus.
    void TomaElFoco();

private:
    QLabel *m_fecha = nullptr;
    QLabel *m_notarios = nullptr;
    QVBoxLayout *m_botones = nullptr;
};
