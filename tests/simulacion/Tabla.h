#pragma once

#include "tests/simulacion/Vocabulario.h"

#include <QtCore/QByteArray>
#include <QtCore/QMap>

#include <optional>

namespace simulacion
{

/// A record that has become another one.
struct TCambio {
    TSitio Sitio;
    std::optional<TLinea> Antes; ///< none: it was not there, or deleted
    std::optional<TLinea> Despues;
    [[nodiscard]] QString EnTexto() const;
};
using TCambios = QList<TCambio>;

/// The live lines of a notary's table as its file holds them, read without the program's own table files: the
/// judge does not believe them.
class TTablaCruda
{
public:
    using TLineas = QMap<quint32, TLinea>;
    TTablaCruda(QString fichero, TCual cual, int notario = 1);
    /// Reads again. @return what has changed since the last time.
    TCambios Lee();
    [[nodiscard]] const TLineas &Lineas() const { return m_lineas; }
    /// Those that stand on a day's sheet, in its order.
    [[nodiscard]] QList<TFila> Dia(const QString &fecha) const;
    /// The first record that says this; 0: none.
    [[nodiscard]] quint32 Marca(const TLinea &linea) const { return m_lineas.key(linea); }

private:
    [[nodiscard]] std::optional<TLinea> Descifra(const char *registro) const;
    QString m_fichero;
    TCual m_cual;
    int m_notario;
    QByteArray m_bytes;
    TLineas m_lineas;
    struct TCampo {
        int Desde = 0;
        int Ancho = 0;
    };
    QMap<QByteArray, TCampo> m_campos;
};

} // namespace simulacion
