#pragma once

#include "host/ModeloConjunto.h"
#include "host/RejillaConjunta.h"

#include <QtCore/QDate>
#include <QtCore/QEventLoop>
#include <QtCore/QPointer>
#include <QtWidgets/QMainWindow>

#include <functional>

class IAgenda3P;
class QAction;
class QLabel;
class QMenu;
class QPlainTextEdit;
class QPushButton;
class QTimer;
class QToolBar;
class TClientesRaiz;
namespace dbcontrols
{
class MaskEdit;
}

/// The day of all notaries side by side, in which the office books across them: a slot is one of all, a line
/// is one notary's.
///
/// Every change is a call of the engine. Before it the engine is put on the notary and the line of the cell
/// that the clerk stands on; afterwards everything is shown afresh and the keys go back to the grid, on the
/// line just made or changed.
class TFAgendaConjunta : public QMainWindow, private IEdicionConjunta
{
    Q_OBJECT
public:
    struct TOpciones {
        QStringList Nombres;                  ///< of the notaries, in their order
        std::function<quint32()> ColorSalida; ///< the colour of outings as the office has it now
    };
    /// @param motor     not owned; outlives the window. @param clientes  the same; may be null.
    /// @param propietario  the window is centred on it; may be null.
    TFAgendaConjunta(IAgenda3P &motor, TClientesRaiz *clientes, const TOpciones &opciones,
                     QWidget *propietario);
    ~TFAgendaConjunta() override;

    /// Shows a day; where no notary has it, asks whether its sheet is to be made.
    /// @throws dataset::EDatabaseError
    void VeAlDia(QDate fecha);
    /// Shows the window and returns when the clerk has closed it.
    void ShowModal();
    [[nodiscard]] QDate Fecha() const { return m_fecha; }

protected:
    bool eventFilter(QObject *objeto, QEvent *evento) override;
    void keyPressEvent(QKeyEvent *tecla) override;
    void closeEvent(QCloseEvent *evento) override;
    void changeEvent(QEvent *evento) override;

private:
    using TOrden = std::function<void()>;

    // AgendaConjuntaMontaje.cpp: the window is put together
    void CreaComandos();
    QAction *CreaComando(const char *nombre, const QString &titulo, const QString &pista,
                         const QKeySequence &teclas, const TOrden &orden);
    void CreaBarra();
    void CreaMenus();
    void CreaCentro();
    void Coloca();
    void RecuerdaLugar() const;
    void ReparteColumnas();

    // AgendaConjuntaComandos.cpp
    /// Runs a command: what is being typed is kept first, failures are told, everything is shown afresh.
    /// @return false when it was not run, because what was typed could not be kept.
    bool Ejecuta(const TOrden &orden);
    bool ConGuarda(const TOrden &orden);
    void AvisaError(const QString &texto);
    void AvisaSiFallo(const QString &que);
    [[nodiscard]] bool Pregunta(const QString &pregunta, const QString &explicacion) const;
    /// Puts the engine on the line of a cell. @return false, after telling so, where the notary has no slot.
    bool SituaEn(int fila, int notario);
    /// Puts every table on its line of a row, and those without one on a line of another hour.
    bool SituaTodosEn(int fila);
    void NuevoHueco();
    void BorraHueco();
    void Limpia();
    void MarcaSalida();
    void MarcaAusente();
    void Copia();
    void PegaAqui();
    void PegaAUnaHora();
    [[nodiscard]] bool PermiteEscribirEncima(const QStringList &horas);
    void TerminaPegado(const QString &primera);
    void VaciaPortapapeles();
    void Completa();
    void MueveDia(bool adelante);
    void BuscaDia();
    void Imprime(void (IAgenda3P::*informe)(QDate));

    // AgendaConjunta.cpp
    bool EmpiezaEdicion(const QModelIndex &celda) override;
    void PreparaEditor(QLineEdit &editor, const QModelIndex &celda) override;
    bool GuardaEdicion(QLineEdit &editor, const QModelIndex &celda) override;
    void TerminaEdicion() override;
    bool OfreceHueco(const QModelIndex &celda);
    bool AnadeHuecoA(int notario, const QStringList &horas);
    void EligeDeLista();
    bool CierraEditor();
    void Refresca();
    /// Shows what the tables hold now, and goes to a place.
    void Muestra(const TPuestoConjunto &puesto);
    void CambiaCelda();
    void FechaDejada();
    void MuestraFecha();
    void MuestraAvisos();
    void AbreCalendario();
    void LeeColores();
    [[nodiscard]] int Notario() const; ///< of the cell with the focus, 1-based
    [[nodiscard]] int Fila() const;
    [[nodiscard]] QString DeQuien(int notario) const;

    IAgenda3P &m_motor;
    TClientesRaiz *m_clientes;
    TOpciones m_opciones;
    QPointer<QWidget> m_propietario;
    QEventLoop m_bucle;
    QDate m_fecha;
    QStringList m_horasCopiadas; ///< of the lines in the engine's copy buffer, in its order
    QPointer<QLineEdit> m_editor;
    int m_ordenes = 0;            ///< running; the timer keeps still meanwhile
    bool m_anchosPropios = false; ///< the clerk has set them; they are not shared out any more
    bool m_repartiendo = false;

    TModeloConjunto *m_modelo = nullptr;
    TRejillaConjunta *m_rejilla = nullptr;
    dbcontrols::MaskEdit *MEFecha = nullptr;
    QLabel *LDia = nullptr;
    QLabel *LAviso = nullptr;
    QWidget *m_aviso = nullptr;
    QPlainTextEdit *m_detalle = nullptr;
    QLabel *LPortapapeles = nullptr;
    QToolBar *m_barra = nullptr;
    QTimer *m_reloj = nullptr;
    QMenu *m_menu = nullptr;

    QAction *ANuevo = nullptr;
    QAction *ABorrar = nullptr;
    QAction *AModificar = nullptr;
    QAction *ALimpiar = nullptr;
    QAction *ASalida = nullptr;
    QAction *AAusente = nullptr;
    QAction *ACopiar = nullptr;
    QAction *APegar = nullptr;
    QAction *APegarHora = nullptr;
    QAction *AVaciar = nullptr;
    QAction *ACompletar = nullptr;
    QAction *ADiaAnterior = nullptr;
    QAction *ADiaSiguiente = nullptr;
    QAction *AHoy = nullptr;
    QAction *ABuscarDia = nullptr;
    QAction *AImprimirDia = nullptr;
    QAction *AImprimirSemana = nullptr;
    QAction *AImprimirDiaOficial = nullptr;
    QAction *AImprimirSemanaOficial = nullptr;
    QAction *ASalir = nullptr;
};
