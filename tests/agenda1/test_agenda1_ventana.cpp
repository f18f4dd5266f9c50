// The window of one notary, worked with keys and clicks over a real table.

#include "agenda/LineaAgenda.h"
#include "agenda/host/Constanteszen.h"
#include "agenda/host/Servicios.h"
#include "agenda1/Agenda1.h"
#include "tests/agenda1/VentanaUnica.h"
#include "tests/support/LineaDeAyuda.h"

#include <QtGui/QAccessible>
#include <QtWidgets/QCheckBox>

namespace
{

using support::Dia;

const QString Atencion = QStringLiteral(" ATENCIÓN:");
const QString Deshacer = QStringLiteral("¿Desea deshacer los cambios?");

class UnNotarioTest : public support::VentanaUnicaTest
{
protected:
    void SetUp() override
    {
        ajustes();
        linea({Dia, "09:00", "Poder", "GARCÍA", "MARTA"});
        linea({Dia, "09:30"});
        linea({Dia.addDays(1), "10:00", "Otro día", "RUIZ", "LUIS", "S"});
    }
};

TEST_F(UnNotarioTest, ALineIsMadeByKeysAlone)
{
    enVentana([this] {
        EXPECT_EQ(ventana->windowTitle(), "Agenda del día");
        EXPECT_EQ(pieza<QLabel>("LFecha").text(), "16/11/2026");
        EXPECT_FALSE(editando());
        tecla(Qt::Key_Insert);
        EXPECT_TRUE(editando());
        EXPECT_EQ(conFoco(), "MEHora");
        EXPECT_EQ(oficina.Rvarias.conFoco, &edicion("MEHora"));
        for (const char *const parado : {"Nuevo", "Modificar", "Borrar", "Ausente", "Salida", "Anterior",
                                         "Siguiente", "ImprimirDia", "Copiar"})
            EXPECT_FALSE(accion(parado).isEnabled()) << parado;
        teclea("1015");
        tecla(Qt::Key_Return);
        EXPECT_EQ(conFoco(), "DBEConcepto");
        teclea("Donación");
        tecla(Qt::Key_Return);
        teclea("MUÑOZ");
        tecla(Qt::Key_Return);
        teclea("ÓSCAR");
        tecla(Qt::Key_Return);
        EXPECT_EQ(conFoco(), "DBCBSalida");
        tecla(Qt::Key_Space);
        EXPECT_EQ(edicion("DBEConcepto").palette().color(QPalette::Text), QColor(255, 0, 0));
        tecla(Qt::Key_Return);
        EXPECT_EQ(conFoco(), "BAceptar");
        tecla(Qt::Key_Space);
        EXPECT_FALSE(editando());
        EXPECT_EQ(conFoco(), "DBGAgenda");
        EXPECT_FALSE(accion("Pegar").isEnabled());
        EXPECT_EQ(rejilla().cellColor(rejilla().currentIndex()), QColor(255, 198, 198));
    });
    EXPECT_EQ(dia(),
              (QStringList{"09:00|Poder|GARCÍA|MARTA|N", "09:30||||N", "10:15|Donación|MUÑOZ|ÓSCAR|S"}));
}

TEST_F(UnNotarioTest, AChangeIsAcceptedOrGivenUp)
{
    enVentana([this] {
        tecla(Qt::Key_Insert, Qt::ShiftModifier);
        EXPECT_EQ(conFoco(), "DBEConcepto");
        tecla(Qt::Key_End);
        teclea(" y acta");
        oficina.Mensaje.espera({Deshacer, Atencion, 0});
        tecla(Qt::Key_Escape);
        EXPECT_TRUE(editando());
        pulsa("BAceptar");
        EXPECT_FALSE(editando());
        tecla(Qt::Key_Insert, Qt::ShiftModifier);
        teclea("perdido");
        oficina.Mensaje.espera({Deshacer, Atencion, RespuestaSi});
        ventana->close(); // the close box
        EXPECT_TRUE(ventana->isVisible());
        EXPECT_FALSE(editando());
        EXPECT_EQ(edicion("DBEConcepto").text(), "Poder y acta");
        tecla(Qt::Key_Escape);
        EXPECT_FALSE(ventana->isVisible());
    });
    EXPECT_EQ(dia().first(), "09:00|Poder y acta|GARCÍA|MARTA|N");
}

TEST_F(UnNotarioTest, AnHourIsCheckedWhenItIsLeft)
{
    const struct {
        const char *tecleado;
        const char *hora; ///< nothing: refused
    } casos[] = {{"0930", "09:30"}, {"9:5 ", "09:05"}, {"2359", "23:59"},
                 {"2400", ""},      {"0015", ""},      {"1060", ""}};
    enVentana([&] {
        for (const auto &[tecleado, hora] : casos) {
            tecla(Qt::Key_Insert, Qt::ShiftModifier);
            edicion("MEHora").setFocus();
            edicion("MEHora").selectAll();
            teclea(tecleado);
            if (!*hora)
                oficina.Mensaje.espera({"La hora no es válida", Atencion});
            tecla(Qt::Key_Return);
            EXPECT_EQ(edicion("MEHora").text(), *hora ? hora : "09:00") << tecleado;
            oficina.Mensaje.espera({Deshacer, Atencion, RespuestaSi});
            pulsa("BSalir");
        }
        // Accepted by its key, from within the field.
        tecla(Qt::Key_Insert);
        teclea("2500");
        oficina.Mensaje.espera({"La hora no es válida", Atencion});
        pieza<QPushButton>("BAceptar").click();
        EXPECT_TRUE(editando());
        teclea("1100");
        pieza<QPushButton>("BAceptar").click();
    });
    EXPECT_EQ(dia().last(), "11:00||||N");
}

TEST_F(UnNotarioTest, MarksAndCopies)
{
    enVentana([this] {
        tecla(Qt::Key_C, Qt::ControlModifier);
        tecla(Qt::Key_Down);
        tecla(Qt::Key_V, Qt::ControlModifier);
        pulsa("BSalida");
        tecla(Qt::Key_Up);
        pulsa("BAusente");
    });
    EXPECT_EQ(dia(), (QStringList{"09:00|AUSENTE|AUSENTE|AUSENTE|N", "09:30|Poder|GARCÍA|MARTA|S"}));
}

TEST_F(UnNotarioTest, DeletingIsAskedFor)
{
    enVentana([this] {
        const QString pregunta = QStringLiteral("¿Desea eliminar la anotación (S/N)?");
        oficina.Mensaje.espera({pregunta, "Atencion", 0, "Borrar una anotación", support::TCaja::siNo});
        tecla(Qt::Key_Delete);
        EXPECT_EQ(rejilla().model()->rowCount(), 2);
        oficina.Mensaje.espera(
            {pregunta, "Atencion", RespuestaSi, "Borrar una anotación", support::TCaja::siNo});
        tecla(Qt::Key_Delete);
    });
    EXPECT_EQ(dia(), QStringList{"09:30||||N"});
}

TEST_F(UnNotarioTest, DaysAreTurnedAndSheetsAsked)
{
    struct Hojas : IInformesAgenda1 {
        struct Muda : IInforme {
            void Preview() override {}
        };
        std::unique_ptr<IInforme> CreaQRAgendaZen(QObject *, QDate lunes, dataset::DataSet &semana) override
        {
            Pedidas << QStringLiteral("semana %1: %2").arg(lunes.toString("dd/MM")).arg(semana.rowCount());
            return std::make_unique<Muda>();
        }
        std::unique_ptr<IInforme> CreaQRAgendaDia(QObject *, QDate fecha, dataset::DataSet &datos) override
        {
            Pedidas << QStringLiteral("día %1: %2").arg(fecha.toString("dd/MM")).arg(datos.rowCount());
            return std::make_unique<Muda>();
        }
        std::unique_ptr<IInforme> CreaQRAgendaDia2(QObject *, QDate, dataset::DataSet &) override
        {
            return {};
        }
        QStringList Pedidas;
    } hojas;
    informes = &hojas;
    enVentana([this] {
        pulsa("BSiguiente");
        EXPECT_EQ(pieza<QLabel>("LFecha").text(), "17/11/2026");
        EXPECT_TRUE(pieza<QCheckBox>("DBCBSalida").isChecked());
        comando("ImprimirSemana");
        EXPECT_EQ(rejilla().model()->rowCount(), 1); // the day again, not the week
        comando("ImprimirDia");
        oficina.Mensaje.espera({"No hay días posteriores en la agenda", Atencion});
        pulsa("BSiguiente");
        pulsa("BAnterior");
        EXPECT_EQ(pieza<QLabel>("LFecha").text(), "16/11/2026");
        const int otras = rejilla().columnWidth(0) + rejilla().columnWidth(2) + rejilla().columnWidth(3) +
                          rejilla().columnWidth(4);
        EXPECT_EQ(rejilla().columnWidth(1), rejilla().viewport()->width() - otras - 5);
    });
    EXPECT_EQ(hojas.Pedidas, (QStringList{"semana 16/11: 2", "día 17/11: 1"}));
}

TEST_F(UnNotarioTest, WhatCannotBeWrittenIsToldAndNothingIsLost)
{
    const auto otro = tabla();
    otro->locate({{"FECHA", Dia}}, dataset::SearchMode::nearest);
    enVentana([&] {
        otro->edit();
        oficina.Mensaje.espera({"Problemas en la actualización de la cita", Atencion});
        tecla(Qt::Key_Insert, Qt::ShiftModifier);
        EXPECT_FALSE(editando());
        oficina.Mensaje.espera({"Problemas al modificar la cita", Atencion});
        pulsa("BSalida");
        otro->cancel();
        // A program that heeds no locks deletes the line while it is being changed.
        tecla(Qt::Key_Insert, Qt::ShiftModifier);
        edicion("DBEConcepto").selectAll();
        teclea("Acta");
        std::fstream fuera(oficina.carpetaDe("DB") / "AGENDA.DBF",
                           std::ios::in | std::ios::out | std::ios::binary);
        const auto cabecera = static_cast<std::streamoff>(32 + 6 * 32 + 1);
        const auto registro = static_cast<std::streamoff>(1 + 8 + 5 + 16 + 1 + 75 + 100);
        fuera.seekp(cabecera + registro); // the second line of the file: the settings stand first
        fuera.put('*');
        fuera.close();
        oficina.Mensaje.espera({"Problemas en la actualización de la cita", Atencion});
        oficina.Mensaje.espera({"Había escrito:\nActa", Atencion});
        pulsa("BAceptar");
        EXPECT_FALSE(editando());
        EXPECT_EQ(rejilla().model()->rowCount(), 1);
    });
}

// A program that heeds no locks writes into the field that is being typed: before the next Accept goes over
// it, the clerk has read it somewhere.
TEST_F(UnNotarioTest, WhatOthersHaveWrittenInTheSameFieldIsSeenBeforeItIsWrittenOver)
{
    support::MensajesApuntados mensajes;
    TServicios apuntados = Servicios();
    apuntados.Mensaje = &mensajes;
    const TServiciosInstalados instalados(apuntados);
    enVentana([&] {
        tecla(Qt::Key_Insert, Qt::ShiftModifier);
        edicion("DBEConcepto").selectAll();
        teclea("Acta");
        std::fstream fuera(oficina.carpetaDe("DB") / "AGENDA.DBF",
                           std::ios::in | std::ios::out | std::ios::binary);
        const auto cabecera = static_cast<std::streamoff>(32 + 6 * 32 + 1);
        const auto registro = static_cast<std::streamoff>(1 + 8 + 5 + 16 + 1 + 75 + 100);
        fuera.seekp(cabecera + registro + 1 + 8 + 5 + 16 + 1);
        fuera << "SUYO ";
        fuera.close();
        pulsa("BAceptar");
        ASSERT_TRUE(editando());
        QStringList dicho = mensajes.Textos;
        for (const QLabel *const rotulo : ventana->findChildren<QLabel *>())
            dicho << rotulo->text();
        for (const QLineEdit *const texto : ventana->findChildren<QLineEdit *>())
            dicho << texto->text();
        dicho << rejilla().model()->index(0, 1).data().toString();
        EXPECT_TRUE(dicho.join(' ').contains("SUYO")) << dicho.join(" | ").toStdString();
        pulsa("BAceptar");
        EXPECT_FALSE(editando());
    });
    EXPECT_EQ(dia().first(), "09:00|Acta|GARCÍA|MARTA|N");
}

// Keys that have waited in their queue while the table was waited for come in one go: Enter is between them.
TEST_F(UnNotarioTest, WhatIsTypedBehindEnterGoesIntoTheNextField)
{
    enVentana([&] {
        const auto deGolpe = [this](int cual, const QString &texto) {
            QKeyEvent pulsa(QEvent::KeyPress, cual, {}, texto);
            QCoreApplication::sendEvent(ventana->windowHandle(), &pulsa);
            QKeyEvent suelta(QEvent::KeyRelease, cual, {}, texto);
            QCoreApplication::sendEvent(ventana->windowHandle(), &suelta);
        };
        comando("Nuevo");
        for (const char *const campo : {"1015", "Acta", "RUIZ"}) {
            for (const char letra : QByteArray(campo))
                deGolpe(0, QChar(letra));
            deGolpe(Qt::Key_Return, QStringLiteral("\r"));
        }
        QCoreApplication::processEvents();
        EXPECT_EQ(edicion("DBEConcepto").text(), "Acta");
        EXPECT_EQ(edicion("DBEInteresado").text(), "RUIZ");
        pulsa("BAceptar");
    });
    EXPECT_EQ(dia().last(), "10:15|Acta|RUIZ||N");
}

TEST_F(UnNotarioTest, ALineThatGoesToAnotherDayDoesNotComeBackWithARefusedNewOne)
{
    oficina.Aliases.setLockPatience(std::chrono::milliseconds(1));
    const auto otro = tabla();
    enVentana([&] {
        ASSERT_TRUE(otro->locate({{"FECHA", Dia}, {"HORA", "09:00"}}, dataset::SearchMode::exact));
        otro->edit();
        otro->field(u"FECHA").setDate(Dia.addDays(1));
        otro->post();
        otro->beginGroup(); // nobody else writes
        tecla(Qt::Key_Insert);
        edicion("DBEConcepto").setFocus();
        teclea("Acta");
        oficina.Mensaje.espera({"Problemas en la actualización de la cita", Atencion});
        pulsa("BAceptar");
        EXPECT_TRUE(editando());
        for (int fila = 0; fila < motor->Tabla().rowCount(); ++fila)
            EXPECT_EQ(TLineaAgenda::DeFila(motor->Tabla(), fila).Fecha, Dia) << fila;
        otro->dropGroup();
        pulsa("BAceptar");
        EXPECT_FALSE(editando());
    });
    EXPECT_EQ(dia(), (QStringList{"09:00|Acta|||N", "09:30||||N"}));
}

TEST_F(UnNotarioTest, WhatOthersWriteIsTakenInWhileNothingIsEdited)
{
    enVentana([this] {
        linea({Dia, "08:00", "DE OTRO"});
        recarga();
        EXPECT_EQ(rejilla().model()->rowCount(), 3);
        tecla(Qt::Key_Insert, Qt::ShiftModifier);
        teclea("A medias");
        linea({Dia, "08:30", "DE OTRO"});
        recarga();
        EXPECT_EQ(rejilla().model()->rowCount(), 3);
        // A window that comes back from the task bar is told that it is shown.
        QShowEvent otraVez;
        QCoreApplication::sendEvent(ventana, &otraVez);
        EXPECT_TRUE(editando());
        EXPECT_EQ(edicion("DBEConcepto").text(), "PoderA medias");
        EXPECT_EQ(dia().size(), 4);
        oficina.Mensaje.espera({Deshacer, Atencion, RespuestaSi});
        tecla(Qt::Key_Escape);
        EXPECT_EQ(rejilla().model()->rowCount(), 4);
        // A mark and a paste do not go over what was not seen.
        rejilla().setCurrentIndex(rejilla().model()->index(3, 1));
        tecla(Qt::Key_C, Qt::ControlModifier);
        const auto otro = tabla();
        ASSERT_TRUE(otro->locate({{"FECHA", Dia}, {"HORA", "09:30"}}, dataset::SearchMode::exact));
        otro->edit();
        otro->field(u"CONCEPTO").setText("DE OTRO");
        otro->post();
        oficina.Mensaje.espera({"Problemas al modificar la cita", Atencion});
        comando("Ausente");
        otro->edit(dataset::EditOf::fresh);
        otro->field(u"INTERESADO").setText("TAMBIÉN");
        otro->post();
        oficina.Mensaje.espera({"Problemas en la actualización de la cita", Atencion});
        tecla(Qt::Key_V, Qt::ControlModifier);
    });
    EXPECT_TRUE(dia().contains("09:30|DE OTRO|TAMBIÉN||N"));
}

TEST_F(UnNotarioTest, AHintThatComesBeforeTheWindowIsNotPaintedOverTheHelpLine)
{
    abre([](TAgenda &abierto) {
        TFAgenda una(abierto);
        support::compruebaLineaDeAyuda(una, support::explicacionDe(una));
    });
}

TEST_F(UnNotarioTest, EveryControlHasAName)
{
    enVentana([this] {
        tecla(Qt::Key_Insert);
        for (const QWidget *const control : ventana->findChildren<QWidget *>()) {
            if (control->focusPolicy() == Qt::NoFocus || !control->isVisible())
                continue;
            auto *const leido = QAccessible::queryAccessibleInterface(const_cast<QWidget *>(control));
            EXPECT_FALSE(!leido || leido->text(QAccessible::Name).isEmpty())
                << control->metaObject()->className() << control->objectName().toStdString();
        }
        oficina.Mensaje.espera({Deshacer, Atencion, RespuestaSi});
        tecla(Qt::Key_Escape);
    });
}

} // namespace
