#pragma once

#include "agenda/host/Confzen.h"
#include "dataset/Aliases.h"

#include <optional>

/// A notary as the office's configuration has him.
struct TNotario {
    QString Nombre;
    QString Alias; ///< of his database
    friend bool operator==(const TNotario &, const TNotario &) = default;
};

/// The office's configuration, from "oficina.ini" in its data folder. A key that is missing has its default:
///
///     [Oficina]
///     Notarios=3               0, when missing: one notary's office
///     Don=Don                  form of address and name of the one notary
///     Nombre=...
///     AliasZentra=ZENTRA       alias of the shared tables; this one by default
///     FechaInicio=01/01/2026   end of use of the single-table agenda
///     PrnOtros=...             printer for the sheets
///     [Notario1]               and so on, one for each notary
///     Nombre=...               "Notario 1" by default
///     Alias=NOTARIO1           of his tables; this one by default
///     [Alias]
///     ZENTRA=comun             folder of an alias, absolute or inside the data folder; its name by default
///     [Codigos]
///     CLIENTES=121             the highest code that a list has ever given; kept by the program
class TConfiguracion : public TConfig
{
public:
    /// @param carpeta  the data folder. @throws dataset::EDatabaseError when it holds no office, or one of
    /// more notaries than can be meant.
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
    /// More than any agenda shows, so that an office of theirs is told so; above it the number is no number
    /// of notaries.
    static constexpr int MasNotariosAnotados = 99;
    /// The notaries in their order; of an office kept under a single notary's data, that one.
    [[nodiscard]] QList<TNotario> Notarios() const;
    /// Writes all of them in one step, in place of those that the caller has seen.
    /// @throws dataset::EDatabaseError, kind conflict, when others have changed them since.
    void SetNotarios(const QList<TNotario> &notarios, const QList<TNotario> &vistos);
    /// The highest code that a list of the office has ever given; nothing when it has not been noted yet.
    [[nodiscard]] std::optional<qint64> MayorCodigo(const QString &lista) const;
    /// Notes a code as given. @param paso  1 gives the next one after it, and notes that; 0 none.
    /// @return the code noted, which nobody else is given. @throws dataset::EDatabaseError
    qint64 AnotaCodigo(const QString &lista, qint64 codigo, int paso);
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

/// Why a text cannot be a new database's name, which is also its folder's, on whatever system the office's
/// files are; empty when it can.
[[nodiscard]] QString PorQueNoSirveElAlias(const QString &alias);
