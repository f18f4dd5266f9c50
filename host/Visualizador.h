#pragma once

#include "report/Run.h"

#include <QtWidgets/QDialog>

#include <functional>

class QAction;
class QLabel;
class QPrinter;
class QProgressDialog;
class QSpinBox;
class QToolBar;
namespace report
{
class PreviewView;
}

/// The preview of a report: pages, zoom, printing, saving as PDF. Each print and each PDF is a run of its
/// own.
class TVisualizador : public QDialog
{
    Q_OBJECT
public:
    /// @param informe  not owned; outlives the window.
    TVisualizador(report::Report &informe, QWidget *padre);

    /// Lays the report out for the preview, with a progress window when it takes long.
    /// @return false when the user cancelled it. What the run throws passes on.
    bool Prepara();
    [[nodiscard]] int NumPaginas() const;
    [[nodiscard]] report::Report &Informe() const { return m_informe; }

    /// Writes the report into a PDF file; the user is told what goes wrong.
    /// @return false when it was cancelled or failed.
    bool GuardaPdf(const QString &fichero);
    /// The name under which a report is kept: its document name, without what file names may not hold.
    [[nodiscard]] static QString NombreDePdf(const report::Report &informe);

private:
    QAction *Comando(const char *nombre, const QString &titulo, const QString &pista,
                     const QList<QKeySequence> &teclas, const std::function<void()> &orden);
    void CreaComandos();
    void CreaBarra();
    void Imprime();
    void PreguntaPdf();
    void Pagina();
    /// Runs something long under a progress window. Failures are shown. @return false when it was cancelled
    /// or failed.
    bool ConGuarda(const QString &rotulo, const std::function<bool(const report::Progress &)> &trabajo);

    report::Report &m_informe;
    report::PreviewView *m_vista = nullptr;
    QSpinBox *m_pagina = nullptr;
    QLabel *m_dePaginas = nullptr;
    QLabel *m_tamano = nullptr;
    QAction *m_imprimir = nullptr;
    QAction *m_guardar = nullptr;
    QAction *m_primera = nullptr;
    QAction *m_anterior = nullptr;
    QAction *m_siguiente = nullptr;
    QAction *m_ultima = nullptr;
    QAction *m_acercar = nullptr;
    QAction *m_alejar = nullptr;
    QAction *m_ancho = nullptr;
    QAction *m_entera = nullptr;
};

/// Shows the preview of a report and returns when the user has closed it, or cancelled its making.
/// What the run throws passes on.
void MuestraVisualizador(report::Report &informe);
