#include "tests/agenda1/Unica.h"

using support::Dia;
using support::LineaUnica;
using support::UnicaTest;

namespace
{
const QString Pregunta = QStringLiteral("¿Desea añadir una hoja a día de 16/11/2026 (S/N)?");
const QString Explica = QStringLiteral("No hay datos a fecha de 16/11/2026");

QStringList horas(const QStringList &lineas)
{
    QStringList solas;
    for (const QString &linea : lineas)
        solas << linea.section(u'|', 0, 0);
    return solas;
}

TEST_F(UnicaTest, WithoutASettingsRowNothingIsShown)
{
    linea({Dia, "09:00", "Poder"});
    abre({});
    EXPECT_EQ(mostrada, 0);
    EXPECT_EQ(dia(), QStringList{"09:00|Poder|||N"});
}

TEST_F(UnicaTest, ADayWithoutASheetIsAskedForAndMade)
{
    const struct {
        const char *ajustes;
        const char *intervalo;
        QStringList horas;
    } casos[] = {
        {"0910", "30", {"09:00", "09:30", "10:00", "10:30"}},
        {"0911", "90", {"09:00", "10:30", "11:60"}}, // deliberate: one hour is carried, no more
        {"2009", "30", {"20:00", "20:30"}},
        {"9999", "00", {}}, // 9 to 20, every 30 minutes
        {"", "", {}},
    };
    for (const auto &caso : casos) {
        const auto vacia = tabla();
        while (!vacia->isEmpty())
            vacia->remove();
        ajustes(caso.ajustes, caso.intervalo);
        oficina.Mensaje.espera({Pregunta, "Agenda", 1, Explica, support::TCaja::siNo});
        abre({});
        EXPECT_EQ(mostrada, 1);
        if (caso.horas.isEmpty()) {
            EXPECT_EQ(dia().size(), 24) << caso.ajustes;
            EXPECT_EQ(dia().last(), "20:30||||N");
        } else {
            EXPECT_EQ(horas(dia()), caso.horas) << caso.ajustes;
        }
    }
}

TEST_F(UnicaTest, ADeclinedSheetShowsNothing)
{
    ajustes();
    oficina.Mensaje.espera({Pregunta, "Agenda", 0, Explica, support::TCaja::siNo});
    abre({});
    EXPECT_EQ(mostrada, 0);
    EXPECT_TRUE(dia().isEmpty());
}

TEST_F(UnicaTest, ASheetThatAnotherWorkstationMakesMeanwhileIsNotMadeTwice)
{
    ajustes();
    struct MientrasPregunta : support::MensajeDePrueba {
        std::function<void()> antes;
        int Mensaje_SiNo(const QString & /*pregunta*/, const QString & /*explica*/,
                         const QString & /*titulo*/) override
        {
            antes();
            return 1;
        }
    } mensajes;
    mensajes.antes = [this] { linea({Dia, "09:00", "Suya"}); };
    const TServiciosInstalados servicios(TServicios{&mensajes, &oficina.Rut, &oficina.Rvarias,
                                                    &oficina.Config, &oficina.Reloj, &oficina.Aliases});
    abre({});
    EXPECT_EQ(mostrada, 1);
    EXPECT_EQ(dia(), QStringList{"09:00|Suya|||N"});
}

TEST_F(UnicaTest, TheWorkingDayIsOneDayAndTheSettingsAreNone)
{
    ajustes();
    linea({Dia, "09:00", "Hoy"});
    linea({Dia.addDays(1), "00:00", "Medianoche"});
    linea({Dia.addDays(4), "09:00", "Viernes"});
    abre([this](TAgenda &motor) {
        EXPECT_EQ(motor.Tabla().rowCount(), 1);
        oficina.Mensaje.espera({"No hay días anteriores en la agenda", " ATENCIÓN:"});
        EXPECT_EQ(motor.BuscarAnterior(), "16/11/2026");
        EXPECT_EQ(motor.Tabla().rowCount(), 1);
        EXPECT_EQ(motor.BuscarSiguiente(), "17/11/2026");
        EXPECT_EQ(motor.BuscarSiguiente(), "20/11/2026");
        oficina.Mensaje.espera({"No hay días posteriores en la agenda", " ATENCIÓN:"});
        EXPECT_EQ(motor.BuscarSiguiente(), "20/11/2026");
        EXPECT_EQ(motor.BuscarAnterior(), "17/11/2026");
        // From a day that has lost its lines, too.
        EXPECT_TRUE(motor.Borrar());
        EXPECT_EQ(motor.BuscarAnterior(), "16/11/2026");
    });
    EXPECT_EQ(mostrada, 1);
    EXPECT_EQ(dia(FechaAjustes).size(), 1);
}

TEST_F(UnicaTest, LinesOfOneNotary)
{
    ajustes();
    linea({Dia, "09:00", "Poder", "GARCÍA", "MARTA"});
    linea({Dia, "09:30"});
    abre([](TAgenda &motor) {
        EXPECT_TRUE(motor.Salida(0));
        EXPECT_TRUE(motor.Insertar());
        motor.Tabla().field(u"CONCEPTO").setText("Nueva");
        EXPECT_TRUE(motor.Aceptar());
        EXPECT_TRUE(motor.Insertar());
        EXPECT_TRUE(motor.Cancelar());
        motor.Tabla().last();
        EXPECT_TRUE(motor.Ausente(0));
    });
    EXPECT_EQ(dia(), (QStringList{"09:00|Poder|GARCÍA|MARTA|S", "09:00|Nueva|||N",
                                  "09:30|AUSENTE|AUSENTE|AUSENTE|N"}));
    abre([](TAgenda &motor) {
        EXPECT_TRUE(motor.Salida(0));
        motor.Tabla().last();
        EXPECT_TRUE(motor.Ausente(0));
        motor.Tabla().prior();
        EXPECT_TRUE(motor.Borrar());
    });
    EXPECT_EQ(dia(), (QStringList{"09:00|Poder|GARCÍA|MARTA|N", "09:30||||N"}));
}

// A day is all of its date, whatever hours its lines carry, and nothing else is worked on.
TEST_F(UnicaTest, ALineOfAnotherDayIsLeftAlone)
{
    ajustes();
    linea({Dia, "93:0", "Sin hora"});
    linea({Dia.addDays(1), "09:00", "Firma"});
    abre([](TAgenda &motor) {
        EXPECT_EQ(motor.Tabla().rowCount(), 1);
        const dataset::Bookmark deManana = motor.Tabla().bookmark() + 1;
        const std::function<bool()> ordenes[] = {
            [&] { return motor.Modificar(); }, [&] { return motor.Borrar(); },
            [&] { return motor.Salida(0); }, [&] { return motor.Ausente(0); }};
        for (const auto &orden : ordenes) {
            ASSERT_TRUE(motor.Tabla().goToBookmark(deManana));
            EXPECT_FALSE(orden());
        }
    });
    EXPECT_EQ(dia(Dia.addDays(1)), QStringList{"09:00|Firma|||N"});
    EXPECT_EQ(dia(), QStringList{"93:0|Sin hora|||N"});
}

TEST_F(UnicaTest, ALineInUseElsewhereIsLeftAlone)
{
    ajustes();
    linea({Dia, "09:00", "Poder"});
    const auto otro = tabla();
    otro->locate({{"FECHA", Dia}}, dataset::SearchMode::nearest);
    otro->edit();
    abre([](TAgenda &motor) {
        EXPECT_FALSE(motor.Modificar());
        EXPECT_FALSE(motor.Salida(0));
        EXPECT_FALSE(motor.Borrar());
        EXPECT_FALSE(motor.Tabla().isEditing());
    });
    otro->cancel();
    EXPECT_EQ(dia(), QStringList{"09:00|Poder|||N"});
}

TEST_F(UnicaTest, TheSettingsRowIsReadAndWritten)
{
    ajustes("0820", "15", {"Ana Núñez", "Benito Ruiz"});
    TAgenda motor(Dia, this);
    ASSERT_TRUE(motor.SeleccionaConfiguracion());
    EXPECT_TRUE(motor.DosNotarios());
    EXPECT_EQ(motor.Ajustes().FNotario1, "Ana Núñez");
    EXPECT_EQ(motor.Ajustes().FNotario2, "Benito Ruiz");
    EXPECT_EQ(motor.Ajustes().FHoraInicio, 8);
    EXPECT_EQ(motor.Ajustes().FIntervalo, 15);
    TAjustesAgenda otros = motor.Ajustes();
    otros.FNotario2 = QString(60, u'x');
    otros.FHoraFin = 7; // raised when it is read
    motor.PonAjustes(otros);
    EXPECT_TRUE(motor.AlmacenaConfiguracion());
    EXPECT_EQ(dia(FechaAjustes), QStringList{"15|0807|" + QStringLiteral("Ana Núñez").leftJustified(50) +
                                             QString(50, u'x') + "|CONVENIO|"});
    ASSERT_TRUE(motor.SeleccionaConfiguracion());
    EXPECT_EQ(motor.Ajustes().FHoraFin, 8);
    otros.FNotario1 = UnNotario;
    otros.FIntervalo = 0;
    motor.PonAjustes(otros);
    EXPECT_TRUE(motor.AlmacenaConfiguracion());
    EXPECT_EQ(dia(FechaAjustes), QStringList{"00|0807|||"});
    ASSERT_TRUE(motor.SeleccionaConfiguracion());
    EXPECT_FALSE(motor.DosNotarios());
    EXPECT_EQ(motor.Ajustes().FIntervalo, 30);
    motor.IConfiguracion(nullptr);
    EXPECT_EQ(mostrada, 3);
}

TEST_F(UnicaTest, ALineThatOthersAddAtTheEdgeOfTheDayIsNoOtherDay)
{
    for (const QStringList &notarios : {QStringList(), QStringList{"Ana Núñez", "Benito Ruiz"}}) {
        const auto antes = tabla();
        while (!antes->isEmpty())
            antes->remove();
        ajustes("0910", "30", notarios);
        for (const int dias : {-1, 0, 1})
            linea({Dia.addDays(dias), "10:00"});
        abre([&](TAgenda &motor) {
            linea({Dia, "09:00"});
            linea({Dia, "11:00"});
            EXPECT_EQ(motor.BuscarAnterior(), "15/11/2026");
            EXPECT_EQ(motor.BuscarSiguiente(), "16/11/2026");
            EXPECT_EQ(motor.TablaDeLaVentana().rowCount(), 3);
            linea({Dia, "12:00"});
            EXPECT_EQ(motor.BuscarSiguiente(), "17/11/2026");
        });
    }
}

} // namespace
