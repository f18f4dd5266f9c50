#pragma once

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QString>
#include <QtWidgets/QDialog>

/// The manual in a window of the program's own.
class TVentanaManual : public QDialog
{
    Q_OBJECT
public:
    /// @param pagina  the file of its first page.
    TVentanaManual(const QString &pagina, QWidget *padre);
};

/// Answers F1 in every window of the program for as long as it lives.
class TAyuda : public QObject
{
    Q_OBJECT
public:
    /// @param pagina  first page of the manual; empty to look for it beside the program.
    explicit TAyuda(const QString &pagina = {});
    ~TAyuda() override;
    /// Shows the manual beside the window in front, or says that it is missing.
    void Muestra();
    bool eventFilter(QObject *objeto, QEvent *evento) override;

    /// First page of the manual; empty when there is none.
    [[nodiscard]] static QString PaginaDelManual();

private:
    QString m_pagina;
    QPointer<TVentanaManual> m_ventana;
};
