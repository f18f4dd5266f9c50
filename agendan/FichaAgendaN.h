#pragma once

#include "agenda/Borrador.h"
#include "agendan/ClaseAgendaN.h"
#include "agendan/VistasAgendaN.h"
#include "dbcontrols/DataSource.h"

#include <QtCore/QEventLoop>
#include <QtCore/QPointer>
#include <QtCore/QStringList>
#include <QtGui/QColor>
#include <QtWidgets/QMainWindow>

#include <array>
#include <functional>
#include <optional>

namespace dbcontrols
{
class CalendarPopup;
class DbGrid;
class DbMemo;
class MaskEdit;
} // namespace dbcontrols

class QKeyEvent;
class QLabel;
class QMenu;
class QStatusBar;
class QTimer;
class QToolBar;
class QToolButton;
class TPestanasAgendaN;

/// The window in which the office works the multi-notary agenda. It knows no rule of the agenda: every
/// command is a call of the engine, made inside one guard that catches what fails and tells the user.
///
/// Keys are seen here before the control that has the focus gets them, and none is kept from it. Only what an
/// open cell editor needs for its own text is left to it alone: Space, Insert and Delete are typed there, and
/// Esc ends the editing first and closes the window the next time.
class TFFichaAgendaN : public QMainWindow, public IFichaAgendaN
{
    Q_OBJECT
public:
    /// @param propietario  the window is centred on it and stays in front of it; may be null. Not the parent:
    ///                     the window belongs to whoever holds the pointer.
    explicit TFFichaAgendaN(QWidget *propietario);
    ~TFFichaAgendaN() override;

    // IFichaAgendaN
    void PonNotario(int notario, const QString &nombre, dataset::DataSet *tabla) override;
    void PonMotor(TClassAgendaN &motor) override;
    void PonSincronizarDia(bool marcado) override;
    void PCAgendaChange() override;
    void ShowModal() override;

    /// Grid, tab and table of the active page; the first ones when no page is active. The table may be null.
    [[nodiscard]] dbcontrols::DbGrid *GetDBGAgendaN() const;
    [[nodiscard]] QWidget *GetTSNotario() const;
    [[nodiscard]] dataset::DataSet *GetDatosAgendaN() const;

protected:
    bool eventFilter(QObject *objeto, QEvent *evento) override;
    void showEvent(QShowEvent *evento) override;
    void closeEvent(QCloseEvent *evento) override;
    void resizeEvent(QResizeEvent *evento) override;
    void changeEvent(QEvent *evento) override;

private:
    static constexpr int NumPestanas = TClassAgendaN::MaxNotarios;
    // Columns of every grid
    static constexpr int ColumnaHora = 0;
    static constexpr int ColumnaCita = 1;
    static constexpr int ColumnaInteresado = 2;
    static constexpr int ColumnaOficial = 3;
    using TOrden = std::function<void()>;

    // FichaAgendaNMontaje.cpp: the window is put together
    void CreaComandos();
    void CreaComandosDelDia();
    /// What a command works on, and so where the keys go afterwards: to the line, or where they were.
    enum class TAlcance { citas, dias };
    enum class TTrasCopiar { nada, borrar };
    QAction *CreaComando(const char *nombre, const QString &titulo, const QString &pista, TAlcance alcance,
                         TOrden orden);
    void PonIconos();
    void CreaBarra();
    void CreaFecha();
    void CreaMenus();
    void CreaPestanas();
    void CreaPestana(int pestana);
    void PonPestanaALaVista(int pestana, bool aLaVista);
    void PreparaRejilla(int pestana);
    void CreaLineaDeAyuda();
    void MuestraPistasDe(QMenu &menu);

    // FichaAgendaNLugar.cpp: place, size and widths
    void Coloca();
    void ColocaSobreElPropietario();
    bool RecuperaLugar();
    void RecuerdaLugar() const;
    void FormResize();
    void AjustaMedidasALaLetra();
    /// A length of the drawing, which is of 96 dots to the inch, on this screen.
    [[nodiscard]] int Escalado(int puntos) const;

    // FichaAgendaNComandos.cpp
    /// Runs a command: what is being typed is kept first (a date, a cell, its line), failures are shown, and
    /// the focus returns to the grid.
    /// @return false when it was not run, because what was typed could not be kept.
    bool Ejecuta(TAlcance alcance, const TOrden &orden);
    /// A date that was typed and not left yet counts. @return false, after a message, when its day is not
    /// shown.
    bool AceptaFecha();
    /// Says what an operation of the engine met, if it failed.
    void AvisaSiFallo(const TRespuesta &respuesta, const QString &que);
    /// Runs something that is not a command; failures are shown. @return false when it failed.
    bool ConGuarda(const TOrden &orden);
    void AvisaError(const QString &texto);
    /// Tells what the tables have found meanwhile. While something else is in front, or a cell is being
    /// typed, it stays with them for the next time.
    void CuentaAvisos();
    /// The same, once the key or click in hand is done with.
    void CuentaAvisosPronto();
    void ASincronizarDiaExecute();
    void ADiaAnteriorExecute();
    void ADiaSiguienteExecute();
    void ABuscarDiaExecute();
    bool PreguntaFecha(QDate &fecha);
    void AbreCalendario();
    void VeAlDia(QDate fecha);
    void Imprime(void (TClassAgendaN::*informe)(QDate));
    void SincronizaA(QDate fecha);

    // FichaAgendaNFueraDeHora.cpp
    void CreaFueraDeHora();
    /// Says how many lines of the shown day stand outside its hours, where there are any.
    void MiraFueraDeHora();
    void VeAFueraDeHora(dataset::DataSet &tabla);

    // FichaAgendaNCitas.cpp
    /// The selected lines in the order of the selection when there are two or more, else the current one,
    /// as they are seen now.
    [[nodiscard]] TLineasVistas LineasDeLaOrden() const;
    /// The lines of the day beside the current one, as they are shown.
    [[nodiscard]] TLineasVistas LasDemas() const;
    /// Whether they say the same by now.
    [[nodiscard]] bool SiguenIguales(const TLineasVistas &lineas) const;
    void FichaCita(TOperacion operacion);
    void ABorrarExecute();
    void ASalidaExecute();
    void AAusenteExecute();
    void CopiaCitas(TTrasCopiar tras);
    void AContactoExecute();

    // FichaAgendaNTeclas.cpp
    void FormKeyDown(int tecla);
    void DBGAgendaN1KeyDown(QKeyEvent *tecla);
    void EmpiezaAEditar(QKeyEvent &tecla);
    void GuardaLinea();

    // FichaAgendaN.cpp: events
    [[nodiscard]] std::optional<QColor> ColorDeLinea(int pestana, int linea) const;
    void LeeColorSalida();
    void MEFechaEnter();
    void MEFechaExit();
    void Timer1Timer();
    void ActualizaFecha();
    void CambiaFoco(QWidget *antes, QWidget *ahora);
    void MuestraPistaDelFoco(const QWidget *control);
    [[nodiscard]] QDate FechaActual() const;
    [[nodiscard]] int Pestana() const;
    /// Puts what is being typed on a tab into its table. @return false, after a message, when it stays there.
    bool AceptaPendiente(int pestana);

    TClassAgendaN *m_motor = nullptr;
    QPointer<QWidget> m_propietario;
    QEventLoop m_bucle;
    bool m_cerrada = true;
    int m_ordenesEnCurso = 0; ///< the timer keeps still meanwhile: a question may be about the current line
    int m_pestanaAnterior = 0;
    bool m_diaVisto = true; ///< what was typed before the command in hand has brought nothing new with it
    bool m_fechaAtendida = true; ///< the day of the date field was shown when the field was left
    TBorrador m_borrador;        ///< of the first notary's line that is being edited in its grid
    QColor m_colorSalida;

    QAction *ANuevo = nullptr;
    QAction *AModificar = nullptr;
    QAction *ADetalles = nullptr;
    QAction *ABorrar = nullptr;
    QAction *ASalida = nullptr;
    QAction *AAusente = nullptr;
    QAction *ASincronizarDia = nullptr;
    QAction *ADiaAnterior = nullptr;
    QAction *ADiaSiguiente = nullptr;
    QAction *ABuscarDia = nullptr;
    QAction *ACopiarCita = nullptr;
    QAction *AMoverCita = nullptr;
    QAction *AContacto = nullptr;
    QAction *AImprimirDia = nullptr;
    QAction *AImprimirSemana = nullptr;
    QAction *AImprimirDiaOficial = nullptr;
    QAction *AImprimirSemanaOficial = nullptr;
    QAction *AConfiguracion = nullptr;
    QAction *ASalir = nullptr;

    QToolBar *TBAgendaN = nullptr;
    dbcontrols::MaskEdit *MEFecha = nullptr;
    QToolButton *BCalendario = nullptr;
    dbcontrols::CalendarPopup *m_calendario = nullptr;
    TPestanasAgendaN *PCAgenda = nullptr;
    QMenu *PMAgendaN = nullptr;
    QMenu *PMImprimir = nullptr;
    QStatusBar *LExplica = nullptr;
    QLabel *m_pista = nullptr; ///< hint of the control that has the focus
    QToolButton *BFueraDeHora = nullptr;
    QDate m_diaFueraDeHora; ///< whose lines outside the hours are shown while the button is down
    QTimer *Timer1 = nullptr;
    std::array<QWidget *, NumPestanas> TSNotario{};
    std::array<dbcontrols::DbGrid *, NumPestanas> DBGAgendaN{};
    std::array<dbcontrols::DbMemo *, NumPestanas> DBMConcepto{};
    std::array<dbcontrols::DataSource *, NumPestanas> DSAgendaN{};
};
