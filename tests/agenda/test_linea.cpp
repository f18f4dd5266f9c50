#include "agenda/LineaAgenda.h"

#include "agenda/AgendaNDM.h"
#include "agenda/AgendaZenDM.h"
#include "dataset/MemTable.h"

#include <gtest/gtest.h>

namespace
{

const QDate Lunes{2026, 11, 16};

TLineaAgenda LineaLlena()
{
    TLineaAgenda linea = TLineaAgenda::Nueva(Lunes, "10:00");
    linea.Concepto = "Firma";
    linea.CodCliente = 12.75;
    linea.Interesado = "MARÍA NÚÑEZ";
    linea.Oficial = "Rosa";
    linea.Salida = EstaFuera;
    linea.Aviso = "S";
    return linea;
}

constexpr std::array Todos{TCampoLinea::fecha,      TCampoLinea::hora,       TCampoLinea::concepto,
                           TCampoLinea::codCliente, TCampoLinea::interesado, TCampoLinea::oficial,
                           TCampoLinea::salida,     TCampoLinea::aviso};

TEST(LineaAgenda, EveryFieldComesBackOnEveryWay)
{
    dataset::MemTable tabla;
    tabla.create(CamposAgendaN());
    const TLineaAgenda llena = LineaLlena();
    tabla.append();
    llena.Escribe(tabla, Todos);
    tabla.post();
    const TLineaAgenda leidas[] = {TLineaAgenda::Actual(tabla), TLineaAgenda::DeFila(tabla, 0),
                                   TLineaAgenda::DeVista(tabla, tabla.seen())};
    for (const TLineaAgenda &leida : leidas) {
        for (const TCampoLinea campo : Todos)
            EXPECT_TRUE(leida.DiceLoMismo(llena, std::array{campo})) << NombreDe(campo).toStdString();
        EXPECT_EQ(leida.Registro(), tabla.bookmark());
    }
    EXPECT_EQ(leidas[0].Codigo(), 12);
    EXPECT_EQ(leidas[0].Texto(TCampoLinea::fecha), "16/11/2026");
    // Each field in its own place, as the table names it.
    const std::pair<const char *, const char *> escritos[] = {
        {"FECHA", "16/11/2026"}, {"HORA", "10:00"},   {"CONCEPTO", "Firma"},
        {"CODCLIENTE", "12.75"}, {"OFICIAL", "Rosa"}, {"INTERESADO", "MARÍA NÚÑEZ"},
        {"SALIDA", "S"},         {"AVISO", "S"}};
    for (const auto &[campo, texto] : escritos)
        EXPECT_EQ(tabla.field(QString(campo)).asText(), texto) << campo;
}

TEST(LineaAgenda, WhatATableOrALineLacksIsBlank)
{
    dataset::MemTable unica;
    unica.create(CamposAgenda());
    unica.append();
    LineaLlena().Escribe(unica, CamposDeUnica);
    unica.post();
    TLineaAgenda leida = TLineaAgenda::Actual(unica);
    EXPECT_EQ(leida.CodCliente, std::nullopt);
    EXPECT_EQ(leida.Aviso, "");
    EXPECT_TRUE(leida.DiceLoMismo(LineaLlena(), CamposDeUnica));
    EXPECT_EQ(TLineaAgenda::DeFila(unica, 1).Registro(), 0U);

    dataset::MemTable tabla;
    tabla.create(CamposAgendaN());
    EXPECT_FALSE(TLineaAgenda::Actual(tabla).Fecha.isValid());
    InsertaLinea(tabla, Lunes, "09:00");
    leida = TLineaAgenda::Actual(tabla);
    EXPECT_EQ(leida.CodCliente, std::nullopt); // no client is not client 0
    EXPECT_EQ(leida.Salida + leida.Aviso, "NN");
    EXPECT_EQ(leida.Registro(), 0U);
}

} // namespace
