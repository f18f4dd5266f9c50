// The card and the one line that it shows: as others have changed it since, of another day, and where it
// cannot be written.

#include "tests/agendan/Ficha.h"

#include <QtWidgets/QLabel>

namespace
{

using support::FichaTest;
using support::Lunes;
using support::Martes;
using State = dataset::DataSet::State;

// What is typed goes over the line as the card shows it, which may be another than the grid showed.
TEST_F(FichaTest, ALineThatOthersHaveChangedSinceIsSaidToBeAnother)
{
    const QString aviso = "Otro puesto ha cambiado esta línea: se ve como está ahora";
    const struct {
        const char16_t *campo; ///< that they write; null: none
        const char *valor;
        bool seLee; ///< the table is read again before the change begins
    } casos[] = {{nullptr, "", false},        {nullptr, "", true},         {u"CONCEPTO", "Boda", false},
                 {u"CONCEPTO", "Boda", true}, {u"OFICIAL", "ROSA", false}, {u"AVISO", "S", true},
                 {u"CODCLIENTE", "7", false}};
    for (const auto &caso : casos) {
        const auto otro = oficina.agenda(1);
        while (!otro->isEmpty())
            otro->remove();
        linea(Lunes, "09:00", "Firma");
        motor().TablaActual().refresh();
        enFicha(TOperacion::ver, [&] {
            otro->refresh();
            otro->first();
            if (caso.campo) {
                otro->edit();
                otro->field(caso.campo).setText(caso.valor);
                otro->post();
            }
            if (caso.seLee)
                tabla().refresh();
            tecla(Qt::Key_Space);
            ASSERT_TRUE(editando());
            const QString ayuda = control<QLabel>("LExplica").text();
            EXPECT_EQ(ayuda, caso.campo ? aviso : control("MEFecha").statusTip());
            EXPECT_EQ(tabla().field(u"CONCEPTO").asText(), otro->field(u"CONCEPTO").asText());
            // Once told, it is what the clerk has seen; so is what he writes himself.
            for (const bool escribe : {false, true}) {
                if (escribe)
                    FichaTest::escribe("DBMConcepto", "Mía");
                else
                    oficina.Mensaje.espera({"¿Desea cancelar la operación?", " ATENCIÓN:", 1});
                pulsa(escribe ? "BAceptar" : "BCancelar");
                ASSERT_FALSE(editando());
                tecla(Qt::Key_Space);
                ASSERT_TRUE(editando());
                EXPECT_EQ(control<QLabel>("LExplica").text(), control("MEFecha").statusTip());
            }
        });
        EXPECT_EQ(dia(Lunes), QStringList{"09:00 Mía"});
    }
}

// The last line of the shown day has gone to another one, and the card still stands on it.
TEST_F(FichaTest, TheOnlyLineOfItsDayIsChangedAndDeletedAfterItHasGoneToAnother)
{
    linea(Lunes, "09:00", "Firma");
    enFicha(TOperacion::modificar, [&] {
        escribe("MEFecha", "17/11/2026");
        pulsa("BAceptar");
        ASSERT_FALSE(editando());
        EXPECT_TRUE(tabla().isEmpty());
        tecla(Qt::Key_Space);
        ASSERT_TRUE(editando());
        escribe("DBMConcepto", "Acta");
        pulsa("BAceptar");
        EXPECT_EQ(dia(Martes), QStringList{"09:00 Acta"});
        oficina.Mensaje.espera({"¿Desea borrar la cita de las 09:00 de la base de datos?", " ATENCIÓN", 1});
        pulsa("BBorrar");
        EXPECT_EQ(dia(Martes), QStringList());
    });
}

/// Runs an accept that fails; the message must end as given.
class FalloTest : public FichaTest
{
protected:
    FalloTest()
    {
        linea(Lunes, "09:00", "Firma");
        linea(Lunes, "10:00", "Poder");
    }
    void aceptaConFallo(const QString &causa, const QString &destino)
    {
        oficina.Mensaje.espera(
            {"No se ha podido guardar la cita de las 11:00.\n" + causa + '\n' + destino, " ATENCIÓN:"});
        pulsa("BAceptar");
        EXPECT_TRUE(editando());
        EXPECT_EQ(control<QPlainTextEdit>("DBMConcepto").toPlainText(), "Larga historia");
        EXPECT_EQ(texto("MEHora"), "11:00");
    }
    const QString sigue = "Lo que ha escrito sigue en la ficha: puede aceptarlo de nuevo.";
};

TEST_F(FalloTest, WhatCannotBeWrittenNowIsKeptAndWrittenLater)
{
    const auto otro = oficina.agenda(1);
    for (const TOperacion operacion : {TOperacion::nuevo, TOperacion::modificar}) {
        enFicha(operacion, [&] {
            escribe("MEHora", "11:00");
            escribe("DBMConcepto", "Larga historia");
            otro->beginGroup();
            aceptaConFallo("Otro puesto está escribiendo en la tabla", sigue);
            otro->dropGroup();
            pulsa("BAceptar");
            EXPECT_FALSE(editando());
        });
    }
    EXPECT_EQ(dia(Lunes), QStringList({"10:00 Poder", "11:00 Larga historia", "11:00 Larga historia"}));
}

TEST_F(FalloTest, ALineDeletedElsewhereComesBackAsANewOne)
{
    enFicha(TOperacion::modificar, [&] {
        escribe("MEHora", "11:00");
        escribe("DBMConcepto", "Larga historia");
        oficina.escribeSinBloqueo(1, nullptr, "*");
        aceptaConFallo("Otro puesto ha borrado la línea mientras tanto",
                       "Lo que ha escrito está ahora en una cita nueva: puede aceptarla.");
        EXPECT_EQ(tabla().state(), State::insert);
        pulsa("BAceptar");
        EXPECT_FALSE(editando());
    });
    EXPECT_EQ(dia(Lunes), QStringList({"10:00 Poder", "11:00 Larga historia"}));
}

TEST_F(FalloTest, ALineChangedElsewhereKeepsBothChanges)
{
    enFicha(TOperacion::modificar, [&] {
        escribe("MEHora", "11:00");
        escribe("DBMConcepto", "Larga historia");
        oficina.escribeSinBloqueo(1, "OFICIAL", "X");
        aceptaConFallo("Otro puesto ha cambiado la línea mientras tanto", sigue);
        EXPECT_EQ(tabla().field(u"OFICIAL").asText(), "X");
        pulsa("BAceptar");
        EXPECT_FALSE(editando());
    });
    EXPECT_EQ(dia(Lunes), QStringList({"10:00 Poder", "11:00 Larga historia"}));
}

// The clerk takes the party off, another program writes one with his code: none is left with the other's.
TEST_F(FalloTest, APartyAndHisCodeStayTogether)
{
    const auto otro = oficina.agenda(1);
    otro->edit();
    otro->field(u"INTERESADO").setText("Nadie");
    otro->post();
    enFicha(TOperacion::modificar, [&] {
        control("EInteresado").setFocus();
        tecla(Qt::Key_Delete, Qt::ControlModifier);
        escribe("MEHora", "11:00");
        escribe("DBMConcepto", "Larga historia");
        oficina.escribeSinBloqueo(1, "CODCLIENTE", "                   8");
        oficina.escribeSinBloqueo(1, "INTERESADO", "PEDRO");
        aceptaConFallo("Otro puesto ha cambiado la línea mientras tanto",
                       sigue + "\nEl otro puesto había escrito: PEDRO");
        pulsa("BAceptar");
        EXPECT_FALSE(editando());
    });
    otro->refresh();
    EXPECT_EQ(otro->field(u"INTERESADO").asText() + otro->field(u"CODCLIENTE").asText(), "");
}

} // namespace
