#pragma once

#include "agenda/Borrador.h"
#include "host/ModeloConjunto.h"
#include "host/RejillaConjunta.h"

#include <QtCore/QDate>
#include <QtCore/QEventLoop>
#include <QtCore/QPointer>
#include <QtWidgets/QMainWindow>

#include <functional>
#include <optional>
#include <utility>
#include <vector>

class QAction;
class QLabel;
class QMenu;
class QPlainTextEdit;
class QTimer;
class QToolBar;
class TClientesRaiz;
struct TLineaAgenda;
namespace dbcontrols
{
class MaskEdit;
}

/// The day of all notaries side by side, in which the office books across them: a slot is one of all, a line
/// is one notary's.
///
/// Every command is a call of the engine, with the lines as the clerk sees them when he gives it: what has
/// changed since is shown instead, and left alone. A cell is typed into the line that the engine has put in
/// edit mode. Afterwards everything is shown afresh and the keys go back to the grid, on the line just made
/// or changed.
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
    /// What a command works on. Where a date that was typed has brought another day, what was chosen is of a
    /// day that is not seen any more.
    enum class TSobre { elDia, loElegido };

    // AgendaConjuntaMontaje.cpp: the window is put together
    void CreaComandosDeHuecos();
    void CreaComandosDeLineas();
    void CreaComandosDelDia();
    void PonDibujos();
    QAction *CreaComando(const char *nombre, const QString &titulo, const QString &pista,
                         const QKeySequence &teclas, const TOrden &orden, TSobre sobre = TSobre::elDia);
    void CreaBarra();
    void CreaMenus();
    void CreaCentro();
    void CreaAviso(QWidget &centro);
    void CreaRejilla(QWidget &centro);
    void Coloca();
    void RecuerdaLugar() const;
    void ReparteColumnas();

    // AgendaConjuntaComandos.cpp
    /// Runs a command: what is being typed is kept first, failures are told, everything is shown afresh.
    /// @return false when it was not run, because what was typed could not be kept.
    bool Ejecuta(const TOrden &orden, TSobre sobre = TSobre::elDia);
    /// Keeps what is being typed, the cell and the date. @return false, after telling so, where that is not
    /// to be had, or where what was chosen went with the day.
    bool Prepara(TSobre sobre);
    bool ConGuarda(const TOrden &orden);
    void AvisaError(const QString &texto);
    /// Tells what the tables have found meanwhile. While something else is in front, or a cell is being
    /// typed, it stays with them for the next time.
    void CuentaAvisos();
    /// The same, once the key or click in hand is done with.
    void CuentaAvisosPronto();
    void AvisaSiFallo(const TRespuesta &respuesta, const QString &que);
    [[nodiscard]] bool Pregunta(const QString &pregunta, const QString &explicacion) const;
    /// The same, no being the answer at hand.
    [[nodiscard]] bool PreguntaGrave(const QString &pregunta, const QString &explicacion) const;
    /// A date typed and not left yet counts. @return false, after telling so, when it is none.
    bool AceptaFecha();
    /// Takes in what others have written. @return why some of it cannot be seen; empty for nothing.
    QString RefrescaTablas();
    /// Shows a day from here on; what was chosen on another one is not.
    void PonDia(QDate fecha);
    /// Whether the lines of a notary are seen as his table has them. @return false, after telling so, where
    /// his day cannot be read, or has only come back and been seen by nobody yet.
    bool EstaALaVista(int notario);
    /// Whether a notary has a line in a row; tells where he has none.
    bool HayLinea(int fila, int notario);
    /// Puts the engine on a notary. @return false, after telling so, where his day cannot be read.
    bool PonNotario(int notario);
    /// Puts a line in edit mode as it is shown. @return false, after telling so, when it cannot be had or
    /// says something else by now.
    struct TElegida {
        int Notario = 0;
        QString Hora;
        dataset::SeenRecord Linea;
    };
    bool TomaLinea(const TElegida &linea);
    void SueltaLineas();
    /// The lines of the cells that are chosen, by notary; none, after telling so, where there are only holes.
    [[nodiscard]] std::vector<TElegida> LineasElegidas();
    [[nodiscard]] TElegida LineaDe(int fila, int notario) const;
    void NuevoHueco();
    void BorraHueco();
    void Limpia();
    void MarcaSalida();
    void MarcaAusente();
    void Copia();
    void PegaAUnaHora();
    /// @param hora  of the first copied line; null: each goes to its own hour.
    void Pega(const QString &hora);
    bool SeVenLosDestinos(TPegado &pegado);
    void VaciaPortapapeles();
    void Completa();
    void MueveDia(bool adelante);
    void BuscaDia();
    void Imprime(void (IAgenda3P::*informe)(QDate));

    // AgendaConjunta.cpp
    bool EmpiezaEdicion(const QModelIndex &celda) override;
    void PreparaEditor(QLineEdit &editor, const QModelIndex &celda) override;
    bool GuardaEdicion(QLineEdit &editor, const QModelIndex &celda) override;
    /// Writes what was typed into the line that is being edited, and posts it.
    TRespuesta EscribeCelda(QLineEdit &editor, const QModelIndex &celda);
    /// Takes the line again where it could not be had. @return false, with a cause, where it still cannot, or
    /// where others have changed it, which is to be seen first.
    TRespuesta TomaCelda();
    /// Shows what the line says by now, and takes it again with what was typed. @return false, with a cause,
    /// where it cannot be had.
    TRespuesta RecuperaCelda();
    /// Tells it when the keys and clicks in hand are done with, so that the box stands in nobody's way.
    void AvisaDespues(const QString &texto);
    void DiLoPendiente();
    void TerminaEdicion() override;
    [[nodiscard]] bool HayDialogo() const override { return m_dialogos > 0; }
    bool OfreceHueco(const QModelIndex &celda);
    /// The code that goes with the party in a cell; the line's own while the party is the same.
    qint64 ClienteDe(QLineEdit &editor, const TLineaAgenda &linea);
    void EligeDeLista();
    bool CierraEditor();
    void Refresca();
    /// Shows what the tables hold now, and goes to a place; chosen lines stay chosen where they go.
    void Muestra(const TPuestoConjunto &puesto);
    /// Chooses the cells of places that are still there, and no others.
    void Elige(const QList<TPuestoConjunto> &puestos);
    [[nodiscard]] QList<TPuestoConjunto> Elegidas() const;
    [[nodiscard]] TPuestoConjunto PuestoActual() const;
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
    QPointer<QLineEdit> m_editor;
    dataset::DataSet *m_enEdicion = nullptr; ///< table of the cell that is being edited
    int m_notarioEnEdicion = 0;
    std::optional<std::pair<QString, qint64>> m_elegido; ///< name and code of the client chosen for the cell
    dataset::Bookmark m_lineaEnEdicion = 0;
    TBorrador m_borrador;         ///< of that line
    int m_ordenes = 0;            ///< running; the timer keeps still meanwhile
    mutable int m_dialogos = 0;   ///< open over this window
    int m_columna = 0;            ///< of the cell with the focus, also while there are no rows
    QStringList m_porDecir;       ///< by AvisaDespues()
    bool m_acaba = false;         ///< the window is going: no cell can be tried again
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
