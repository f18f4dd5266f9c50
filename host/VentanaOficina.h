#pragma once

#include "host/Clientes.h"
#include "host/Modulos.h"
#include "host/ServiciosOficina.h"

#include <QtWidgets/QMainWindow>

#include <functional>
#include <memory>

class QMenu;
class TAyuda;
class TPanelOficina;

/// The office's databases, services and module, put together and taken apart in order.
struct TOficina {
    /// @param hoy  a date to be taken for today; invalid: the system's. @throws dataset::EDatabaseError
    TOficina(const QString &carpeta, QDate hoy);

    /// Reads the databases again: other workstations add notaries. What is open stays open.
    void LeeAliases()
    {
        auto deLaOficina = Config.Aliases();
        deLaOficina.setLockPatience(Aliases.lockPatience()); // of this workstation, not of the office
        deLaOficina.setLockWait(Aliases.lockWait());
        Aliases = std::move(deLaOficina);
    }
    /// As many names as the office counts notaries.
    [[nodiscard]] QStringList NombresDeNotarios() const;
    /// Shows today of all notaries side by side and returns when the window is closed.
    /// @throws dataset::EDatabaseError
    void MuestraAgendaConjunta(QWidget *propietario);

    TConfiguracion Config;
    dataset::Aliases Aliases;
    TMensajeOficina Mensaje;
    TRutOficina Rut;
    TRvariasOficina Rvarias;
    TRelojSistema Reloj;
    TRegistroOficina Registro;
    TServiciosInstalados Servicios;
    TClientesOficina Clientes;
    TModuloAgenda Modulo;
};

/// The shell: what the clerk sees behind the agenda.
class TVentanaOficina : public QMainWindow
{
    Q_OBJECT
public:
    /// @param oficina  not owned; outlives the window.
    explicit TVentanaOficina(TOficina &oficina);
    ~TVentanaOficina() override;

    /// Opens the agenda of every notary on today and returns when it is closed; says what is wrong when it
    /// cannot.
    /// @return false when the agenda could not be opened.
    bool AbreAgenda();
    /// Opens the single-table agenda on today, and its settings; where there is none yet it is offered first.
    /// @return false when it could not be opened.
    bool AbreAgendaUnica();
    /// Opens the day of all notaries side by side. @return false when it could not be opened.
    bool AbreAgendaConjunta();
    bool ConfiguraAgendaUnica();

protected:
    void changeEvent(QEvent *evento) override;
    void closeEvent(QCloseEvent *evento) override;

private:
    void CreaMenuDatos();
    /// Into the menu, and as a large button into the window.
    void AnadeAgenda(QMenu &menu, Qt::Key tecla, QAction *comando);
    void ActualizaPanel();
    void ActualizaSinEstorbar();
    void Coloca();
    QAction *Comando(const QString &titulo, const QString &pista, const std::function<void()> &orden);
    bool ConGuarda(const std::function<void()> &orden);

    TOficina &m_oficina;
    TPanelOficina *m_panel;
    std::unique_ptr<TAyuda> m_ayuda;
};
