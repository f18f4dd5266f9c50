#pragma once

#include "agenda/Color.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>

#include <functional>
#include <optional>

/// One value of a settings file, and where it stands.
struct TValorIni {
    QString Seccion;
    QString Clave;
    QString Valor;
};

/// A settings file of sections and keys that other programs of the office share. Nothing is kept between two
/// calls: each reads the file, and a setter changes that one value and leaves every other byte as it was.
///
/// Sections and keys are found in any case; of repeated ones the first counts. Values lose blanks and one
/// pair of quotes around them. The text of the file is Windows-1252.
class TFicheroIni
{
public:
    /// More than this no settings file has; a larger one is refused, and so is whatever is no plain file.
    static constexpr qint64 MaxBytes = qint64{1024} * 1024;

    /// @param ruta  the file; folder and file are found whatever the case of their last two names.
    explicit TFicheroIni(const QString &ruta);

    /// @return nothing when the file, the section or the key is missing.
    /// @throws dataset::EDatabaseError when the file is there and cannot be read whole, or cannot be looked
    /// at; so do all that read.
    [[nodiscard]] std::optional<QString> Lee(const QString &seccion, const QString &clave) const;
    /// @return the default also for a text that is not a number.
    [[nodiscard]] int LeeEntero(const QString &seccion, const QString &clave, int porDefecto) const;
    [[nodiscard]] bool LeeLogico(const QString &seccion, const QString &clave, bool porDefecto) const;

    /// Writes one value, making file, section and key when missing. A killed process leaves the old file or
    /// the new one.
    /// @throws dataset::EDatabaseError when the file cannot be read whole, and is then left alone, or not be
    /// written.
    void Escribe(const QString &seccion, const QString &clave, const QString &valor);
    /// The same for several values in one step: a killed process leaves all of them or none.
    void Escribe(const QList<TValorIni> &valores);
    /// Reads, decides and writes in one step, in which no other workstation writes.
    /// @param decide  is given the file's content, empty when there is no file, and answers with what to set.
    /// What it throws passes on, with nothing written. It must not write this file itself.
    void Cambia(const std::function<QList<TValorIni>(const QByteArray &contenido)> &decide);
    void EscribeEntero(const QString &seccion, const QString &clave, int valor);
    void EscribeLogico(const QString &seccion, const QString &clave, bool valor);

private:
    QString m_ruta;
};

/// The content of such a file with one value changed; pure, for whoever keeps the bytes.
[[nodiscard]] QByteArray ConValor(const QByteArray &contenido, const QString &seccion, const QString &clave,
                                  const QString &valor);
/// The value as it stands in the content.
[[nodiscard]] std::optional<QString> ValorEn(const QByteArray &contenido, const QString &seccion,
                                             const QString &clave);
