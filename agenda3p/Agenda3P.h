#pragma once

#include "agenda/IAgenda3P.h"
#include "agenda/MotorDeTablas.h"
#include "dataset/MemTable.h"

#include <QtCore/QObject>

#include <array>
#include <functional>
#include <memory>
#include <optional>

class TDMAgendaZen;
struct TLineaAgenda;

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
    /// @throws dataset::EDatabaseError when a notary's table cannot be opened and a day is to be shown.
    /// Without a day such a table stays closed, and VeDia() tries again.
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
    TRespuesta VeDia(QDate fecha) override;
    [[nodiscard]] QDate DiaMostrado(int notario) const override;
    [[nodiscard]] bool EsLegible(int notario) const override;
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
    TRespuesta AnadirSolo(QDate fecha, const QString &hora, int tenia) override;
    TRespuesta Completar(QDate fecha) override;
    TRespuesta Modificar() override { return TMotorDeTablas::Modificar(); }
    TRespuesta Modificar(const dataset::SeenRecord &linea) override
    {
        return TMotorDeTablas::Modificar(linea);
    }
    TRespuesta Borrar(bool preguntar) override;
    TRespuesta BorrarHueco(const THueco &hueco, bool preguntar) override;
    TRespuesta AceptarAgendaN() override;
    bool CancelarAgendaN(bool preguntar) override;
    TRespuesta Salida() override;
    TRespuesta Ausente() override;

    // Copying
    void Copiar() override;
    TRespuesta CopiarVistas(const THueco &lineas) override;
    [[nodiscard]] QStringList HorasCopiadas() const override;
    TRespuesta Pegar(QDate fecha) override;
    TRespuesta PegarHora(QDate fecha, const QString &hora) override;
    [[nodiscard]] TPegado PreparaPegado(QDate fecha, const QString &hora) override;
    TRespuesta PegaPreparado(const TPegado &pegado) override;
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
    /// What a table shows, and its day and the line with a pending change where it is to go back there later.
    struct TLugar {
        int Notario = 0;
        dataset::KeptView Vista;
        QDate Dia = {};
        dataset::Bookmark Pendiente = 0;
    };
    using TFaltan = std::function<int(const QString &hora, int tiene)>;

    [[nodiscard]] static QString SinHueco(int notario);
    [[nodiscard]] static QString ConNombre(int notario, const QString &causa);
    QString EnCadaTabla(const std::function<void(int notario)> &trabajo, int menosEn = 0);
    void AbreSiFalta(int notario);
    TRespuesta VeDiaEn(QDate fecha, int menosEn);
    void VeDiaConLasDemas(QDate fecha);
    bool VeAOtroDia(TSentido sentido);
    TAnadida AnadeEnTodas(QDate fecha, const QString &hora);
    static int AnadeSolas(dataset::DataSet &tabla, QDate fecha, const QStringList &horas,
                          const TFaltan &faltan);
    static dataset::SeenRecord VistaSiEsDe(dataset::DataSet &tabla, const QString &hora);
    static bool PreguntaBorrar(const QString &hora);
    TRespuesta TomaHueco(const THueco &hueco);
    TRespuesta BorraTomado(const THueco &hueco);
    void PreparaBuffer();
    void CopiaAlBuffer(const TLineaAgenda &linea);
    TRespuesta PegaDesplazado(QDate fecha, int minutos, bool desplaza);
    TRespuesta PegaFila(QDate fecha, const QString &hora);
    [[nodiscard]] std::optional<int> Desplazamiento(const QString &hora) const;
    TRespuesta PonLinea(TPegado::TDestino &destino, QDate fecha);
    [[nodiscard]] bool OtraTiene(QDate fecha, const QString &hora) const;
    void VuelveA(const TLugar &lugar);
    template <class TAcaba> auto AcabaPendiente(TAcaba &&acaba);
    void MuestraInforme(TClaseInforme clase, QDate fecha);

    std::array<bool, MaxNotarios>
        m_sinAbrir{}; ///< tables of its own that are closed until they can be opened
    std::array<bool, MaxNotarios> m_legibles{};
    std::unique_ptr<dataset::MemTable> m_buffer;
    std::unique_ptr<TDMAgendaZen> m_datos;
    std::optional<TLugar> m_trasPegar; ///< for when what a paste has left pending is done with
};
