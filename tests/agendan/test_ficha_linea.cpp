// The card and the one line that it shows: as others have changed it since, and of another day.

#include "tests/agendan/Ficha.h"

#include <QtWidgets/QLabel>

namespace
{

using support::FichaTest;
using support::Lunes;
using support::Martes;

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

} // namespace
