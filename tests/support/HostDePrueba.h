#pragma once

#include "agenda/host/Servicios.h"

#include <gtest/gtest.h>

#include <QtCore/QList>

#include <deque>
#include <functional>

namespace support
{

/// Message boxes that answer by a script. A message that was not announced, or one that never came, fails the
/// test.
class MensajeDePrueba : public IMensaje
{
public:
    struct Esperado {
        QString Texto; ///< whole text, or the question of a Mensaje_SiNo
        QString Titulo;
        int Respuesta = 0;
        QString Texto2 = QString(); // an initialiser, so that it may be left out
        /// What others do while the box stands open.
        std::function<void()> Entretanto = {};
    };
    ~MensajeDePrueba() override
    {
        for (const Esperado &falta : m_esperados)
            ADD_FAILURE() << "message never shown: " << falta.Texto.toStdString();
    }
    void espera(const Esperado &mensaje) { m_esperados.push_back(mensaje); }
    [[nodiscard]] bool pendientes() const { return !m_esperados.empty(); }

    int Mensajes(const TMensaje &mensaje) override
    {
        return responde(mensaje.Texto, mensaje.Texto2, mensaje.Titulo);
    }
    int Mensaje_SiNo(const QString &pregunta, const QString &explicacion, const QString &titulo) override
    {
        return responde(pregunta, explicacion, titulo);
    }
    int Mensaje_NoSi(const QString &pregunta, const QString &explicacion, const QString &titulo) override
    {
        return responde(pregunta, explicacion, titulo);
    }
    void Mensaje_Error(const QString &texto, const QString &titulo) override { responde(texto, {}, titulo); }

private:
    int responde(const QString &texto, const QString &texto2, const QString &titulo)
    {
        if (m_esperados.empty()) {
            ADD_FAILURE() << "unexpected message: " << texto.toStdString() << " | " << texto2.toStdString()
                          << " | " << titulo.toStdString();
            return 0;
        }
        const Esperado esperado = m_esperados.front();
        m_esperados.pop_front();
        EXPECT_EQ(texto, esperado.Texto);
        EXPECT_EQ(texto2, esperado.Texto2);
        EXPECT_EQ(titulo, esperado.Titulo);
        if (esperado.Entretanto)
            esperado.Entretanto();
        return esperado.Respuesta;
    }
    std::deque<Esperado> m_esperados;
};

class RutDePrueba : public IRut
{
public:
    [[nodiscard]] QString AliasNotario(int notario) override
    {
        return QStringLiteral("NOTARIO%1").arg(notario);
    }
    bool PreguntaFecha(QDate &fecha, const QString &indicacion, const QString &titulo) override
    {
        EXPECT_EQ(indicacion, "Fecha de la agenda");
        EXPECT_EQ(titulo, "Agenda del día:");
        FechaOfrecida = fecha;
        if (Entretanto)
            Entretanto();
        if (FechaElegida.isValid())
            fecha = FechaElegida;
        return FechaElegida.isValid();
    }
    bool PreguntaOficial(QString &nombre) override
    {
        nombre = OficialElegido;
        return !OficialElegido.isNull();
    }
    void Visualizador(report::Report &informe) override
    {
        if (EnVisualizador)
            EnVisualizador(informe);
        else
            ADD_FAILURE() << "unexpected preview";
    }
    QDate FechaOfrecida;
    QDate FechaElegida;               ///< invalid: the user cancels
    std::function<void()> Entretanto; ///< what others do while the date is asked for
    QString OficialElegido;           ///< null: the user cancels
    std::function<void(report::Report &)> EnVisualizador;
};

/// Marks focus by a property, so that a test can see it.
class RvariasDePrueba : public IRvarias
{
public:
    [[nodiscard]] bool EsBoton(const QWidget *control) const override { return esBoton && esBoton(control); }
    void TomaFocoControl(QWidget &control) override { conFoco = &control; }
    void DejaFocoControl(QWidget &control) override
    {
        if (conFoco == &control)
            conFoco = nullptr;
    }
    std::function<bool(const QWidget *)> esBoton;
    QWidget *conFoco = nullptr;
};

class ConfigDePrueba : public TConfig
{
public:
    [[nodiscard]] int GetnCuantos() const override { return Cuantos; }
    [[nodiscard]] QString GetAliasZentra() const override { return QStringLiteral("ZENTRA"); }
    [[nodiscard]] QString GetNombre1() const override { return QStringLiteral("Íñigo Peña"); }
    [[nodiscard]] QString GetDon() const override { return QStringLiteral("Don"); }
    [[nodiscard]] QStringList GetNotarios() const override
    {
        return {"Ana Núñez",   "Benito Ruiz", "Carmen Güell", "Diego Saá",
                "Elena Oñate", "Félix Soto",  "Gema Polo"};
    }
    [[nodiscard]] QString GetPath() const override { return Carpeta; }
    [[nodiscard]] QDate GetAgenda_FechaInicio() const override { return FechaInicio; }
    void SetAgenda_FechaInicio(QDate fecha) override { FechaInicio = fecha; }
    [[nodiscard]] QString GetPrnOtros() const override { return {}; }
    [[nodiscard]] QString GetFicheroVentanas() const override { return FicheroVentanas; }

    int Cuantos = 3;
    QString Carpeta;
    QString FicheroVentanas; ///< empty: windows remember nothing
    QDate FechaInicio;
};

class RelojDePrueba : public IReloj
{
public:
    [[nodiscard]] QDate Hoy() const override { return Dia; }
    QDate Dia{2026, 11, 20};
};

} // namespace support
