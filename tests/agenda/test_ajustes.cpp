// The settings in their two stores, and the agenda's tables.

#include "dataset/DatabaseError.h"
#include "tests/support/OficinaDePrueba.h"

namespace
{

using support::OficinaDePrueba;
using support::readFile;

TEST(Ajustes, DefaultsWithoutRecordsAndWithoutFile)
{
    const OficinaDePrueba oficina;
    EXPECT_EQ(goConfAgendaN->GetHoraInicio(), 9);
    EXPECT_EQ(goConfAgendaN->GetHoraFin(), 20);
    EXPECT_EQ(goConfAgendaN->GetIntervalo(), 30);
    EXPECT_EQ(goConfAgendaN->GetIncrementoMin(), 1);
    EXPECT_TRUE(goConfAgendaN->GetSincronizarDia());
    EXPECT_EQ(goConfAgendaN->GetColorSalida(), TColor{0x00C6C6FF});
    goConfAgendaN->SetHoraInicio(8);
    EXPECT_EQ(goConfAgendaN->GetHoraInicio(), 9) << "a missing record is never created";
    EXPECT_FALSE(std::filesystem::exists(oficina.carpeta() / "CONFIG"));
}

TEST(Ajustes, EachIsWrittenInItsPlaceAndReadAtOnce)
{
    OficinaDePrueba oficina;
    oficina.ponAjustes(9, 20, 30);
    TClassConfAgendaN otroPuesto;
    goConfAgendaN->SetHoraInicio(8);
    goConfAgendaN->SetHoraFin(14);
    goConfAgendaN->SetIntervalo(15);
    EXPECT_EQ(otroPuesto.GetHoraInicio(), 8);
    EXPECT_EQ(otroPuesto.GetHoraFin(), 14);
    EXPECT_EQ(otroPuesto.GetIntervalo(), 15);
    goConfAgendaN->SetIncrementoMin(15);
    goConfAgendaN->SetSincronizarDia(false);
    goConfAgendaN->SetColorSalida(0x00C6C5FF);
    EXPECT_EQ(readFile(oficina.carpeta() / "CONFIG" / "VARIOS.INI"),
              "[IncrementoMin]\r\nAGENDASALIDA=15\r\n[AGENDA]\r\nSincronizarDia=0\r\n[COLOR]\r\nAGENDASALIDA="
              "$00C6C5FF\r\n");
    EXPECT_EQ(otroPuesto.GetIncrementoMin(), 15);
    EXPECT_FALSE(otroPuesto.GetSincronizarDia());
    EXPECT_EQ(otroPuesto.GetColorSalida(), TColor{0x00C6C5FF});
    support::writeFile(oficina.carpeta() / "CONFIG" / "VARIOS.INI", "[COLOR]\r\nAGENDASALIDA=rojizo\r\n");
    EXPECT_EQ(otroPuesto.GetColorSalida(), TColor{0x00C6C6FF}) << "an unreadable colour gives the default";
}

/// A dialog that answers by itself.
struct VistaDePrueba : IVistaConfiguracion {
    bool EditaAjustes(TAjustesEnPantalla &ajustes, QObject * /*propietario*/) override
    {
        Mostrados = ajustes;
        ++Veces;
        if (EnVista)
            EnVista(ajustes);
        else
            ajustes = Contesta;
        return Acepta;
    }
    TAjustesEnPantalla Mostrados;
    TAjustesEnPantalla Contesta;
    std::function<void(TAjustesEnPantalla &)> EnVista; ///< in place of the answer above
    bool Acepta = false;
    int Veces = 0;
};

TEST(Ajustes, WhatTheDialogShowsAndWhatItGivesBack)
{
    OficinaDePrueba oficina;
    oficina.ponAjustes(24, -7, 2000000000);
    VistaDePrueba vista;
    TClassConfAgendaN ajustes(&vista);
    vista.Contesta = {0x00112233, 7, -1, "99999999999999999999", "5", false, true};
    ajustes.FichaConfiguracion(nullptr);
    EXPECT_EQ(vista.Mostrados.IndiceHoraComienzo, -1) << "hours that the list lacks";
    EXPECT_EQ(vista.Mostrados.IndiceHoraFin, -1);
    EXPECT_EQ(vista.Mostrados.IntervaloHoras, "2000000000");
    EXPECT_EQ(vista.Mostrados.IncrementoMin, "1");
    EXPECT_TRUE(vista.Mostrados.SincronizarDia);
    EXPECT_EQ(ajustes.GetHoraInicio(), 23) << "not accepted, not written; the nearest hour counts";
    EXPECT_FALSE(std::filesystem::exists(oficina.carpeta() / "CONFIG"));
    vista.Acepta = true;
    ajustes.FichaConfiguracion(nullptr);
    EXPECT_EQ(ajustes.GetColorSalida(), TColor{0x00112233});
    EXPECT_EQ(ajustes.GetHoraInicio(), 8);
    EXPECT_EQ(ajustes.GetHoraFin(), 0);
    EXPECT_EQ(ajustes.GetIntervalo(), 0) << "a number that does not fit";
    EXPECT_EQ(ajustes.GetIncrementoMin(), 5);
    EXPECT_FALSE(ajustes.GetSincronizarDia());

    dataset::DbfTable comun(oficina.Aliases);
    comun.setDatabaseName("ZENTRA");
    comun.setTableName("VA_COMUN");
    comun.open();
    for (const auto &[valor, leido] :
         {std::pair("99999999999", 23), {"-2000000000", 0}, {"nueve", 9}, {"", 9}, {"   ", 9}}) {
        comun.first(); // the first hour
        comun.edit();
        comun.field(u"VALOR").setText(valor);
        comun.post();
        EXPECT_EQ(ajustes.GetHoraInicio(), leido) << valor;
    }
}

// Whatever somebody has written into the file that other programs share.
TEST(Ajustes, AbsurdNumbersOfTheFileAreBroughtToWhatTheyCanMean)
{
    const OficinaDePrueba oficina;
    std::filesystem::create_directories(oficina.carpeta() / "CONFIG");
    const struct {
        std::string texto;
        int incremento;
        bool sincroniza;
    } casos[] = {
        {"0", 0, false},
        {"-1", -1, true},
        {"2147483647", 1440, true},
        {"-2147483648", -1440, true},
        {"99999999999", 1, true},
        {"quince", 1, true},
        {"", 1, true},
        {"$7FFFFFFF", 1440, true},
        {std::string(100000, '9'), 1, true},
    };
    for (const auto &caso : casos) {
        support::writeFile(oficina.carpeta() / "CONFIG" / "VARIOS.INI",
                           "[IncrementoMin]\r\nAGENDASALIDA=" + caso.texto +
                               "\r\n[AGENDA]\r\nSincronizarDia=" + caso.texto +
                               "\r\n[COLOR]\r\nAGENDASALIDA=" + caso.texto + "\r\n");
        EXPECT_EQ(goConfAgendaN->GetIncrementoMin(), caso.incremento) << caso.texto.substr(0, 20);
        EXPECT_EQ(goConfAgendaN->GetSincronizarDia(), caso.sincroniza) << caso.texto.substr(0, 20);
        static_cast<void>(goConfAgendaN->GetColorSalida());
    }
}

// One place refuses, so the other keeps what it had too, and the clerk finds the dialog as he left it.
TEST(Ajustes, WhatCannotBeStoredIsStoredNowhereAndStaysInTheDialog)
{
    OficinaDePrueba oficina;
    oficina.ponAjustes(9, 20, 30);
    const auto varios = oficina.carpeta() / "CONFIG" / "VARIOS.INI";
    goConfAgendaN->SetIncrementoMin(15);
    const std::string antes = readFile(varios);
    dataset::DbfTable otroPuesto(oficina.Aliases);
    otroPuesto.setDatabaseName("ZENTRA");
    otroPuesto.setTableName("VA_COMUN");
    otroPuesto.open();
    otroPuesto.last(); // the interval, the last of the table that is written

    VistaDePrueba vista;
    vista.Acepta = true;
    TClassConfAgendaN ajustes(&vista);
    const auto nadaGuardado = [&] {
        EXPECT_EQ(ajustes.GetHoraInicio(), 9);
        EXPECT_EQ(ajustes.GetHoraFin(), 20);
        EXPECT_EQ(ajustes.GetIntervalo(), 30);
    };
    vista.EnVista = [&](TAjustesEnPantalla &pantalla) {
        switch (vista.Veces) {
        case 1:
            pantalla = {0x00112233, 7, 13, "45", "5", false, true};
            otroPuesto.edit();
            oficina.Mensaje.espera({"Otro puesto está usando la línea", " ATENCIÓN:"});
            break;
        case 2:
            EXPECT_EQ(readFile(varios), antes);
            nadaGuardado();
            EXPECT_EQ(pantalla.IntervaloHoras, "45");
            EXPECT_EQ(pantalla.ColorSalida, TColor{0x00112233});
            otroPuesto.cancel();
            std::filesystem::remove(varios);
            std::filesystem::create_directory(varios);
            oficina.Mensaje.espera({"No se puede leer: no es un fichero corriente", " ATENCIÓN:"});
            break;
        default:
            std::filesystem::remove(varios);
            nadaGuardado();
            EXPECT_EQ(pantalla.IndiceHoraComienzo, 7);
        }
    };
    ajustes.FichaConfiguracion(nullptr);
    EXPECT_EQ(vista.Veces, 3);
    EXPECT_EQ(ajustes.GetHoraInicio(), 8);
    EXPECT_EQ(ajustes.GetHoraFin(), 14);
    EXPECT_EQ(ajustes.GetIntervalo(), 45);
    EXPECT_EQ(readFile(varios), "[COLOR]\r\nAGENDASALIDA=$00112233\r\n[IncrementoMin]\r\nAGENDASALIDA=5\r\n"
                                "[AGENDA]\r\nSincronizarDia=0\r\n");
}

TEST(Ajustes, AMissingTablePassesToTheCaller)
{
    const OficinaDePrueba oficina;
    std::filesystem::remove(oficina.carpetaDe("ZENTRA") / "VA_COMUN.DBF");
    EXPECT_THROW(std::ignore = goConfAgendaN->GetHoraInicio(), dataset::EDatabaseError);
    EXPECT_THROW(goConfAgendaN->SetIntervalo(10), dataset::EDatabaseError);
}

TEST(AgendaNDM, CursorsShowLinesByDateAndHour)
{
    OficinaDePrueba oficina(2);
    oficina.linea(2, {2026, 5, 2}, "10:00", "b");
    oficina.linea(2, {2026, 5, 1}, "11:00", "a");
    oficina.linea(2, {2026, 5, 2}, "09:30", "c");
    TDMAgendaN datos(oficina.Aliases, nullptr);
    dataset::DbfTable &tabla = datos.TAgendaN(2);
    EXPECT_EQ(&tabla, &datos.TAgendaN2);
    EXPECT_EQ(tabla.tableName(), "AGENDA_N");
    EXPECT_EQ(tabla.indexFieldNames(), "FECHA");
    tabla.setDatabaseName("NOTARIO2");
    tabla.open();
    ASSERT_EQ(tabla.fieldCount(), 8);
    QStringList orden;
    for (tabla.first(); !tabla.eof(); tabla.next())
        orden << tabla.field(u"CONCEPTO").asText();
    EXPECT_EQ(orden, (QStringList{"a", "c", "b"}));
    tabla.first();
    tabla.edit();
    tabla.field(u"CODCLIENTE").setNumber(1234);
    tabla.field(u"CONCEPTO").setText(QString(300, u'ñ'));
    tabla.post();
    EXPECT_EQ(tabla.field(u"CODCLIENTE").asInteger(), 1234);
    EXPECT_EQ(tabla.field(u"CONCEPTO").asText(), QString(254, u'ñ'));
    datos.cdsAgendaSemanal.create(CamposAgendaSemanal());
    EXPECT_EQ(datos.cdsAgendaSemanal.fieldCount(), 16);
    EXPECT_EQ(datos.cdsAgendaSemanal.fieldInfo(6).name, "CONCEPTO_3");
}

} // namespace
