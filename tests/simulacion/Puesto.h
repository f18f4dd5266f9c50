#pragma once

#include "agenda/InformesAgenda.h"
#include "agenda/host/Servicios.h"
#include "tests/agendan/Ficha.h"
#include "tests/simulacion/Canal.h"
#include "tests/simulacion/Mensajes.h"

#include <QtCore/QObject>

#include <memory>

class TClassAgendaN;
class TFFichaAgendaN;
class QWidget;

namespace simulacion
{

/// A workstation, in a process of its own: the real windows off-screen, worked as a clerk does, over a
/// scripted host. It stands still wherever it would wait for the clerk, and does what it is sent next.
class TPuesto : public QObject, private IMensaje, private support::RutDePrueba, private IInformesAgenda
{
public:
    /// @param carpeta  of the office, with a folder for each notary. @param canal  to the scheduler.
    TPuesto(const QString &carpeta, TCanal canal);
    ~TPuesto() override;
    /// Until the scheduler is gone.
    void Vive();

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

    // IInformesAgenda
    class TInforme;
    std::unique_ptr<IInforme> CreaQRAgendaDiaN(QObject *, QDate fecha, dataset::DataSet &datos,
                                               const std::optional<QString> &) override;
    std::unique_ptr<IInforme> CreaQRAgendaN(QObject *, QDate lunes, dataset::DataSet &) override;

    bool eventFilter(QObject *objeto, QEvent *evento) override;
    void AlEsperar();
    /// Stands still in a box until it is answered. @return the step that answers it.
    TPaso EsperaEn(TEstado estado, TVerbo respuesta, const QString &texto = {});
    void Contesta(TEstado estado);
    TPaso LeePaso();
    void Prepara(const TPaso &paso);
    void EnLlamadaLenta();
    bool Haz(const TPaso &paso);
    bool HazEnVentana(const TPaso &paso);
    bool HazEnFicha(const TPaso &paso);
    bool PulsaTecla(const TPaso &paso);
    bool Clic(const TPaso &paso);
    bool EscribeFecha(const TPaso &paso);
    bool EscribeMemo(const TPaso &paso);
    bool Tic();
    void Teclea(const QString &texto);
    [[nodiscard]] TPantalla Mira();
    void MiraFicha(TPantalla &pantalla);
    [[nodiscard]] QWidget *Ficha() const;
    /// A part of the window by its name.
    template <class T> [[nodiscard]] T *En(const char *nombre) const;

    TCanal m_canal;
    dataset::Aliases m_aliases;
    support::ConfigDePrueba m_config;
    support::RvariasDePrueba m_rvarias;
    support::RelojDePrueba m_reloj;
    support::ClientesDePrueba m_clientes;
    std::unique_ptr<TServiciosInstalados> m_servicios;
    TClassAgendaN *m_motor = nullptr;
    TFFichaAgendaN *m_ventana = nullptr;
    TRespuesta m_respuesta; ///< what has been met since the last answer
    int m_rondas = 0;       ///< of events since the last step
    bool m_debe = false;    ///< an answer
};

/// Becomes a workstation in this process and never comes back.
[[noreturn]] void EjecutaPuesto(const QString &carpeta, int descriptor);

} // namespace simulacion
