#pragma once

#include "agenda/HojaDia.h"
#include "agenda/IAgenda3P.h"
#include "agenda/MotorComun.h"
#include "dataset/MemTable.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>

#include <memory>
#include <optional>
#include <utility>

class IInformesAgenda;
class TDMAgendaZen;
enum class TClaseInforme;

/// The engine of several tables; what it does is said with its interface.
class TAgenda3P : public IAgenda3P
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
    [[nodiscard]] int NumNotarios() const override { return m_numNotarios; }
    [[nodiscard]] dataset::DataSet *Tabla(int notario) const override { return TablaDe(m_tablas, notario); }
    [[nodiscard]] dataset::DataSet &TablaActual() const override { return *m_tablaActual; }
    void PonNotarioActual(int notario) override;
    [[nodiscard]] QString TomaError() override { return std::exchange(m_ultimoError, {}); }

    // Days
    bool RangoPorFecha(QDate fecha) override;
    void CancelaRangoPorFecha() override;
    bool InsertaDia(QDate fecha, bool preguntar) override;
    bool AnteriorDia() override;
    bool SiguienteDia() override;
    bool BuscarPorFecha(QDate fecha, const QString &hora, bool exacta) override;
    void OrdenarListaPorFecha() override;

    // Slots and lines
    bool Anadir(QDate fecha, const QString &hora) override;
    bool Modificar() override;
    bool Borrar(bool preguntar) override;
    bool AceptarAgendaN() override;
    bool CancelarAgendaN(bool preguntar) override;
    bool Salida() override;
    bool Ausente() override;

    // Copying
    void Copiar() override;
    void Pegar(QDate fecha) override;
    void PegarHora(QDate fecha, const QString &hora) override;
    void Limpiar(bool preguntar) override;
    void LimpiarBufferDeCopia() override;
    [[nodiscard]] bool HayDatosEnPortapapeles() const override;

    // Reports
    void InformeDia(QDate fecha) override;
    void InformeDia_PorOficial(QDate fecha) override;
    void InformeSemana(QDate fecha) override;
    void InformeSemana_PorOficial(QDate fecha) override;

private:
    struct TAnadida {
        bool Todas = true;
        bool Actual = false;
    };
    class TSitio;

    template <class TTrabajo>
    bool ConGuarda(dataset::DataSet &tabla, const char *operacion, TTrabajo &&trabajo);
    void AnotaError(const char *operacion, const std::exception &error);
    void AbreTablasPropias();
    TAnadida AnadeEnTodas(QDate fecha, const QString &hora);
    bool BorraSiEsDe(dataset::DataSet &tabla, const QString &hora);
    std::optional<bool> AlternaMarca(const QString &marca, const QString &otra);
    [[nodiscard]] QDate DiaMostrado() const;
    void PreparaBuffer();
    void PegaDesplazado(QDate fecha, int minutos, bool desplaza);
    void PegaFila(QDate fecha, const QString &hora);
    void MuestraInforme(TClaseInforme clase, QDate fecha);
    void VuelveAlDia(QDate fecha);

    QPointer<QObject> m_propietario;
    IInformesAgenda *m_informes;
    std::unique_ptr<dataset::MemTable> m_buffer;
    int m_numNotarios = 0;
    std::unique_ptr<TDMAgendaZen> m_datos;
    std::unique_ptr<dataset::MemTable> m_semanaPropia; ///< week rows of an engine over the host's tables
    TTablasNotarios m_tablas{};
    dataset::DataSet *m_tablaActual = nullptr;
    QDate m_dia; ///< last shown, for when it has no lines
    QString m_ultimoError;
};
