// The engine's notaries and day sheets.

#include "agenda/HojaNueva.h"
#include "dataset/DatabaseError.h"
#include "tests/agendan/Motor.h"

#include <limits>

namespace
{

using dataset::DataSet;
using support::Lunes;
using support::MotorTest;
using support::OficinaDePrueba;

TEST(MotorNotarios, CountTablesAsTheyCome)
{
    OficinaDePrueba oficina(5);
    std::array<std::unique_ptr<dataset::DbfTable>, 5> abiertas;
    for (int n = 0; n < 5; ++n)
        abiertas[std::size_t(n)] = oficina.agenda(n + 1);
    const struct {
        std::array<bool, 5> dadas;
        int cuenta;
    } casos[] = {
        {{true}, 2},
        {{true, true}, 3},
        {{true, true, true, true, true}, 6},
        {{true, false, true}, 2},
    };
    for (const auto &caso : casos) {
        TClassAgendaN::TTablas tablas{};
        for (std::size_t n = 0; n < 5; ++n)
            tablas[n] = caso.dadas[n] ? abiertas[n].get() : nullptr;
        TClassAgendaN motor(nullptr, nullptr, tablas, nullptr);
        EXPECT_EQ(motor.NumNotarios(), caso.cuenta);
        EXPECT_EQ(&motor.TablaActual(), abiertas[0].get());
        // The empty positions that the count reaches are skipped.
        motor.SincronizarTablasAFecha(Lunes, true);
        for (int n = 1; n <= 5; ++n) {
            if (DataSet *tabla = motor.Tabla(n); tabla && n < caso.cuenta) {
                EXPECT_EQ(tabla->field(u"FECHA").asDate(), Lunes);
            }
        }
        EXPECT_EQ(&motor.TablaActual(), abiertas[0].get());
    }
    for (const auto &tabla : abiertas)
        EXPECT_TRUE(tabla->isActive()) << "tables of the host stay open";
}

TEST(MotorNotarios, OpensOneTablePerNotaryUpToFive)
{
    const struct {
        int cuantos, cuenta, abiertas;
        const char *primero;
    } casos[] = {{3, 3, 3, "Ana Núñez"}, {0, 1, 1, "Don Íñigo Peña"}, {7, 7, 5, "Ana Núñez"}};
    for (const auto &caso : casos) {
        OficinaDePrueba oficina(5);
        oficina.Config.Cuantos = caso.cuantos;
        TClassAgendaN motor(nullptr, nullptr, {}, nullptr);
        EXPECT_EQ(motor.NumNotarios(), caso.cuenta);
        int abiertas = 0;
        for (int n = 1; n <= 5; ++n)
            abiertas += motor.Tabla(n) && motor.Tabla(n)->isActive() ? 1 : 0;
        EXPECT_EQ(abiertas, caso.abiertas);
        EXPECT_EQ(motor.NombreNotario(1), caso.primero);
        motor.PonNotarioActual(caso.abiertas);
        DataSet *ultima = &motor.TablaActual();
        motor.SincronizarTablasAFecha(Lunes, true);
        EXPECT_EQ(&motor.TablaActual(), ultima) << "the current table comes back";
        for (int n = 1; n <= caso.abiertas; ++n)
            EXPECT_EQ(oficina.dia(n, Lunes).size(), 24) << n;
    }
    OficinaDePrueba oficina(2);
    oficina.Config.Cuantos = 3;
    EXPECT_THROW(TClassAgendaN(nullptr, nullptr, {}, nullptr), dataset::EDatabaseError)
        << "a notary without a table";
}

/// An older copy of the table, put beside the journal of a program that died.
TEST(MotorNotarios, TellsWhatOpeningHasFound)
{
    OficinaDePrueba oficina;
    oficina.linea(1, Lunes, "09:00");
    const auto carpeta = oficina.carpetaDe("NOTARIO1");
    const std::string copia = support::readFile(carpeta / "AGENDA_N.DBF");
    oficina.linea(1, Lunes, "09:30");
    std::string diario;
    {
        const auto otro = oficina.agenda(1);
        otro->append();
        otro->post();
        diario = support::readFile(carpeta / "AGENDA_N.JNL");
    }
    support::writeFile(carpeta / "AGENDA_N.DBF", copia);
    support::writeFile(carpeta / "AGENDA_N.JNL", diario);
    oficina.Mensaje.espera(
        {"AGENDA_N (NOTARIO1): la tabla tiene menos líneas que las que ya estaban guardadas: se ha puesto en "
         "su lugar una copia anterior. Los últimos cambios, que eran de la otra, no se le han aplicado; "
         "quedan en AGENDA_N.JNL.APARTADO-1",
         " ATENCIÓN:"});
    for (int vez = 0; vez < 2; ++vez) { // once
        const TClassAgendaN motor(nullptr, nullptr, {}, nullptr);
        EXPECT_FALSE(oficina.Mensaje.pendientes());
    }
    EXPECT_EQ(oficina.dia(1, Lunes), QStringList("09:00  N"));
}

TEST_F(MotorTest, BuildsADaySheetFromTheSettings)
{
    EXPECT_TRUE(motor().InsertaDia(Lunes, false));
    QStringList hoja = oficina.dia(1, Lunes);
    EXPECT_EQ(hoja.size(), 24);
    EXPECT_EQ(hoja.first(), "09:00  N");
    EXPECT_EQ(hoja.last(), "20:30  N");
    EXPECT_EQ(mostrado(), "16/11/2026 09:00");
    EXPECT_EQ(motor().TablaActual().field(u"AVISO").asText(), "N");
    EXPECT_TRUE(motor().HayRangoPorFecha());
    oficina.ponAjustes(9, 9, 45);
    EXPECT_TRUE(motor().InsertaDia(Lunes.addDays(1), false));
    EXPECT_EQ(oficina.dia(1, Lunes.addDays(1)), (QStringList{"09:00  N", "09:45  N"}));
    goConfAgendaN->SetHoraInicio(21);
    goConfAgendaN->SetHoraFin(20);
    EXPECT_FALSE(motor().InsertaDia(Lunes.addDays(2), false)) << "start after end: an empty sheet";
    EXPECT_TRUE(oficina.dia(1, Lunes.addDays(2)).isEmpty());
    goConfAgendaN->SetHoraInicio(9);
    goConfAgendaN->SetIntervalo(0);
    EXPECT_TRUE(motor().InsertaDia(Lunes.addDays(3), false)) << "an interval of 0 ends after the first line";
    EXPECT_EQ(oficina.dia(1, Lunes.addDays(3)).size(), 1);
}

TEST_F(MotorTest, AsksBeforeBuildingWhenTold)
{
    const QString pregunta = "¿Desea añadir una hoja a día de 16/11/2026 (S/N)?";
    const QString explicacion = "No hay datos a fecha de 16/11/2026";
    oficina.Mensaje.espera({pregunta, "Agenda", 0, explicacion, support::TCaja::siNo});
    EXPECT_FALSE(motor().InsertaDia(Lunes, true));
    EXPECT_TRUE(oficina.dia(1, Lunes).isEmpty());
    oficina.Mensaje.espera({pregunta, "Agenda", 1, explicacion, support::TCaja::siNo});
    EXPECT_TRUE(motor().InsertaDia(Lunes, true));
    EXPECT_EQ(oficina.dia(1, Lunes).size(), 24);
}

// Two workstations are asked about the same day, and both say yes.
TEST_F(MotorTest, ASheetThatAnotherWorkstationBuildsUnderTheQuestionIsNotBuiltAgain)
{
    oficina.ponAjustes(9, 9, 30);
    oficina.linea(1, Lunes.addDays(-1), "09:00");
    motor().RangoPorFecha(Lunes);
    oficina.Mensaje.espera({"¿Desea añadir una hoja a día de 16/11/2026 (S/N)?", "Agenda", 1,
                            "No hay datos a fecha de 16/11/2026", support::TCaja::siNo,
                            [&] { oficina.linea(1, Lunes, "09:00", "Suya"); }});
    EXPECT_TRUE(motor().InsertaDia(Lunes, true));
    EXPECT_EQ(oficina.dia(1, Lunes), QStringList{"09:00 Suya N"});
    EXPECT_EQ(mostrado(), "16/11/2026 09:00");
}

// The line that is to be followed to another day is gone: nothing is done in its place.
TEST_F(MotorTest, WorkOnAnotherDayIsNotBegunWithoutItsLine)
{
    oficina.linea(1, Lunes, "09:00");
    oficina.linea(1, Lunes, "10:00");
    oficina.linea(1, Lunes.addDays(1), "09:00");
    motor().RangoPorFecha(Lunes);
    const auto otro = oficina.agenda(1);
    otro->first();
    otro->remove();
    bool hecho = false;
    try {
        motor().DiaActual().Mientras(Lunes.addDays(1), [&] { hecho = true; });
        ADD_FAILURE() << "nothing was said";
    } catch (const dataset::EDatabaseError &error) {
        EXPECT_EQ(error.kind(), dbase::ErrorKind::conflict);
    }
    EXPECT_FALSE(hecho);
    EXPECT_EQ(motor().DiaActual().Mostrado(), Lunes);
    EXPECT_EQ(mostrado(), "16/11/2026 10:00");
}

// A table that cannot be written: each line is reported, and the sheet goes on to its end.
TEST(MotorHoja, ReportsEachLineThatCannotBeAdded)
{
    OficinaDePrueba oficina;
    oficina.linea(1, Lunes, "09:00");
    oficina.ponAjustes(9, 9, 30);
    const auto tabla = oficina.agenda(1);
    tabla->close();
    tabla->setOpenReadOnly(true);
    tabla->open();
    TClassAgendaN motor(nullptr, nullptr, {tabla.get()}, nullptr);
    for (const char *hora : {"09:00", "09:30"})
        oficina.Mensaje.espera(
            {QString("Problemas añadiendo hora: %1 Añadala manualmente").arg(hora), " ATENCIÓN:"});
    EXPECT_FALSE(motor.InsertaDia(Lunes.addDays(1), false));
    EXPECT_EQ(tabla->state(), DataSet::State::browse);
}

TEST_F(MotorTest, TheSettingsTableMissingLeavesTheDayShown)
{
    for (const char *hora : {"09:00", "10:00"})
        oficina.linea(1, Lunes, hora);
    motor().RangoPorFecha(Lunes);
    motor().TablaActual().last();
    std::filesystem::remove(oficina.carpetaDe("ZENTRA") / "VA_COMUN.DBF");
    const QDate martes = Lunes.addDays(1);
    const std::function<void()> intentos[] = {[&] { motor().InsertaDia(martes, false); },
                                              [&] { motor().SincronizarTablasAFecha(martes, false); },
                                              [&] { motor().SincronizarTablasAFecha(martes, true); }};
    for (const auto &intento : intentos) {
        EXPECT_THROW(intento(), dataset::EDatabaseError);
        EXPECT_EQ(mostrado(), "16/11/2026 10:00") << "the line, too";
        EXPECT_EQ(motor().TablaActual().rowCount(), 2);
        EXPECT_EQ(motor().DiaActual().Mostrado(), Lunes);
        EXPECT_TRUE(motor().HayRangoPorFecha());
    }
}

// The settings are another table, which may be slow: meanwhile nobody is to be kept from saving.
TEST_F(MotorTest, TheSettingsOfASheetAreReadBeforeTheTableIsHeld)
{
    oficina.ponAjustes(9, 10, 30);
    oficina.linea(1, Lunes, "09:00", "de otro puesto");
    const auto otroPuesto = oficina.agenda(1);
    static_cast<void>(motor());
    int lecturas = 0;
    oficina.Config.EnAliasZentra = [&] {
        ++lecturas;
        otroPuesto->edit();
        otroPuesto->field(u"CONCEPTO").setText(QString::number(lecturas));
        otroPuesto->post();
    };
    EXPECT_TRUE(motor().InsertaDia(Lunes.addDays(1), false));
    oficina.Config.EnAliasZentra = nullptr;
    EXPECT_EQ(lecturas, 3) << "each setting once for the whole sheet";
    EXPECT_EQ(oficina.dia(1, Lunes.addDays(1)).size(), 4);
    EXPECT_EQ(oficina.dia(1, Lunes), QStringList{"09:00 3 N"});
}

// Whatever number somebody has put into the office's table, a sheet is made of it at once.
TEST_F(MotorTest, SettingsOfAbsurdSizeMakeASheetAllTheSame)
{
    constexpr int menor = std::numeric_limits<int>::min();
    constexpr int mayor = std::numeric_limits<int>::max();
    const struct {
        int inicio, fin, intervalo;
        int lineas;
    } casos[] = {
        {menor, 23, 60, 24}, {-1, 0, 30, 2},          {mayor, mayor, 30, 2},    {24, 20, 30, 0},
        {0, menor, 60, 1},   {9, 20, menor, 1},       {9, 20, -1, 1},           {9, 20, mayor, 12},
        {9, 20, 1441, 12},   {menor, mayor, 1, 1440}, {menor, mayor, 1440, 24},
    };
    oficina.ponAjustes(9, 20, 30);
    QDate dia = Lunes;
    for (const auto &caso : casos) {
        dia = dia.addDays(1);
        goConfAgendaN->SetHoraInicio(caso.inicio);
        goConfAgendaN->SetHoraFin(caso.fin);
        goConfAgendaN->SetIntervalo(caso.intervalo);
        int lecturas = 0;
        oficina.Config.EnAliasZentra = [&] { ++lecturas; };
        static_cast<void>(AnadeHojaDelDia(motor().TablaActual(), dia, false));
        oficina.Config.EnAliasZentra = nullptr;
        EXPECT_EQ(lecturas, 3);
        const auto tabla = oficina.agenda(1);
        EXPECT_EQ(PonRangoDelDia(*tabla, dia, TLineasDelDia::todas) ? tabla->rowCount() : 0, caso.lineas)
            << caso.inicio << " " << caso.fin << " " << caso.intervalo;
    }
}

TEST_F(MotorTest, SynchronisingLeavesAShownDayAlone)
{
    oficina.linea(1, Lunes, "09:00");
    oficina.linea(1, Lunes, "10:00");
    motor().SincronizarTablasAFecha(Lunes, false);
    motor().TablaActual().last();
    motor().SincronizarTablasAFecha(Lunes, false);
    EXPECT_EQ(mostrado(), "16/11/2026 10:00") << "the cursor was not sent to the first line";
    EXPECT_EQ(oficina.dia(1, Lunes).size(), 2) << "an existing day is not built again";
    motor().CancelaRangoPorFecha();
    EXPECT_FALSE(motor().HayRangoPorFecha());
    motor().SincronizarTablasAFecha(Lunes, false);
    EXPECT_TRUE(motor().HayRangoPorFecha());
}

// Two workstations jump to the same new day and both find it empty: the sheet is built once.
TEST_F(MotorTest, ASheetThatAnotherWorkstationBuiltIsNotBuiltTwice)
{
    const auto otraTabla = oficina.agenda(1);
    TClassAgendaN otro(nullptr, nullptr, {otraTabla.get()}, nullptr);
    dataset::DataSet &tabla = motor().TablaActual();
    bool construida = false;
    oficina.Config.EnAliasZentra = [&] {
        if (std::exchange(construida, true))
            return;
        // The first one has just looked, reads the settings and has built nothing yet.
        EXPECT_EQ(tabla.rowCount(), 0);
        otro.SincronizarTablasAFecha(Lunes, false);
        EXPECT_EQ(otraTabla->rowCount(), 24);
    };
    motor().SincronizarTablasAFecha(Lunes, false);
    oficina.Config.EnAliasZentra = nullptr;
    EXPECT_TRUE(construida);
    EXPECT_EQ(oficina.dia(1, Lunes).size(), 24);
    EXPECT_EQ(tabla.rowCount(), 24) << "the sheet of the other one is shown";
}

TEST_F(MotorTest, StepsFromDayToDayAndStopsAtTheEnds)
{
    oficina.linea(1, Lunes, "09:00");
    oficina.linea(1, Lunes.addDays(5), "09:00");
    oficina.linea(1, Lunes.addDays(5), "12:00");
    oficina.linea(1, Lunes.addDays(9), "10:00");
    motor().RangoPorFecha(Lunes.addDays(5));
    motor().TablaActual().last();
    EXPECT_TRUE(motor().AnteriorDia()) << "days without lines are skipped";
    EXPECT_EQ(mostrado(), "16/11/2026 09:00");
    EXPECT_EQ(motor().TablaActual().rowCount(), 1);
    EXPECT_FALSE(motor().AnteriorDia());
    EXPECT_EQ(mostrado(), "16/11/2026 09:00");
    EXPECT_TRUE(motor().HayRangoPorFecha()) << "the same day stays shown";
    EXPECT_FALSE(motor().TablaActual().controlsDisabled());
    EXPECT_TRUE(motor().SiguienteDia());
    EXPECT_EQ(mostrado(), "21/11/2026 09:00");
    EXPECT_TRUE(motor().SiguienteDia());
    EXPECT_EQ(mostrado(), "25/11/2026 10:00");
    EXPECT_FALSE(motor().SiguienteDia());
    EXPECT_EQ(mostrado(), "25/11/2026 10:00");
    EXPECT_EQ(motor().TablaActual().rowCount(), 1);

    // From a day whose lines have all gone the neighbours are still the nearest days.
    motor().RangoPorFecha(Lunes.addDays(7));
    EXPECT_TRUE(motor().TablaActual().isEmpty());
    EXPECT_TRUE(motor().SiguienteDia());
    EXPECT_EQ(mostrado(), "25/11/2026 10:00");
    motor().RangoPorFecha(Lunes.addDays(7));
    EXPECT_TRUE(motor().AnteriorDia());
    EXPECT_EQ(mostrado(), "21/11/2026 09:00");
    motor().RangoPorFecha(Lunes.addDays(30));
    EXPECT_TRUE(motor().AnteriorDia());
    EXPECT_EQ(mostrado(), "25/11/2026 10:00");
    motor().RangoPorFecha(Lunes.addDays(30));
    EXPECT_FALSE(motor().SiguienteDia());
    // The emptied day is still the day shown: the way back is open, and what others add to it appears.
    oficina.linea(1, Lunes.addDays(30), "09:00");
    motor().TablaActual().refresh();
    EXPECT_EQ(mostrado(), "16/12/2026 09:00");
    EXPECT_TRUE(motor().AnteriorDia());
    EXPECT_EQ(mostrado(), "25/11/2026 10:00");
}

TEST_F(MotorTest, AnEmptyTableHasNoNeighbours)
{
    EXPECT_FALSE(motor().RangoPorFecha(Lunes));
    EXPECT_FALSE(motor().AnteriorDia());
    EXPECT_FALSE(motor().SiguienteDia());
    EXPECT_FALSE(motor().TablaActual().controlsDisabled());
}

TEST_F(MotorTest, FindsLinesByDateAndHour)
{
    oficina.linea(1, Lunes, "09:00");
    oficina.linea(1, Lunes.addDays(2), "10:00");
    const struct {
        QDate fecha;
        const char *hora;
        bool exacta, resultado;
        const char *queda;
    } casos[] = {
        {Lunes, "09:00", true, true, "16/11/2026 09:00"},
        {Lunes.addDays(2), "09:00", true, false, "16/11/2026 09:00"},
        {Lunes.addDays(2), "09:00", false, false, "18/11/2026 10:00"},
        {Lunes, "", false, true, "16/11/2026 09:00"},
        {Lunes.addDays(1), "", false, false, "18/11/2026 10:00"},
        {Lunes.addDays(2), "10:00", false, true, "18/11/2026 10:00"},
    };
    for (const auto &caso : casos) {
        EXPECT_EQ(motor().BuscarPorFecha(caso.fecha, caso.hora, caso.exacta), caso.resultado) << caso.queda;
        EXPECT_EQ(mostrado(), caso.queda);
    }
    motor().OrdenarListaPorFecha();
    motor().TablaActual().first();
    EXPECT_EQ(mostrado(), "16/11/2026 09:00");
}

TEST_F(MotorTest, ADateThatIsNoneBuildsAndShowsNothing)
{
    oficina.linea(1, Lunes, "09:00");
    motor().RangoPorFecha(Lunes);
    motor().SincronizarTablasAFecha(QDate(), false);
    motor().SincronizarTablasAFecha(QDate(), true);
    EXPECT_FALSE(motor().InsertaDia(QDate(), false));
    EXPECT_FALSE(motor().InsertaDia(QDate(), true)) << "and no question";
    EXPECT_TRUE(motor().HayRangoPorFecha());
    EXPECT_EQ(mostrado(), "16/11/2026 09:00");
    EXPECT_EQ(oficina.agenda(1)->rowCount(), 1);
}

// Hours that are none of the day's are kept by other programs, and by the card.
TEST_F(MotorTest, TheArrowsLeaveADayWhateverItsHours)
{
    for (const char *hora : {"", "09:00", "99:99"})
        oficina.linea(1, Lunes, hora);
    for (const char *hora : {"", "99:99"})
        oficina.linea(1, Lunes.addDays(1), hora);
    oficina.linea(1, Lunes.addDays(-3), "10:00");
    oficina.linea(1, Lunes.addDays(2), "11:00");
    motor().RangoPorFecha(Lunes);
    EXPECT_TRUE(motor().AnteriorDia());
    EXPECT_EQ(mostrado(), "13/11/2026 10:00");
    EXPECT_FALSE(motor().AnteriorDia());
    EXPECT_EQ(mostrado(), "13/11/2026 10:00");
    motor().RangoPorFecha(Lunes.addDays(1));
    EXPECT_TRUE(motor().TablaActual().isEmpty());
    EXPECT_TRUE(motor().AnteriorDia());
    EXPECT_EQ(mostrado(), "16/11/2026 09:00");
    motor().RangoPorFecha(Lunes.addDays(1));
    EXPECT_TRUE(motor().SiguienteDia());
    EXPECT_EQ(mostrado(), "18/11/2026 11:00");
}

// An index of that name may be on the date alone, in a table of the host.
TEST(MotorOrden, DaysCanBeShownAfterOrderingByDate)
{
    OficinaDePrueba oficina;
    dataset::DbfTable tabla(oficina.Aliases);
    tabla.setDatabaseName("NOTARIO1");
    tabla.setTableName("DELHOST");
    tabla.addIndexDefinition("FECHA", "FECHA");
    tabla.createFile(CamposAgendaN());
    tabla.open();
    TClassAgendaN motor(nullptr, nullptr, {&tabla}, nullptr);
    motor.SincronizarTablasAFecha(Lunes, false);
    const int lineas = tabla.rowCount();
    tabla.setIndexFieldNames("FECHA"); // as the host may
    EXPECT_FALSE(motor.HayRangoPorFecha()) << "the range went with the order";
    motor.OrdenarListaPorFecha();
    EXPECT_TRUE(motor.RangoPorFecha(Lunes));
    motor.OrdenarListaPorFecha();
    EXPECT_TRUE(motor.HayRangoPorFecha()) << "nothing to order";
    EXPECT_EQ(tabla.rowCount(), lineas);
    EXPECT_EQ(tabla.field(u"HORA").asText(), "09:00");
}

TEST(MotorVarios, OneNotarysFailureDoesNotKeepTheOthersFromTheDate)
{
    OficinaDePrueba oficina(3);
    for (int notario = 1; notario <= 3; ++notario)
        oficina.linea(notario, Lunes, "09:00");
    TClassAgendaN motor(nullptr, nullptr, {}, nullptr);
    motor.Tabla(2)->close();
    QString aviso;
    try {
        motor.SincronizarTablasAFecha(Lunes, true);
    } catch (const dataset::EDatabaseError &error) {
        aviso = error.text();
    }
    EXPECT_EQ(aviso, "No se ha podido mostrar el 16/11/2026 en todas las agendas:\n"
                     "Benito Ruiz: La tabla no está abierta");
    for (const int notario : {1, 3})
        EXPECT_TRUE(motor.Tabla(notario)->hasRange()) << notario;
    EXPECT_EQ(&motor.TablaActual(), motor.Tabla(1));
}

/// A window that only notes what the engine does with it.
struct FichaDeNotas : IFichaAgendaN {
    explicit FichaDeNotas(QStringList &notas)
        : Notas(notas)
    {
    }
    void PonNotario(int notario, const QString &nombre, DataSet *tabla) override
    {
        Notas << QString("%1 %2 %3").arg(notario).arg(nombre, tabla ? "tabla" : "sin tabla");
    }
    void PonMotor(TClassAgendaN &) override { Notas << "motor"; }
    void PonSincronizarDia(bool marcado) override { Notas << (marcado ? "sincroniza" : "no sincroniza"); }
    void PCAgendaChange() override { Notas << "cambio"; }
    void ShowModal() override { Notas << "muestra"; }
    QStringList &Notas;
};

struct VistasDeNotas : IVistasAgendaN {
    std::unique_ptr<IFichaAgendaN> CreaFichaAgendaN(QObject *) override
    {
        return std::make_unique<FichaDeNotas>(Notas);
    }
    void MuestraFichaCitas(TClassAgendaN &, TOperacion operacion, QObject *) override
    {
        Notas << QString("cita %1").arg(static_cast<int>(operacion));
    }
    QStringList Notas;
};

TEST(MotorVentanas, FillsTheWindowAndShowsIt)
{
    OficinaDePrueba oficina(2);
    VistasDeNotas vistas;
    TClassAgendaN motor(nullptr, nullptr, {}, &vistas);
    motor.FichaAgendaN();
    motor.FichaCita(TOperacion::ver);
    EXPECT_EQ(vistas.Notas, (QStringList{"1 Ana Núñez tabla", "2 Benito Ruiz tabla", "motor", "sincroniza",
                                         "cambio", "muestra", "cita 3"}));
}

} // namespace
