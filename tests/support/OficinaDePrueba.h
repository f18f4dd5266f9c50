#pragma once

#include "agenda/AgendaNDM.h"
#include "agenda/ClaseConfAgendaN.h"
#include "tests/support/HostDePrueba.h"
#include "tests/support/TempFolder.h"

#include <QtCore/QStringList>

namespace support
{

/// A small office for a test: folders with real tables, a host that answers by script, and the settings
/// object.
class OficinaDePrueba
{
public:
    /// @param notarios  how many agenda tables are made, NOTARIO1 onwards.
    explicit OficinaDePrueba(int notarios = 1);
    ~OficinaDePrueba();

    /// Makes VA_COMUN's three records of the agenda.
    void ponAjustes(int inicio, int fin, int intervalo);
    /// A cursor of its own over a notary's agenda, open: another workstation, or the judge of what was
    /// written.
    [[nodiscard]] std::unique_ptr<dataset::DbfTable> agenda(int notario, bool durable = false) const;
    /// Adds a line to a notary's agenda.
    void linea(int notario, QDate fecha, const QString &hora, const QString &concepto = {},
               const QString &salida = QStringLiteral("N"));
    /// What a program that heeds no locks does to the first notary's file.
    /// @param registro  from 1, as they lie in the file. @param campo  null: in front of the fields, the
    /// mark.
    void escribeSinBloqueo(int registro, const char *campo, const std::string &bytes) const;
    /// "hh:nn CONCEPTO SALIDA" of every line of a day as the file holds it now.
    [[nodiscard]] QStringList dia(int notario, QDate fecha) const;
    [[nodiscard]] std::filesystem::path carpeta() const { return m_carpeta.path(); }
    [[nodiscard]] std::filesystem::path carpetaDe(const std::string &alias) const
    {
        return carpeta() / alias;
    }

    MensajeDePrueba Mensaje;
    RutDePrueba Rut;
    RvariasDePrueba Rvarias;
    ConfigDePrueba Config;
    RelojDePrueba Reloj;
    dataset::Aliases Aliases;

private:
    TempFolder m_carpeta;
    std::unique_ptr<TServiciosInstalados> m_servicios;
};

} // namespace support
