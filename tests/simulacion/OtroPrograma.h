#pragma once

#include "dataset/DbfTable.h"
#include "tests/simulacion/Tabla.h"

#include <memory>
#include <vector>

namespace simulacion
{

/// Another program of the office over the same tables: it changes lines, and keeps locks for long.
class TOtroPrograma
{
public:
    /// @param carpeta  of the office.
    TOtroPrograma(TCual cual, const QString &carpeta,
                  const std::vector<std::unique_ptr<TTablaCruda>> &tablas);
    ~TOtroPrograma();
    /// One of its steps. @return false when it could not be done just now.
    bool Haz(const TPaso &paso);
    /// Gives its locks back.
    void Suelta();
    [[nodiscard]] bool Bloquea() const { return m_bloquea; }
    /// Finishes what a workstation that died has left half written, as whoever writes next does.
    void Sana();

    TOtroPrograma(const TOtroPrograma &) = delete;
    TOtroPrograma &operator=(const TOtroPrograma &) = delete;

private:
    void Cambia(const TPaso &paso, dataset::DbfTable &tabla);
    void PonTexto(dataset::DbfTable &tabla, int numero) const;
    TCual m_cual;
    dataset::Aliases m_aliases;
    const std::vector<std::unique_ptr<TTablaCruda>> &m_crudas;
    std::vector<std::unique_ptr<dataset::DbfTable>> m_tablas;
    bool m_bloquea = false;
};

} // namespace simulacion
