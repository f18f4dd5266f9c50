#pragma once

#include "agenda/InformesAgenda.h"
#include "agenda/host/Servicios.h"
#include "tests/agendan/Ficha.h"
#include "tests/simulacion/Proceso.h"

#include <QtCore/QObject>
#include <QtWidgets/QMainWindow>

#include <memory>

class QTableView;
class QTimer;

namespace simulacion
{

/// A workstation, in a process of its own: the real windows off-screen, worked as a clerk does, over a
/// scripted host. It stands still wherever it would wait for the clerk, and does what it is sent next.
class TPuesto : public QObject, protected IInformesAgenda, private IMensaje, private support::RutDePrueba
{
public:
    ~TPuesto() override;
    /// Until the scheduler is gone. @param dia  the one that its agenda shows first.
    void Vive(int dia);

protected:
    /// @param carpeta  of the office. @param canal  to the scheduler.
    TPuesto(TCual cual, const QString &carpeta, TCanal canal);

    // What the agendas do each in its way.
    /// Shows the agenda of a day, and returns when its window has been closed.
    virtual void Trabaja(QDate dia) = 0;
    /// Whether it is the agenda's window that has come up.
    [[nodiscard]] virtual bool EsVentana(const QObject &objeto) const = 0;
    /// What the window shows; null when there is none.
    [[nodiscard]] virtual dataset::DataSet *Tabla() const = 0;
    /// Whose lines these are, from 1.
    [[nodiscard]] virtual int Notario() const { return 1; }
    [[nodiscard]] virtual QTableView &Rejilla() const;
    [[nodiscard]] virtual QTimer *Reloj() const { return En<QTimer>("Timer1"); }
    /// Whether a dialog stands there that asks for an hour.
    [[nodiscard]] virtual bool PideHora() const { return false; }
    [[nodiscard]] virtual QString Fecha() const = 0;
    /// A step that is about this agenda's parts. @return whether it means anything just now.
    virtual bool HazLoSuyo(const TPaso &paso) = 0;
    /// What stands on the screen beside the lines and the date.
    virtual void MiraLoSuyo(TPantalla &pantalla) const = 0;
    /// The lines, and where the clerk stands in them. @return false when there is no table.
    virtual bool MiraLineas(TPantalla &pantalla) const;
    /// Fields of the lines, in the order of the grid's columns.
    [[nodiscard]] virtual QList<QByteArray> Columnas() const = 0;

    // IInformesAgenda
    std::unique_ptr<IInforme> CreaQRAgendaDiaN(QObject *, QDate fecha, dataset::DataSet &datos,
                                               const std::optional<QString> &) override
    {
        return Informe(fecha, &datos);
    }
    std::unique_ptr<IInforme> CreaQRAgendaN(QObject *, QDate lunes, dataset::DataSet &) override
    {
        return Informe(lunes, nullptr);
    }

    /// A printed sheet. @param datos  of a day; null: of a week, which is not looked at.
    [[nodiscard]] std::unique_ptr<IInforme> Informe(QDate fecha, const dataset::DataSet *datos);
    /// A part of the window, or of the card, by its name.
    template <class T> [[nodiscard]] T *En(const char *nombre, const QWidget *donde = nullptr) const
    {
        return (donde ? donde : m_ventana)->template findChild<T *>(QLatin1String(nombre));
    }
    [[nodiscard]] QWidget *Ficha() const;
    bool Acciona(const TPaso &paso);
    bool PulsaBoton(const TPaso &paso, const QWidget *donde);
    bool Clic(int fila, int columna, Qt::KeyboardModifiers con);
    void Teclea(const QString &texto);
    /// Puts the keys into a field, and types over what it says.
    bool Escribe(QWidget *campo, const QString &texto);
    bool EscribeFecha(const TPaso &paso);
    bool TecleaEnCelda(const TPaso &paso);

    TCual m_cual;
    QMainWindow *m_ventana = nullptr;
    support::ClientesDePrueba m_clientes;

private:
    // IMensaje
    int Mensajes(const TMensaje &mensaje) override;
    int Mensaje_SiNo(const QString &texto, const QString &, const QString &) override
    {
        return Pregunta(texto);
    }
    int Mensaje_NoSi(const QString &texto, const QString &, const QString &) override
    {
        return Pregunta(texto);
    }
    void Mensaje_Error(const QString &texto, const QString &) override { m_respuesta.Avisos << texto; }
    int Pregunta(const QString &texto);
    // IRut
    bool PreguntaFecha(QDate &fecha, const QString &, const QString &) override;

    class TInforme;
    bool eventFilter(QObject *objeto, QEvent *evento) override;
    void AlEsperar();
    /// Stands still in a box until it is answered. @return the step that answers it.
    TPaso EsperaEn(TEstado estado, TVerbo respuesta, const QString &texto = {});
    void Contesta(TEstado estado);
    TPaso LeePaso();
    void Prepara(const TPaso &paso);
    void EnLlamadaLenta();
    bool Haz(const TPaso &paso);
    bool PulsaTecla(const TPaso &paso);
    bool Tic();
    [[nodiscard]] TPantalla Mira();

    TCanal m_canal;
    dataset::Aliases m_aliases;
    support::ConfigDePrueba m_config;
    support::RvariasDePrueba m_rvarias;
    support::RelojDePrueba m_reloj;
    std::unique_ptr<TServiciosInstalados> m_servicios;
    TRespuesta m_respuesta; ///< what has been met since the last answer
    int m_rondas = 0;       ///< of events since the last step
    bool m_debe = false;    ///< an answer
};

[[nodiscard]] std::unique_ptr<TPuesto> CreaPuestoMulti(const QString &carpeta, TCanal canal);
[[nodiscard]] std::unique_ptr<TPuesto> CreaPuestoConjunta(const QString &carpeta, TCanal canal);
/// @param cual  of one notary or of two.
[[nodiscard]] std::unique_ptr<TPuesto> CreaPuestoUnica(TCual cual, const QString &carpeta, TCanal canal);

/// Becomes a workstation in this process and never comes back.
[[noreturn]] void EjecutaPuesto(TCual cual, const QString &carpeta, int descriptor, int dia);

} // namespace simulacion
