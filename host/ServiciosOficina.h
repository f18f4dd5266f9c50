#pragma once

#include "agenda/host/Servicios.h"
#include "host/Configuracion.h"

/// Message boxes on the screen, modal over whatever window is in front.
class TMensajeOficina : public IMensaje
{
public:
    int Mensajes(const TMensaje &mensaje) override;
    int Mensaje_SiNo(const QString &pregunta, const QString &explicacion, const QString &titulo) override;
    int Mensaje_NoSi(const QString &pregunta, const QString &explicacion, const QString &titulo) override;
    void Mensaje_Error(const QString &texto, const QString &titulo) override;
};

class TRutOficina : public IRut
{
public:
    /// @param config, aliases  not owned; outlive this.
    TRutOficina(const TConfiguracion &config, const dataset::Aliases &aliases)
        : m_config(config)
        , m_aliases(aliases)
    {
    }
    [[nodiscard]] QString AliasNotario(int notario) override { return m_config.AliasNotario(notario); }
    bool PreguntaFecha(QDate &fecha, const QString &indicacion, const QString &titulo) override;
    bool PreguntaOficial(QString &nombre) override;
    void Visualizador(report::Report &informe) override;

private:
    const TConfiguracion &m_config;
    const dataset::Aliases &m_aliases;
};

/// A control with the focus gets a light yellow ground.
class TRvariasOficina : public IRvarias
{
public:
    [[nodiscard]] bool EsBoton(const QWidget *control) const override;
    void TomaFocoControl(QWidget &control) override;
    void DejaFocoControl(QWidget &control) override;
};

/// The units that loaded modules have brought.
class TRegistroOficina : public IRegistro
{
public:
    void RegistraUnidad(const QString &unidad) override { m_unidades << unidad; }
    void LiberaUnidad(const QString &unidad) override { m_unidades.removeOne(unidad); }
    [[nodiscard]] const QStringList &Unidades() const { return m_unidades; }

private:
    QStringList m_unidades;
};

class TRelojSistema : public IReloj
{
public:
    /// @param fijo  a date to be taken for today; invalid: the system's.
    explicit TRelojSistema(QDate fijo)
        : m_fijo(fijo)
    {
    }
    [[nodiscard]] QDate Hoy() const override { return m_fijo.isValid() ? m_fijo : QDate::currentDate(); }

private:
    QDate m_fijo;
};
