#pragma once

#include "agenda/AgendaZenDM.h"
#include "agenda/LineaAgenda.h"
#include "agenda/MotorDeTablas.h"
#include "agenda1/DiaDeDos.h"
#include "agenda1/InformesAgenda1.h"
#include "agenda1/VistasAgenda.h"

#include <QtCore/QDate>
#include <QtCore/QString>

#include <functional>
#include <memory>
#include <span>

/// Notary 1's name in an agenda of one notary.
inline const QString UnNotario = QStringLiteral("UN_NOTARIO");

/// What the settings row says.
struct TAjustesAgenda {
    QString FNotario1 = UnNotario;
    QString FNotario2;
    int FIntervalo = 30; ///< minutes
    int FHoraInicio = 9; ///< 1 to 23
    int FHoraFin = 20;   ///< 1 to 23, not before FHoraInicio
};

/// Engine of the single-table agenda, for one notary, or for two who share an office. With one notary it
/// works on the lines of AGENDA; with two it works on the day in memory, cdsAgenda2, which is packed and
/// written back.
///
/// Insertar, Modificar, Borrar, Aceptar, Ausente and Salida never throw: a failure is logged and gives false.
/// Everything else throws dataset::EDatabaseError when the table cannot be read or written.
class TAgenda : private TMotorDeTablas
{
public:
    /// @param vistas    not owned; outlives the engine. Null where no window is ever asked for.
    /// @param informes  not owned; outlives the engine. Null where nothing is ever printed.
    TAgenda(QDate fecha, IVistasAgenda *vistas, IInformesAgenda1 *informes = nullptr);
    ~TAgenda();
    TAgenda(const TAgenda &) = delete;
    TAgenda &operator=(const TAgenda &) = delete;

    /// Shows the agenda of the working day, whose sheet is made after asking. Without a settings row nothing
    /// happens.
    void IAgenda(QObject *propietario);
    /// Shows the settings dialog.
    void IConfiguracion(QObject *propietario);

    [[nodiscard]] QDate Fecha() const { return FFecha; }
    [[nodiscard]] const TAjustesAgenda &Ajustes() const { return m_ajustes; }
    void PonAjustes(const TAjustesAgenda &ajustes) { m_ajustes = ajustes; }
    [[nodiscard]] bool DosNotarios() const { return m_ajustes.FNotario1 != UnNotario; }
    [[nodiscard]] dataset::DataSet &Tabla() const { return *FTabla; }
    [[nodiscard]] dataset::DataSet &Tabla2() const { return m_datos->cdsAgenda2; }
    /// The table that the window of this mode shows.
    [[nodiscard]] dataset::DataSet &TablaDeLaVentana() const { return DosNotarios() ? Tabla2() : Tabla(); }

    /// Restricts the table to the working day and shows the window of the mode.
    void ISelecciona();
    /// Asks whether the day's sheet is to be made, and makes it in one commit. @return false when declined.
    bool InsertaDia();
    /// Move to the nearest later / earlier day with lines; they say so when there is none.
    /// @return the day then shown, "dd/mm/yyyy".
    QString BuscarSiguiente();
    QString BuscarAnterior();

    bool Insertar();
    bool Modificar(dataset::EditOf linea = dataset::EditOf::seen);
    bool Borrar();
    bool Aceptar();
    bool Cancelar();
    /// @param notario  1 or 2 with two notaries; with one it does not matter.
    bool Ausente(int notario);
    bool Salida(int notario);

    // ClasAgeConfiguracion.cpp
    /// Reads the settings row. @return false when there is none.
    bool SeleccionaConfiguracion();
    /// Writes the settings row, which must be there: the row found first is taken for it. @return false when
    /// it could not be written.
    bool AlmacenaConfiguracion();

    /// Loads the working day into cdsAgenda2 anew.
    void CargarAgenda2();
    /// The same, but lines that were deleted here and not yet written stay away, and the current line stays.
    void RecargaAgenda2();
    /// Writes cdsAgenda2 as the working day, in one commit. What other workstations have written since it was
    /// loaded is kept; the user is told of lines that both have touched.
    void ActualizarDesdeAgenda2();
    /// Gives cdsAgenda2 back as AGENDA was when it was read last, but for deleted lines: for changes that
    /// could not be written.
    void DeshazAgenda2();

    // ClasAgeInformes.cpp
    /// Previews the week, Monday to Saturday, that holds the working day; a Sunday belongs to the one before
    /// it. Two notaries' texts are printed as they are packed. Afterwards the table holds the day again.
    void InformeSemanal();
    /// Previews the working day as the window of this mode holds it.
    void InformeDia();

private:
    /// Deliberate: the day in memory keeps what is pending where a line could not be begun or deleted.
    [[nodiscard]] TTrasFallo SiFallaUnaLinea() const
    {
        return DosNotarios() ? TTrasFallo::deja : TTrasFallo::cancela;
    }
    bool EnLaLinea(const char *operacion, const std::function<void(dataset::DataSet &)> &trabajo);
    bool CambiaLinea(const char *operacion, std::span<const TCampoLinea> campos,
                     const std::function<void(TLineaAgenda &)> &cambio);
    QString VeA(TSentido sentido, const QString &nadaMas);
    void AlternaMarcaDeDos(int notario, const QString &texto);
    bool AusenteDeDos(int notario);
    bool SalidaDeDos(int notario);

    IVistasAgenda *m_vistas;
    IInformesAgenda1 *m_informes;
    std::unique_ptr<TDMAgendaZen> m_datos;
    dataset::DbfTable *FTabla;
    QDate FFecha;
    TAjustesAgenda m_ajustes;
    std::unique_ptr<TDiaDeDos> m_dosNotarios; ///< the working day, with two of them
};
