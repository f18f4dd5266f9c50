// The appointment card: states, keys, mirrors and party.

#include "tests/agendan/Ficha.h"

#include <QtCore/QLoggingCategory>
#include <QtGui/QAccessible>
#include <QtGui/QClipboard>
#include <QtWidgets/QCalendarWidget>
#include <QtWidgets/QLabel>

namespace
{

using support::FichaTest;
using support::Lunes;
using support::Martes;
using State = dataset::DataSet::State;

const QString Cancelar = "¿Desea cancelar la operación?";

class CitaTest : public FichaTest
{
protected:
    CitaTest()
    {
        linea(Lunes, "09:00", "Firma");
        linea(Lunes, "10:00", "Poder");
    }
};

TEST_F(CitaTest, OpensForWhatItIsAskedFor)
{
    enFicha(TOperacion::ver, [&] {
        EXPECT_FALSE(editando());
        EXPECT_EQ(ficha->windowTitle(), "Ficha de Citas");
        EXPECT_EQ(texto("MEFecha"), "16/11/2026");
        EXPECT_EQ(texto("MEHora"), "09:00");
        EXPECT_EQ(control<QPlainTextEdit>("DBMConcepto").toPlainText(), "Firma");
        EXPECT_EQ(control<QComboBox>("DBCBSalida").currentText(), "N");
        const auto &oficiales = control<QComboBox>("DBCBOficial");
        EXPECT_EQ(oficiales.count(), 3) << "neither sorted nor rid of doubles";
        EXPECT_EQ(oficiales.itemText(1), "Julián Cañas de la Serna");
        EXPECT_EQ(conFoco(), "BModificar");
        EXPECT_EQ(control<QLabel>("LExplica").text(), "Modifica los datos del expediente");
    });
    enFicha(TOperacion::modificar, [&] {
        EXPECT_TRUE(editando());
        EXPECT_EQ(tabla().state(), State::edit);
        EXPECT_EQ(conFoco(), "MEFecha");
        EXPECT_TRUE(control("MEHoraFin").isVisible());
    });
    goConfAgendaN->SetIncrementoMin(15);
    enFicha(TOperacion::nuevo, [&] {
        EXPECT_TRUE(editando());
        EXPECT_EQ(tabla().state(), State::insert);
        EXPECT_EQ(texto("MEHora"), "09:15");
        EXPECT_EQ(texto("MEFecha"), "16/11/2026");
        EXPECT_EQ(conFoco(), "MEFecha");
    });
    oficina.Mensaje.espera({"¿Desea borrar la cita de las 09:00 de la base de datos?", " ATENCIÓN", 1});
    enFicha(TOperacion::borrar, [&] {
        EXPECT_FALSE(editando());
        EXPECT_EQ(texto("MEHora"), "10:00") << "the line behind it is shown";
    });
    EXPECT_EQ(dia(Lunes), QStringList{"10:00 Poder"});
    EXPECT_EQ(dia(Martes), QStringList());
}

TEST_F(CitaTest, DeletingFromADayWithoutLinesSaysSo)
{
    motor().RangoPorFecha(Martes);
    enLunes = false;
    oficina.Mensaje.espera({"No hay citas introducidos para borrar", " ATENCIÓN", 0, "Inserte primero una."});
    enFicha(TOperacion::borrar, [&] { EXPECT_FALSE(editando()); });
    oficina.Mensaje.espera(
        {"No hay AgendaN introducidos que modificar", " ATENCIÓN", 0, "Inserte primero un AgendaN."});
    enFicha(TOperacion::modificar, [&] { EXPECT_FALSE(editando()); });
}

TEST_F(CitaTest, AReadOnlyTableIsOnlyShown)
{
    dataset::DbfTable solo(oficina.Aliases);
    solo.setDatabaseName("NOTARIO1");
    PreparaTablaAgendaN(solo);
    solo.setOpenReadOnly(true);
    solo.open();
    tablas[0] = &solo;
    enFicha(TOperacion::nuevo, [&] {
        for (const char *boton : {"BNuevo", "BModificar", "BBorrar", "BAceptar"})
            EXPECT_FALSE(control(boton).isEnabled()) << boton;
        EXPECT_EQ(conFoco(), "BSalir");
        for (const Qt::Key key : {Qt::Key_Insert, Qt::Key_Delete})
            tecla(key);
        EXPECT_EQ(solo.state(), State::browse);
        EXPECT_EQ(texto("MEHora"), "09:00");
    });
}

TEST_F(CitaTest, WhatIsTypedReachesTheLine)
{
    enFicha(TOperacion::nuevo, [&] {
        teclea("17/11/2026");
        tecla(Qt::Key_Return);
        teclea("11:30");
        tecla(Qt::Key_Return);
        EXPECT_EQ(conFoco(), "MEHoraFin");
        tecla(Qt::Key_Return);
        EXPECT_EQ(conFoco(), "DBCBOficial");
        teclea("inés peña");
        tecla(Qt::Key_Return);
        EXPECT_EQ(conFoco(), "EInteresado");
        teclea("mar");
        tecla(Qt::Key_Return);
        EXPECT_EQ(conFoco(), "DBMConcepto");
        teclea("Acta de Ávila");
        tecla(Qt::Key_Return);
        EXPECT_EQ(conFoco(), "BAceptar");
        tecla(Qt::Key_Space);
        EXPECT_FALSE(editando());
        EXPECT_EQ(conFoco(), "BModificar");
    });
    const auto agenda = oficina.agenda(1);
    agenda->last();
    const std::pair<const char16_t *, QString> campos[] = {
        {u"FECHA", "17/11/2026"},       {u"HORA", "11:30"},  {u"OFICIAL", "INÉS PEÑA"},
        {u"CONCEPTO", "Acta de Ávila"}, {u"SALIDA", "N"},    {u"AVISO", "N"},
        {u"INTERESADO", "MARÍA NÚÑEZ"}, {u"CODCLIENTE", "7"}};
    for (const auto &[campo, esperado] : campos)
        EXPECT_EQ(agenda->field(campo).asText(), esperado);
    EXPECT_EQ(tabla().field(u"FECHA").asDate(), Lunes) << "after the card the shown day's line is current";
}

TEST_F(CitaTest, TheClerkIsWrittenInCapitalsAndWithinTheField)
{
    enFicha(TOperacion::modificar, [&] {
        auto &oficial = control<QComboBox>("DBCBOficial");
        oficial.setFocus();
        teclea("ro");
        EXPECT_EQ(oficial.currentText(), "RO") << "nothing is added to what was typed";
        EXPECT_EQ(tabla().field(u"OFICIAL").asText(), "RO");
        escribe("DBCBOficial", " ");
        tecla(Qt::Key_Backspace);
        tecla(Qt::Key_Down);
        EXPECT_EQ(tabla().field(u"OFICIAL").asText(), "ROSA GÜEMES");
        escribe("DBCBOficial", "pilar €ñ☃ abcdefghijkl");
        EXPECT_EQ(tabla().field(u"OFICIAL").asText(), "PILAR €Ñ ABCDEFG");
        escribe("DBMConcepto", "a☃b");
        EXPECT_EQ(tabla().field(u"CONCEPTO").asText(), "ab");
        EXPECT_EQ(control<QPlainTextEdit>("DBMConcepto").toPlainText(), "ab");
    });
}

TEST_F(CitaTest, TheDateIsCheckedOnLeaving)
{
    const struct {
        const char *tecleado;
        const char *fecha;
        bool mala;
    } casos[] = {
        {"17112026", "17/11/2026", false},  {"5/1/27", "05/01/2027", false},
        {"31/02/2026", "16/11/2026", true}, {"        ", "16/11/2026", false},
        {"17/11/202", "16/11/2026", true},
    };
    for (const auto &caso : casos) {
        SCOPED_TRACE(caso.tecleado);
        enFicha(TOperacion::modificar, [&] {
            escribe("MEFecha", QString(caso.tecleado).leftJustified(10));
            if (caso.mala)
                oficina.Mensaje.espera({"La fecha introducida no es correcta", " ATENCIÓN:"});
            tecla(Qt::Key_Tab);
            EXPECT_EQ(tabla().field(u"FECHA").asText(), caso.fecha);
            EXPECT_EQ(conFoco(), caso.mala ? "MEFecha" : "MEHora");
            if (caso.mala) {
                EXPECT_EQ(texto("MEFecha"), caso.fecha);
            }
        });
    }
}

TEST_F(CitaTest, ABadDateIsNotAcceptedBehindTheClerksBack)
{
    for (const bool conRaton : {true, false}) {
        enFicha(TOperacion::modificar, [&] {
            escribe("MEFecha", "31/02/2026");
            oficina.Mensaje.espera({"La fecha introducida no es correcta", " ATENCIÓN:"});
            if (conRaton)
                pulsa("BAceptar");
            else
                tecla(Qt::Key_A, Qt::AltModifier);
            QTest::qWait(150); // a shortcut presses its button for a tenth of a second
            EXPECT_TRUE(editando());
            EXPECT_EQ(conFoco(), "MEFecha");
            EXPECT_FALSE(control<QAbstractButton>("BAceptar").isDown());
            escribe("MEFecha", "18/11/2026");
            if (conRaton)
                pulsa("BAceptar");
            else
                tecla(Qt::Key_A, Qt::AltModifier);
            EXPECT_TRUE(QTest::qWaitFor([&] { return !editando(); }));
        });
        EXPECT_EQ(dia(Lunes).size(), conRaton ? 1 : 0);
    }
    EXPECT_EQ(dia(Lunes.addDays(2)), QStringList({"09:00 Firma", "10:00 Poder"}));
}

TEST_F(CitaTest, TheTimeGoesInAsItStands)
{
    const struct {
        const char *tecleado;
        const char *hora;
    } casos[] = {{"     ", "  :"}, {"9999", "99:99"}, {" 930", " 9:30"}, {"9:30", "09:30"}, {"930 ", "93:0"}};
    for (const auto &caso : casos) {
        enFicha(TOperacion::modificar, [&] {
            escribe("MEHora", caso.tecleado);
            const QString visto = texto("MEHora");
            tecla(Qt::Key_Tab);
            EXPECT_EQ(tabla().field(u"HORA").asText(), caso.hora);
            EXPECT_EQ(texto("MEHora"), visto) << "and shows as it stands";
            const QString ayuda = control<QLabel>("LExplica").text();
            const QString hora = caso.hora;
            if (hora == "09:30")
                EXPECT_EQ(ayuda, control("MEHoraFin").statusTip());
            else if (hora == "  :")
                EXPECT_EQ(ayuda, "Sin hora, la línea no se verá en su hoja");
            else
                EXPECT_EQ(ayuda, hora.trimmed() + " no es una hora del día: la línea no se verá en su hoja");
        });
    }
}

TEST_F(CitaTest, EnterGoesOnFromTheOuting)
{
    enFicha(TOperacion::modificar, [&] {
        control("DBCBSalida").setFocus(Qt::MouseFocusReason);
        QCoreApplication::processEvents();
        tecla(Qt::Key_S);
        EXPECT_EQ(tabla().field(u"SALIDA").asText(), "S");
        tecla(Qt::Key_Return);
        EXPECT_EQ(conFoco(), "EInteresado");
    });
}

TEST_F(CitaTest, AKeyTakesThePartyOffWithItsCode)
{
    const auto partes = [this] {
        const auto agenda = oficina.agenda(1);
        agenda->first();
        return agenda->field(u"INTERESADO").asText() + '/' + agenda->field(u"CODCLIENTE").asText();
    };
    const auto acepta = [this] {
        pulsa("BAceptar");
        EXPECT_FALSE(editando());
    };
    enFicha(TOperacion::modificar, [&] {
        escribe("EInteresado", "ped");
        acepta();
    });
    ASSERT_EQ(partes(), "PEDRO SÁENZ/8");
    // An emptied field is no party that could be taken: it says so, and shows the one that stays.
    enFicha(TOperacion::modificar, [&] {
        escribe("EInteresado", "");
        tecla(Qt::Key_Backspace);
        tecla(Qt::Key_Tab);
        EXPECT_EQ(texto("EInteresado"), "PEDRO SÁENZ");
        EXPECT_EQ(control<QLabel>("LExplica").text(),
                  "El interesado no cambia: Ctrl+Supr en su casilla lo quita");
        acepta();
    });
    EXPECT_EQ(partes(), "PEDRO SÁENZ/8");
    // The same with the mouse alone, no key being let go in the field: name and code stay together.
    enFicha(TOperacion::modificar, [&] {
        auto &interesado = control<QLineEdit>("EInteresado");
        interesado.setFocus(Qt::MouseFocusReason);
        QCoreApplication::processEvents();
        interesado.selectAll();
        interesado.cut();
        acepta();
    });
    EXPECT_EQ(partes(), "PEDRO SÁENZ/8");
    enFicha(TOperacion::modificar, [&] {
        escribe("EInteresado", "nadie");
        tecla(Qt::Key_Delete, Qt::ControlModifier);
        EXPECT_EQ(texto("EInteresado"), "");
        EXPECT_EQ(control<QLabel>("LExplica").text(), "La cita queda sin interesado");
        acepta();
    });
    EXPECT_EQ(partes(), "/");
}

TEST_F(CitaTest, EscCancelsFirstAndClosesNext)
{
    enFicha(TOperacion::modificar, [&] {
        escribe("DBMConcepto", "Otra cosa");
        escribe("MEFecha", "20/11/2026");
        oficina.Mensaje.espera({Cancelar, " ATENCIÓN:", 0});
        tecla(Qt::Key_Escape);
        EXPECT_TRUE(editando());
        EXPECT_EQ(conFoco(), "MEFecha") << "back to what was being typed";
        EXPECT_EQ(texto("MEFecha"), "20/11/2026");
        EXPECT_EQ(tabla().field(u"FECHA").asDate(), Lunes) << "on the way to cancel nothing is checked";
        pulsa("BAceptar");
        EXPECT_EQ(dia(Martes.addDays(3)), QStringList{"09:00 Otra cosa"});

        tecla(Qt::Key_Space);
        ASSERT_TRUE(editando());
        escribe("MEFecha", "31/02/2026");
        oficina.Mensaje.espera({Cancelar, " ATENCIÓN:", 1});
        pulsa("BCancelar");
        EXPECT_FALSE(editando());
        EXPECT_EQ(tabla().state(), State::browse);
        EXPECT_EQ(texto("MEFecha"), "20/11/2026") << "the record's date is shown again";
        EXPECT_EQ(conFoco(), "BModificar");
        tecla(Qt::Key_Escape);
        EXPECT_FALSE(ficha->isVisible());
    });
}

TEST_F(CitaTest, WhatWasLeftForCancelIsLookedAtWhenTheClerkGoesOnInstead)
{
    enFicha(TOperacion::modificar, [&] {
        escribe("MEFecha", "20/11/2026");
        control("BCancelar").setFocus();
        EXPECT_EQ(tabla().field(u"FECHA").asDate(), Lunes);
        pulsa("BAceptar");
        EXPECT_EQ(dia(Martes.addDays(3)), QStringList{"09:00 Firma"});
    });
}

TEST_F(CitaTest, ClosedByItsFrameWhileEditingItAsks)
{
    enFicha(TOperacion::modificar, [&] {
        escribe("DBMConcepto", "Otra cosa");
        oficina.Mensaje.espera({Cancelar, " ATENCIÓN:", 0});
        ficha->close();
        EXPECT_TRUE(ficha->isVisible());
        EXPECT_EQ(tabla().field(u"CONCEPTO").asText(), "Otra cosa");
        oficina.Mensaje.espera({Cancelar, " ATENCIÓN:", 1});
        ficha->close();
        EXPECT_FALSE(ficha->isVisible());
        EXPECT_EQ(tabla().state(), State::browse);
    });
    EXPECT_EQ(dia(Lunes), QStringList({"09:00 Firma", "10:00 Poder"}));
}

TEST_F(CitaTest, InATextSpaceInsertAndDeleteBelongToTheText)
{
    enFicha(TOperacion::modificar, [&] {
        escribe("DBMConcepto", "a b");
        tecla(Qt::Key_Insert);
        tecla(Qt::Key_Home);
        tecla(Qt::Key_Delete);
        EXPECT_EQ(tabla().field(u"CONCEPTO").asText(), " b");
        escribe("DBCBOficial", "x y");
        tecla(Qt::Key_Home);
        tecla(Qt::Key_Delete);
        EXPECT_EQ(tabla().field(u"OFICIAL").asText(), " Y");
        EXPECT_TRUE(editando());
        escribe("DBMConcepto", "uno");
        tecla(Qt::Key_Return);
        EXPECT_EQ(tabla().field(u"CONCEPTO").asText(), "uno") << "Enter moves on and leaves no mark";
        QGuiApplication::clipboard()->setText("dos\ntres");
        control("DBMConcepto").setFocus();
        tecla(Qt::Key_A, Qt::ControlModifier);
        tecla(Qt::Key_V, Qt::ControlModifier);
        EXPECT_EQ(tabla().field(u"CONCEPTO").asText(), "dos tres") << "a field has no line ends";
    });
}

TEST_F(CitaTest, KeysWhileBrowsing)
{
    enFicha(TOperacion::ver, [&] {
        control("BSalir").setFocus();
        oficina.Mensaje.espera({"¿Desea borrar la cita de las 09:00 de la base de datos?", " ATENCIÓN", 0});
        tecla(Qt::Key_Delete);
        EXPECT_FALSE(editando());
        tecla(Qt::Key_Return);
        EXPECT_EQ(conFoco(), "BModificar") << "disabled controls are stepped over";
        tecla(Qt::Key_Space);
        EXPECT_TRUE(editando());
        EXPECT_EQ(texto("MEFecha"), "16/11/2026") << "the blank is not typed into the date";
        oficina.Mensaje.espera({Cancelar, " ATENCIÓN:", 1});
        tecla(Qt::Key_Escape);
        tecla(Qt::Key_Insert);
        EXPECT_EQ(tabla().state(), State::insert);
        oficina.Mensaje.espera({Cancelar, " ATENCIÓN:", 1});
        tecla(Qt::Key_Escape);
        control("BSalir").setFocus();
        tecla(Qt::Key_Space);
        EXPECT_FALSE(ficha->isVisible()) << "on another button a blank presses that button";
    });
    EXPECT_EQ(dia(Lunes).size(), 2);
}

TEST_F(CitaTest, ThePartyIsLookedUpInTheClientList)
{
    enFicha(TOperacion::modificar, [&] {
        escribe("EInteresado", "ped");
        EXPECT_EQ(texto("EInteresado"), "PED");
        EXPECT_EQ(tabla().field(u"CODCLIENTE").asInteger(), 8);
        EXPECT_EQ(tabla().field(u"INTERESADO").asText(), "");
        tecla(Qt::Key_Tab);
        EXPECT_EQ(clientes.llamadas, QStringList{"sale PED 1"});
        EXPECT_EQ(tabla().field(u"INTERESADO").asText(), "PEDRO SÁENZ");
        EXPECT_EQ(texto("EInteresado"), "PEDRO SÁENZ");
        EXPECT_EQ(control("EInteresado").property("Tag").toInt(), 8);

        // Not in the list: the name in the line stays, and the code with it.
        clientes.llamadas.clear();
        escribe("EInteresado", "marx");
        EXPECT_EQ(tabla().field(u"CODCLIENTE").asInteger(), 7) << "on the way it was Mar...";
        tecla(Qt::Key_Tab);
        EXPECT_EQ(clientes.llamadas, QStringList{"sale MARX 1"});
        EXPECT_EQ(tabla().field(u"INTERESADO").asText(), "PEDRO SÁENZ");
        EXPECT_EQ(tabla().field(u"CODCLIENTE").asInteger(), 8);
        EXPECT_EQ(control<QLabel>("LExplica").text(),
                  "«MARX» no está en la lista de clientes: el interesado no cambia");
        EXPECT_EQ(control("EInteresado").property("Tag").toInt(), 8) << "the code of the line's party";

        // With a client the button shows it, without one it lets choose.
        clientes.llamadas.clear();
        pulsa("BInteresado");
        EXPECT_EQ(clientes.llamadas, QStringList({"ficha 8", "fin"}));
        tabla().field(u"CODCLIENTE").setInteger(0);
        clientes.llamadas.clear();
        control("EInteresado").setFocus();
        tecla(Qt::Key_Down);
        EXPECT_EQ(clientes.llamadas, QStringList({"elige Lista de clientes|Ficha de Citas", "fin"}));
        EXPECT_EQ(tabla().field(u"INTERESADO").asText(), "PEDRO SÁENZ");
        clientes.elegido = 7;
        pulsa("BInteresado");
        EXPECT_EQ(texto("EInteresado"), "MARÍA NÚÑEZ");
        EXPECT_EQ(tabla().field(u"CODCLIENTE").asInteger(), 7);

        escribe("EInteresado", "nadie");
        pulsa("BAceptar");
        EXPECT_FALSE(editando());
        EXPECT_EQ(control<QLabel>("LExplica").text(),
                  "«NADIE» no está en la lista de clientes: el interesado no cambia");
        control("BSalir").setFocus();
        EXPECT_EQ(control<QLabel>("LExplica").text(), "Cierra esta ventana");
    });
}

TEST_F(CitaTest, FocusIsMarkedAndExplained)
{
    enFicha(TOperacion::modificar, [&] {
        for (const char *nombre :
             {"MEFecha", "MEHora", "MEHoraFin", "DBCBOficial", "EInteresado", "DBMConcepto"}) {
            EXPECT_EQ(conFoco(), nombre);
            EXPECT_EQ(oficina.Rvarias.conFoco, &control(nombre));
            EXPECT_EQ(control<QLabel>("LExplica").text(), control(nombre).statusTip());
            tecla(Qt::Key_Tab);
        }
        const std::pair<const char *, const char *> pistas[] = {
            {"MEFecha", "Seleccione la fecha de alta del expediente"},
            {"MEHora", "Seleccione la hora de alta del expediente"},
            {"MEHoraFin", "Seleccione la hora de fin del alta del expediente"},
            {"EInteresado",
             "Persona de contacto/interesado de la cita.  Pulse flecha abajo para ver la lista de clientes"},
            {"BInteresado", "Pulse el botón para ver la lista de clientes"},
            {"BModificar", "Modifica los datos del expediente"},
            {"BBorrar", "Elimina el expediente de la base de datos"},
            {"BNuevo", "Crea un nuevo expediente"},
            {"BAceptar", "Acepta los datos introducidos"},
            {"BCancelar", "Descarta los datos introducidos"},
            {"BSalir", "Cierra esta ventana"},
        };
        for (const auto &[nombre, pista] : pistas)
            EXPECT_EQ(control(nombre).statusTip(), pista) << nombre;
        EXPECT_EQ(oficina.Rvarias.conFoco, nullptr);
        EXPECT_EQ(conFoco(), "BAceptar");
        for (const QWidget *const uno : ficha->findChildren<QWidget *>()) {
            if (uno->isVisible() && uno->focusPolicy() != Qt::NoFocus && !uno->focusProxy() &&
                !uno->objectName().startsWith("qt_")) {
                EXPECT_FALSE(QAccessible::queryAccessibleInterface(const_cast<QWidget *>(uno))
                                 ->text(QAccessible::Name)
                                 .isEmpty())
                    << uno->objectName().toStdString();
            }
        }
    });
}

TEST_F(CitaTest, TheCalendarFillsTheDate)
{
    enFicha(TOperacion::modificar, [&] {
        QTimer::singleShot(0, ficha, [] {
            QWidget *const dias = QApplication::focusWidget();
            ASSERT_TRUE(dias && qobject_cast<QCalendarWidget *>(dias->parentWidget()));
            QTest::keyClick(dias, Qt::Key_Right);
            QTest::keyClick(dias, Qt::Key_Return);
        });
        tecla(Qt::Key_F4);
        EXPECT_TRUE(QTest::qWaitFor([&] { return texto("MEFecha") == "17/11/2026"; }));
        EXPECT_TRUE(QTest::qWaitFor([&] { return conFoco() == "MEFecha"; }));
        EXPECT_EQ(tabla().field(u"FECHA").asDate(), Lunes) << "it counts when the field is left";
        tecla(Qt::Key_Tab);
        EXPECT_EQ(tabla().field(u"FECHA").asDate(), Martes);
    });
}

// Other workstations

TEST_F(CitaTest, ALineInUseElsewhereIsSaid)
{
    const auto otro = oficina.agenda(1);
    otro->edit();
    oficina.Mensaje.espera(
        {"No se ha podido modificar la cita de las 09:00.\nOtro puesto está usando la línea", " ATENCIÓN:"});
    enFicha(TOperacion::modificar, [&] {
        EXPECT_FALSE(editando());
        otro->cancel();
        tecla(Qt::Key_Space);
        EXPECT_TRUE(editando());
    });
}

TEST_F(CitaTest, WithoutTheListOfClerksANameCanStillBeTyped)
{
    std::filesystem::remove(oficina.carpetaDe("ZENTRA") / "EMPLEADO.DBF");
    for (const TOperacion operacion : {TOperacion::ver, TOperacion::modificar, TOperacion::nuevo}) {
        enFicha(operacion, [&] {
            EXPECT_TRUE(
                control<QLabel>("LExplica").text().startsWith("No se ha podido leer la lista de oficiales. "))
                << control<QLabel>("LExplica").text().toStdString();
            EXPECT_EQ(control<QComboBox>("DBCBOficial").count(), 0);
        });
    }
}

} // namespace
