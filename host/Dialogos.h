#pragma once

#include <QtCore/QDate>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtWidgets/QDialog>

class QCalendarWidget;
class QListWidget;
namespace dbcontrols
{
class MaskEdit;
}

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

/// Lets the user choose one of a list of names; typing goes to the names that begin so.
class TDialogoLista : public QDialog
{
    Q_OBJECT
public:
    /// @param elegir  false for a list that is only looked at.
    TDialogoLista(const QStringList &nombres, const QString &inicial, const QString &titulo, bool elegir,
                  QWidget *padre);
    /// Position of the name under the cursor; -1 when the list is empty.
    [[nodiscard]] int Posicion() const;

private:
    QListWidget *m_lista = nullptr;
};
