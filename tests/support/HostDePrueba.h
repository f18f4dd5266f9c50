#pragma once

#include "agenda/host/Servicios.h"

#include <gtest/gtest.h>

#include <QtCore/QList>

#include <deque>
#include <functional>

namespace support
{

/// What kind of box a message is.
enum class TCaja {
    porSuTexto,    ///< a text that begins with "¿" asks, with yes as the default; any other only tells
    aviso,         ///< Mensajes with one button
    pregunta,      ///< Mensajes, yes is the default
    preguntaGrave, ///< Mensajes, no is the default
    siNo,          ///< Mensaje_SiNo, yes is the default
    noSi,          ///< Mensaje_NoSi, no is the default
    error,         ///< Mensaje_Error
};

/// Message boxes that answer by a script. A message that was not announced, one of another kind, icon or
/// default button, and one that never came, fails the test.
class MensajeDePrueba : public IMensaje
{
public:
    struct Esperado {
        QString Texto; ///< whole text, or the question of a Mensaje_SiNo
        QString Titulo;
        int Respuesta = 0;
        QString Texto2 = QString(); // an initialiser, so that it may be left out
        TCaja Caja = TCaja::porSuTexto;
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
        TCaja caja = TCaja::aviso;
        if (mensaje.Clase != TClaseMensaje::aviso)
            caja = mensaje.Clase == TClaseMensaje::pregunta ? TCaja::pregunta : TCaja::preguntaGrave;
        EXPECT_EQ(mensaje.ColorFondo, clBtnFace);
        EXPECT_EQ(mensaje.ColorTexto, clBtnText);
        EXPECT_FALSE(mensaje.Bandera);
        return responde(mensaje.Texto, mensaje.Texto2, mensaje.Titulo, caja, mensaje.Icono);
    }
    int Mensaje_SiNo(const QString &pregunta, const QString &explicacion, const QString &titulo) override
    {
        return responde(pregunta, explicacion, titulo, TCaja::siNo, TIconoMensaje::pregunta);
    }
    int Mensaje_NoSi(const QString &pregunta, const QString &explicacion, const QString &titulo) override
    {
        return responde(pregunta, explicacion, titulo, TCaja::noSi, TIconoMensaje::pregunta);
    }
    void Mensaje_Error(const QString &texto, const QString &titulo) override
    {
        responde(texto, {}, titulo, TCaja::error, TIconoMensaje::error);
    }

private:
    int responde(const QString &texto, const QString &texto2, const QString &titulo, TCaja caja,
                 TIconoMensaje icono)
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
        miraLaCaja(texto, caja, esperado.Caja, icono);
        if (esperado.Entretanto)
            esperado.Entretanto();
        return esperado.Respuesta;
    }
    static void miraLaCaja(const QString &texto, TCaja caja, TCaja esperada, TIconoMensaje icono)
    {
        const bool avisa = caja == TCaja::aviso || caja == TCaja::error;
        if (esperada != TCaja::porSuTexto)
            EXPECT_EQ(caja, esperada) << texto.toStdString();
        else if (texto.startsWith(u'¿'))
            EXPECT_TRUE(caja == TCaja::pregunta || caja == TCaja::siNo) << texto.toStdString();
        else
            EXPECT_TRUE(avisa) << texto.toStdString();
        if (avisa)
            EXPECT_TRUE(icono == TIconoMensaje::advertencia || icono == TIconoMensaje::error ||
                        icono == TIconoMensaje::informacion)
                << texto.toStdString();
        else
            EXPECT_EQ(icono, TIconoMensaje::pregunta) << texto.toStdString();
    }
    std::deque<Esperado> m_esperados;
};

/// Boxes that are read, as many as come; a question is answered with yes.
class MensajesApuntados : public IMensaje
{
public:
    int Mensajes(const TMensaje &mensaje) override { return Apunta(mensaje.Texto); }
    int Mensaje_SiNo(const QString &texto, const QString &, const QString &) override
    {
        return Apunta(texto);
    }
    int Mensaje_NoSi(const QString &texto, const QString &, const QString &) override
    {
        return Apunta(texto);
    }
    void Mensaje_Error(const QString &texto, const QString &) override { Apunta(texto); }
    QStringList Textos;
    std::function<void()> EnPregunta; ///< what happens while a question stands open; none: nothing

private:
    int Apunta(const QString &texto)
    {
        if (texto.startsWith(u'¿')) {
            if (EnPregunta)
                EnPregunta();
            return RespuestaSi;
        }
        Textos << texto;
        return 0;
    }
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
    [[nodiscard]] QString GetAliasZentra() const override
    {
        if (EnAliasZentra)
            EnAliasZentra();
        return QStringLiteral("ZENTRA");
    }
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
    [[nodiscard]] QString GetPrnOtros() const override { return PrnOtros; }
    [[nodiscard]] QString GetFicheroVentanas() const override { return FicheroVentanas; }

    int Cuantos = 3;
    std::function<void()> EnAliasZentra; ///< whenever a setting of VA_COMUN is about to be read
    QString Carpeta;
    QString PrnOtros;        ///< the system's default printer when empty
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
