#pragma once

#include "agenda/IAgenda3P.h"
#include "agenda/MotorDeTablas.h"
#include "dataset/MemTable.h"

#include <QtCore/QObject>

#include <memory>

class TDMAgendaZen;

/// The engine of several tables; what it does is said with its interface.
class TAgenda3P : public IAgenda3P, private TMotorDeTablas
{
public:
    /// Shows a day; asks whether to make its sheet where a table has no line of it.
    /// @param propietario  owner of the report windows; not owned, may be null.
    /// @param fecha        invalid: nothing is shown or asked yet.
    /// @param tablas       open tables of the host, not owned; with an empty first position the engine opens
    ///                     one table per notary itself.
    /// @param informes     not owned, outlives the engine; null where no report is ever asked for.
    /// @throws dataset::EDatabaseError when a notary's table cannot be opened.
    TAgenda3P(QObject *propietario, QDate fecha, const TTablasNotarios &tablas,
              IInformesAgenda *informes = nullptr);
    ~TAgenda3P() override;
    TAgenda3P(const TAgenda3P &) = delete;
    TAgenda3P &operator=(const TAgenda3P &) = delete;

    // Notaries
    [[nodiscard]] int NumNotarios() const override { return TMotorDeTablas::NumNotarios(); }
    [[nodiscard]] dataset::DataSet *Tabla(int notario) const override
    {
        return TMotorDeTablas::Tabla(notario);
    }
    [[nodiscard]] dataset::DataSet &TablaActual() const override { return TMotorDeTablas::TablaActual(); }
    void PonNotarioActual(int notario) override { TMotorDeTablas::PonNotarioActual(notario); }

    // Days
    bool RangoPorFecha(QDate fecha) override;
    void CancelaRangoPorFecha() override;
    bool InsertaDia(QDate fecha, bool preguntar) override;
    bool AnteriorDia() override;
    bool SiguienteDia() override;
    bool BuscarPorFecha(QDate fecha, const QString &hora, bool exacta) override
    {
        return TMotorDeTablas::BuscarPorFecha(fecha, hora, exacta);
    }
    void OrdenarListaPorFecha() override { TMotorDeTablas::OrdenarListaPorFecha(); }

    // Slots and lines
    TRespuesta Anadir(QDate fecha, const QString &hora) override;
    TRespuesta Modificar() override { return TMotorDeTablas::Modificar(); }
    TRespuesta Borrar(bool preguntar) override;
    TRespuesta AceptarAgendaN() override;
    bool CancelarAgendaN(bool preguntar) override { return TMotorDeTablas::CancelarAgendaN(preguntar); }
    TRespuesta Salida() override;
    TRespuesta Ausente() override;

    // Copying
    void Copiar() override;
    TRespuesta Pegar(QDate fecha) override;
    TRespuesta PegarHora(QDate fecha, const QString &hora) override;
    TRespuesta Limpiar(bool preguntar) override;
    void LimpiarBufferDeCopia() override;
    [[nodiscard]] bool HayDatosEnPortapapeles() const override;

    // Reports
    void InformeDia(QDate fecha) override;
    void InformeDia_PorOficial(QDate fecha) override;
    void InformeSemana(QDate fecha) override;
    void InformeSemana_PorOficial(QDate fecha) override;

private:
    struct TAnadida {
        TRespuesta Todas{true};
        bool Actual = false;
    };
    class TSitio;

    TAnadida AnadeEnTodas(QDate fecha, const QString &hora);
    static TRespuesta BorraSiEsDe(dataset::DataSet &tabla, const QString &hora);
    void PreparaBuffer();
    TRespuesta PegaDesplazado(QDate fecha, int minutos, bool desplaza);
    TRespuesta PegaFila(QDate fecha, const QString &hora);
    void MuestraInforme(TClaseInforme clase, QDate fecha);
    void VuelveAlDia(QDate fecha);

    std::unique_ptr<dataset::MemTable> m_buffer;
    std::unique_ptr<TDMAgendaZen> m_datos;
    QDate m_dia; ///< last asked for
};
