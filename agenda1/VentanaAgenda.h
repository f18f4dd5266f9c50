#pragma once

#include "agenda/Borrador.h"
#include "agenda1/ClasAge.h"

#include <QtCore/QEventLoop>
#include <QtCore/QStringList>
#include <QtWidgets/QMainWindow>

#include <functional>

namespace dbcontrols
{
class DataSource;
class DbEdit;
class DbGrid;
class MaskEdit;
} // namespace dbcontrols

class QBoxLayout;
class QGroupBox;
class QLabel;
class QMenu;
class QPushButton;
class QTimer;

/// What the two windows of the single-table agenda do alike: a read-only grid of the day, and an edit panel
/// under it that can be written in only while a line is being made or changed. Every change is a call of the
/// engine, made inside one guard.
///
/// Keys are seen here before the control that has the focus gets them: while a line is being edited Enter
/// goes to the next control, and Esc is the exit button, always. Meanwhile the grid rests, so that a line is
/// accepted or given up and never left half-way.
class TVentanaAgenda : public QMainWindow
{
    Q_OBJECT
public:
    ~TVentanaAgenda() override;
    /// Shows the window and returns when the user has closed it.
    void ShowModal();

protected:
    // What several commands say when they fail.
    inline static const QString ProblemasCita = QStringLiteral("Problemas en la actualización de la cita");
    inline static const QString ProblemasMarca = QStringLiteral("Problemas al modificar la cita");

    using TOrden = std::function<void()>;
    /// What the windows write differently.
    struct TRotulos {
        QString Nuevo;
        QString Modificar;
        QString Borrar;
        QString Anterior;
        QString Siguiente;
        QString Aceptar;
        QString Salir;
    };

    /// @param motor  not owned; outlives the window.
    TVentanaAgenda(TAgenda &motor, const QString &nombre, const TRotulos &rotulos);

    bool eventFilter(QObject *objeto, QEvent *evento) override;
    void showEvent(QShowEvent *evento) override;
    void closeEvent(QCloseEvent *evento) override;

    /// Gives the columns their widths whenever the grid has another one.
    virtual void FormResize() = 0;
    /// A command: a failure that nobody else tells is shown, and the keys go back to the grid.
    QAction *CreaComando(const char *nombre, const QString &titulo, const QString &pista, const TOrden &orden,
                         const QKeySequence &tecla = {});
    /// Adds a button for a command, with the command's menu if it has one.
    QPushButton *CreaBoton(const char *nombre, QAction *comando);
    dbcontrols::DbEdit *CreaEdicion(const char *nombre, const QString &rotulo);
    /// A label in front of a control, both into a row of the panel.
    void PonEnFila(QBoxLayout &fila, const QString &rotulo, QWidget &control, int estirado = 0);
    /// Ends all notices to this window, whose parts would still tell of their end; for destructors.
    void Suelta();
    /// Puts the window together, from what the window itself has made.
    void Monta();
    /// Runs something; a failure is shown. @return false when it failed.
    bool Ejecuta(const TOrden &orden);
    void Avisa(const QString &texto);
    /// Tells what the table has found meanwhile; while something else is in front it stays with the table for
    /// the next time.
    void CuentaAvisos();
    [[nodiscard]] bool Editando() const;
    [[nodiscard]] bool Ocupada() const { return m_ordenes > 0; }

    /// Takes in what others have written; comes by itself while nothing is being edited.
    virtual void Recarga() = 0;
    /// A line has been deleted.
    virtual void TrasBorrar() {}
    void Habilita(QWidget &foco);
    void Deshabilita();
    /// Writes texts into fields of the current line, from the engine's Modificar to its Aceptar.
    void PegaEnLaLinea(const QStringList &campos, const QStringList &valores);
    [[nodiscard]] QStringList Textos(const QStringList &campos) const;

    TAgenda &m_motor;
    QLabel *LFecha = nullptr;
    QLabel *m_pista = nullptr; ///< hint of the control that has the focus
    QBoxLayout *m_filaComandos = nullptr;
    QBoxLayout *m_filaUno = nullptr; ///< of the panel
    QBoxLayout *m_filaDos = nullptr;
    QGroupBox *PActualiza = nullptr;
    dbcontrols::DataSource *m_fuente = nullptr;
    dbcontrols::DbGrid *m_rejilla = nullptr;
    dbcontrols::MaskEdit *MEHora = nullptr;
    dbcontrols::DbEdit *DBEHora = nullptr; ///< never seen: carries HORA to and from the masked edit
    dbcontrols::DbEdit *DBEConcepto = nullptr;
    dbcontrols::DbEdit *DBEInteresado = nullptr;
    dbcontrols::DbEdit *DBEOficial = nullptr;
    QPushButton *BAceptar = nullptr;
    QPushButton *BSalir = nullptr;
    QMenu *PMCopiar = nullptr;
    QAction *Nuevo = nullptr;
    QAction *Modificar = nullptr;
    QAction *Borrar = nullptr;
    QAction *Ausente = nullptr;
    QAction *Salida = nullptr;
    QAction *Anterior = nullptr;
    QAction *Siguiente = nullptr;
    QAction *Imprimir = nullptr;
    QAction *Copiar = nullptr;
    QAction *Pegar = nullptr;

private:
    /// Tells it once the key or click in hand is done with.
    void CuentaAvisosPronto();
    void CreaComandos(const TRotulos &rotulos);
    void CreaPanel(const TRotulos &rotulos);
    [[nodiscard]] QPushButton *CreaPulsador(const char *nombre, const QString &titulo);
    void PonEscribible(bool escribible);

    void NuevoExecute();
    void ModificarExecute();
    void BorrarExecute();
    void BAceptarClick();
    void BSalirClick();
    void MEHoraExit();
    void Timer1Timer();
    /// @return whether the hour in the masked edit is one; `hora` is then its time text.
    [[nodiscard]] bool HoraTecleada(QString &hora) const;
    /// Puts the hour into the line. @return false, after a message, when it is none; the line's own is shown.
    bool AceptaHora();
    void VuelveAEscribir();
    bool FormKeyDown(int tecla);
    void CambiaFoco(QWidget *antes, QWidget *ahora);
    void Coloca();
    void RecuerdaLugar() const;

    QEventLoop m_bucle;
    QTimer *Timer1 = nullptr;     ///< takes in what others have written, every 15 s
    int m_ordenes = 0;            ///< under way
    bool m_horaPendiente = false; ///< the hour was left wrong, and the user has not been told yet
    TBorrador m_borrador;         ///< of the line that is being edited
    QList<QAction *> m_comandos;
    QList<QWidget *> m_orden;   ///< of the panel's controls
    QList<QAction *> m_parados; ///< commands that rest while a line is being edited
};
