#pragma once

#include "agenda/host/Confzen.h"
#include "dataset/Aliases.h"

/// A notary as the office's configuration has him.
struct TNotario {
    QString Nombre;
    QString Alias; ///< of his database
    friend bool operator==(const TNotario &, const TNotario &) = default;
};

/// The office's configuration, from "oficina.ini" in its data folder:
///
///     [Oficina]              Notarios=3, Don=Don, Nombre=..., AliasZentra=ZENTRA, FechaInicio=01/01/2026,
///     PrnOtros= [Notario1] ...         Nombre=..., Alias=NOTARIO1 [Alias]                ZENTRA=comun folder
///     of an alias, absolute or inside the data folder; its name by default
class TConfiguracion : public TConfig
{
public:
    /// @param carpeta  the data folder. @throws dataset::EDatabaseError when it holds no office.
    explicit TConfiguracion(const QString &carpeta);

    [[nodiscard]] int GetnCuantos() const override;
    [[nodiscard]] QString GetAliasZentra() const override;
    [[nodiscard]] QString GetNombre1() const override;
    [[nodiscard]] QString GetDon() const override;
    [[nodiscard]] QStringList GetNotarios() const override;
    [[nodiscard]] QString GetPath() const override;
    [[nodiscard]] QDate GetAgenda_FechaInicio() const override;
    void SetAgenda_FechaInicio(QDate fecha) override;
    [[nodiscard]] QString GetPrnOtros() const override;
    [[nodiscard]] QString GetFicheroVentanas() const override { return m_ficheroVentanas; }
    /// @param fichero  of this user; made when missing. Without one the windows remember nothing.
    void PonFicheroVentanas(const QString &fichero) { m_ficheroVentanas = fichero; }

    /// Alias of a notary's database, 1-based.
    [[nodiscard]] QString AliasNotario(int notario) const;
    static constexpr int MaxNotarios = 5; ///< as many as an agenda has tabs
    /// The notaries in their order; of an office kept under a single notary's data, that one.
    [[nodiscard]] QList<TNotario> Notarios() const;
    /// Writes all of them in one step. @throws dataset::EDatabaseError
    void SetNotarios(const QList<TNotario> &notarios);
    /// Folder of an alias, absolute, whether the office has such a database or not.
    [[nodiscard]] QString CarpetaDeAlias(const QString &alias) const;
    /// Every database of the office with its folder.
    [[nodiscard]] dataset::Aliases Aliases() const;
    [[nodiscard]] static QString FicheroDe(const QString &carpeta);

private:
    [[nodiscard]] QString Lee(const QString &seccion, const QString &clave,
                              const QString &porDefecto = {}) const;
    QString m_carpeta; ///< absolute, with a separator at its end
    QString m_ficheroVentanas;
};
