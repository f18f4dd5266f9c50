#pragma once

#include "agenda/Borrador.h"
#include "agendan/ClaseAgendaN.h"

#include <QtCore/QHash>
#include <QtCore/QPointer>
#include <QtCore/QStringList>
#include <QtWidgets/QDialog>

namespace dbcontrols
{
class CalendarPopup;
class DataSource;
class DbComboBox;
class DbEdit;
class DbMemo;
class MaskEdit;
class UpperCaseValidator;
} // namespace dbcontrols

class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QToolButton;

/// The card on which one agenda line is made, changed or deleted. It has no data of its own: its controls
/// stand over the current line of the engine's current table, and every change of state is asked of the
/// engine. What it adds is the lookup of the interested party in the client list, and the end time, up to
/// which the accepted line is copied onto the slots that follow.
///
/// Keys are seen here before the control that has the focus gets them. Controls are entered and left with
/// regard to the card alone: a message box or another window in front leaves none.
class TFFichaCitas : public QDialog
{
    Q_OBJECT
public:
    /// @param propietario  the card is centred on it; may be null.
    explicit TFFichaCitas(QWidget *propietario);
    ~TFFichaCitas() override;

    /// The card edits the engine's current table. @param motor  not owned; outlives the card.
    void PonMotor(TClassAgendaN &motor);
    void PonOperacion(TOperacion operacion) { m_operacion = operacion; }
    /// Shows the card and returns when it is closed. A table that is restricted to one day then stands on a
    /// line of that day again.
    void ShowModal();

    void reject() override;

protected:
    bool eventFilter(QObject *objeto, QEvent *evento) override;
    void showEvent(QShowEvent *evento) override;
    void closeEvent(QCloseEvent *evento) override;
    void changeEvent(QEvent *evento) override;
    void keyPressEvent(QKeyEvent *evento) override;

private:
    // FichaCitaMontaje.cpp: the card is put together
    void CreaDetalles();
    QLayout *CreaFilaDeHoras();
    QLayout *CreaFilaDelOficial();
    QLayout *CreaFilaDelInteresado();
    void CreaEspejos();
    void CreaBotones();
    QPushButton *CreaBoton(const char *nombre, const QString &titulo, const QString &pista,
                           void (TFFichaCitas::*orden)());
    void AjustaMedidasALaLetra();
    void PonColores();
    void CargaComboOficial();

    // FichaCita.cpp: states, keys, focus
    void FormShow();
    void Coloca();
    bool FormKeyDown(int tecla);
    void ActivarBotones();
    void DesactivarBotones();
    void PonEstado(bool editando);
    void ActivarHoraFin(bool mostrar);
    [[nodiscard]] bool Editando() const;
    void Ayuda(const QWidget *control);
    void Avisa(const QString &aviso);
    void TomaFoco(QWidget &control);
    void DejaFoco(QWidget &control);
    void PonFoco(QWidget &control);
    void CambiaFoco(QWidget *ahora);
    void Sale(QWidget &control);
    [[nodiscard]] bool EsCajaDeEdicion(const QWidget *control) const;
    void VuelveAlDiaMostrado();
    [[nodiscard]] dataset::DataSet &Tabla() const { return m_motor->TablaActual(); }

    // FichaCitaControles.cpp: date, time and party
    void MEFechaExit();
    void MEHoraExit();
    void MEHoraFinExit();
    void AvisaDeHora(const QString &hora);
    void EInteresadoEnter();
    void EInteresadoExit();
    void EInteresadoKeyUp(int tecla);
    void BInteresadoClick();
    void QuitaInteresado();
    void EscribeInteresado(const QString &nombre, qint64 codigo);
    void EscribeCodigo(qint64 codigo);
    void MuestraFecha();
    void MuestraHora();
    void MuestraInteresado();
    void MuestraCodCliente();
    void AbreCalendario();
    [[nodiscard]] qint64 TagDelInteresado() const;

    // FichaCitaComandos.cpp: the buttons
    void BNuevoClick();
    void BModificarClick();
    void BBorrarClick();
    void BAceptarClick();
    void BCancelarClick();
    void BSalirClick();
    void EmpiezaEdicion();
    void Acepta();
    TBorrador::TLugar VuelveAEscribir();
    TRespuesta VuelveASuLinea();
    void RecuperaLoTecleado(const QString &causa);
    [[nodiscard]] QList<TLineaAgenda> LineasHasta(const TLineaAgenda &cita, const QString &horaFin) const;
    TRespuesta TomaParaRellenar(const TLineaAgenda &linea);
    void RellenaHasta(const TLineaAgenda &aceptada, const QString &horaFin);
    static void AvisaSiFallo(const TRespuesta &respuesta, const QString &que);

    TClassAgendaN *m_motor = nullptr;
    TOperacion m_operacion = TOperacion::ver;
    QPointer<QWidget> m_propietario;
    TBorrador m_borrador;
    int m_filaAlAbrir = -1;
    QDate m_diaAlAbrir; ///< the day shown behind the card, if any
    QHash<dataset::Bookmark, dataset::SeenRecord>
        m_vistasAlAbrir; ///< its lines, as grid and card have shown them
    dataset::Bookmark m_lineaAlAbrir = 0;
    QWidget *m_conFoco = nullptr;         ///< control entered last
    QWidget *m_salidaPendiente = nullptr; ///< left for BCancelar, so its handler has still to run
    bool m_fechaRechazada = false;        ///< the field was left with a bad date, and not left since
    bool m_rechazoDicho = false;          ///< and the clerk has been told
    bool m_tecleandoInteresado = false;
    qint64 m_codigoAlEntrar = 0;
    QString m_sinOficiales;  ///< why the list of clerks is empty
    QString m_causaDeEspera; ///< why the line of what is only held could not be had
    QString m_avisoAyuda;    ///< shown in the help line in place of the next hint

    dbcontrols::DataSource *DSAgendaN = nullptr;
    QGroupBox *PCita = nullptr;
    dbcontrols::MaskEdit *MEFecha = nullptr;
    dbcontrols::DbEdit *DBEFecha = nullptr;
    QToolButton *m_botonCalendario = nullptr;
    dbcontrols::CalendarPopup *m_calendario = nullptr;
    dbcontrols::MaskEdit *MEHora = nullptr;
    dbcontrols::DbEdit *DBEHora = nullptr;
    QLabel *lblHoraFin = nullptr;
    dbcontrols::MaskEdit *MEHoraFin = nullptr;
    QLabel *lblHorafinComentario = nullptr;
    dbcontrols::DbComboBox *DBCBOficial = nullptr;
    dbcontrols::DbComboBox *DBCBSalida = nullptr;
    QLineEdit *EInteresado = nullptr;
    dbcontrols::UpperCaseValidator *m_mayusculas = nullptr;
    dbcontrols::DbEdit *DBEInteresado = nullptr;
    dbcontrols::DbEdit *DBECodCliente = nullptr;
    QToolButton *BInteresado = nullptr;
    dbcontrols::DbMemo *DBMConcepto = nullptr;
    QLabel *LExplica = nullptr;
    QPushButton *BModificar = nullptr;
    QPushButton *BBorrar = nullptr;
    QPushButton *BNuevo = nullptr;
    QPushButton *BAceptar = nullptr;
    QPushButton *BCancelar = nullptr;
    QPushButton *BSalir = nullptr;
};
