#pragma once

#include <QtCore/QString>

#include <utility>

/// What an operation of an engine answers: the boolean of its contract, and what it has met where something
/// failed, for telling the user. Without a cause a false says that there was nothing to do, that the user has
/// been told already, or that he has said no; with one, a true says that a part has failed.
class TRespuesta
{
public:
    /*implicit*/ TRespuesta(bool hecho)
        : m_hecho(hecho)
    {
    }
    TRespuesta(bool hecho, QString causa)
        : m_hecho(hecho)
        , m_causa(std::move(causa))
    {
    }
    /// @param tablaOcupada  others hold the whole table, so its other lines cannot be had either.
    [[nodiscard]] static TRespuesta Fallo(const QString &causa, bool tablaOcupada = false)
    {
        TRespuesta fallo(false, causa);
        fallo.m_tablaOcupada = tablaOcupada;
        return fallo;
    }
    /*implicit*/ operator bool() const { return m_hecho; }
    [[nodiscard]] const QString &Causa() const { return m_causa; } ///< empty where nothing has failed
    [[nodiscard]] bool TablaOcupada() const { return m_tablaOcupada; }

private:
    bool m_hecho;
    QString m_causa;
    bool m_tablaOcupada = false;
};
