#pragma once

#include "host/Configuracion.h"
#include "host/Trabajo.h"
#include "upkeep/OfficeCopy.h"

#include <QtCore/QDateTime>
#include <QtCore/QList>

#include <filesystem>

/// A table file of the office.
struct TTablaOficina {
    QString Alias;
    QString Nombre;
    std::filesystem::path Fichero;
};

/// Something that a restoring or a repair has set aside beside a table, with what the table had before.
struct TApartado {
    QString Alias;
    QString Nombre;
    std::filesystem::path Fichero;
    qint64 Bytes = 0;
    QDateTime Fecha; ///< when it was written last
};

/// What lies aside in the folders of the office's databases.
[[nodiscard]] QList<TApartado> ApartadosDeLaOficina(const TConfiguracion &config);
/// Takes some of it away for good. @return what could not be, for the user; empty when all has gone.
[[nodiscard]] QString QuitaApartados(const QList<TApartado> &apartados);

/// The tables in the folders of the office's databases, those that it cannot do without also when their files
/// are missing.
[[nodiscard]] QList<TTablaOficina> TablasDeLaOficina(const TConfiguracion &config);

// What is done to tables, to be run by a TTrabajo. Each tells of every table how it stands, by its place in
// the list, and answers with a sentence for the user.

/// Counts the lines.
[[nodiscard]] TTrabajo::TCuerpo MiraTablas(const QList<TTablaOficina> &tablas);
/// Compares lines and indexes, and reads every field.
[[nodiscard]] TTrabajo::TCuerpo CompruebaTablas(const QList<TTablaOficina> &tablas);
/// Makes indexes anew that do not fit.
[[nodiscard]] TTrabajo::TCuerpo ReparaTablas(const QList<TTablaOficina> &tablas);
/// Drops deleted lines for good.
[[nodiscard]] TTrabajo::TCuerpo CompactaTablas(const QList<TTablaOficina> &tablas);
/// Copies the tables and the settings files into a .zip.
/// @param carpeta  of the office's data, for the settings files.
[[nodiscard]] TTrabajo::TCuerpo CopiaTablas(const QList<TTablaOficina> &tablas, const QString &carpeta,
                                            const QString &fichero);
/// Brings the lines of a .zip back: of all tables or of none. Says also which tables the copy lacks, and
/// which ones it holds that are none of `todas`, the office's.
/// @param masBytes  that one of its tables may have unpacked.
[[nodiscard]] TTrabajo::TCuerpo RestauraTablas(const QList<TTablaOficina> &tablas,
                                               const QList<TTablaOficina> &todas, const QString &fichero,
                                               quint64 masBytes = upkeep::mostTableBytes);
/// What the largest of some tables has unpacked in a copy, in bytes; 0 where the copy cannot be read.
[[nodiscard]] quint64 MayorTablaDeLaCopia(const QString &fichero, const QList<TTablaOficina> &tablas);
/// The notaries of the office that a copy was made of; none where the copy does not tell.
[[nodiscard]] QList<TNotario> NotariosDeLaCopia(const QString &fichero);
