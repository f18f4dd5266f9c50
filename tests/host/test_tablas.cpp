// The maintenance of the tables: worked with clicks on real tables, with other workstations beside it.

#include "agenda/AgendaNDM.h"
#include "host/TablasOficina.h"
#include "host/VentanaOficina.h"
#include "host/VentanaTablas.h"
#include "tests/host/Oficina.h"
#include "upkeep/Archive.h"

#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QTableWidget>

namespace
{

namespace fs = std::filesystem;
using dataset::DbfTable;

class TablasTest : public support::OficinaTest
{
protected:
    void SetUp() override
    {
        OficinaTest::SetUp();
        oficina = std::make_unique<TOficina>(ruta(), support::Hoy);
        oficina->Aliases.setLockPatience(std::chrono::milliseconds(100)); // who waits here is to be refused
        ventana = std::make_unique<TVentanaTablas>(*oficina, nullptr);
        ventana->show();
        espera();
    }
    void espera() const
    {
        EXPECT_TRUE(QTest::qWaitFor([this] { return lista()->isEnabled(); }, 20000));
    }
    void pulsa(const char *boton) const
    {
        QTest::mouseClick(ventana->findChild<QPushButton *>(boton), Qt::LeftButton);
        espera();
    }
    [[nodiscard]] QTableWidget *lista() const { return ventana->findChild<QTableWidget *>("TVTablas"); }
    [[nodiscard]] QString mensaje() const { return ventana->findChild<QLabel *>("LMensaje")->text(); }
    [[nodiscard]] QString celda(const QString &alias, const QString &tabla, int columna) const
    {
        for (int fila = 0; fila < lista()->rowCount(); ++fila) {
            if (lista()->item(fila, 0)->text() == alias && lista()->item(fila, 1)->text() == tabla)
                return lista()->item(fila, columna)->text();
        }
        return QStringLiteral("no está");
    }
    [[nodiscard]] QString estado(const QString &alias, const QString &tabla) const
    {
        return celda(alias, tabla, 4);
    }
    static void pulsaEn(QWidget *caja, const QString &cual)
    {
        for (QPushButton *const boton : caja->findChildren<QPushButton *>()) {
            if (boton->text() == cual)
                return QTest::mouseClick(boton, Qt::LeftButton);
        }
        ADD_FAILURE() << "no such button: " << cual.toStdString();
    }
    void restaura(const QString &de) const
    {
        enDialogo([](QWidget *caja) { pulsaEn(caja, "&Sí"); });
        ventana->Restaura(de);
        espera();
    }
    /// Code of the first client, what every change of a test is told by.
    [[nodiscard]] std::unique_ptr<DbfTable> clientes() const
    {
        auto tabla = std::make_unique<DbfTable>(oficina->Aliases);
        PreparaTablaClientes(*tabla, QStringLiteral("ZENTRA"));
        tabla->open();
        return tabla;
    }
    [[nodiscard]] fs::path fichero(const char *alias, const char *nombre) const
    {
        return carpeta.path() / alias / nombre;
    }
    /// Everything below the data folder that is a table's, and whatever a work left behind.
    [[nodiscard]] QStringList sobras() const
    {
        QStringList nombres;
        for (const auto &una : fs::recursive_directory_iterator(carpeta.path())) {
            const std::string extension = una.path().extension().string();
            if (una.is_regular_file() && extension != ".DBF" && extension != ".MDX" && extension != ".JNL" &&
                extension != ".ini" && extension != ".INI" && extension != ".zip" && extension != ".lck")
                nombres << QString::fromStdString(una.path().filename().string());
        }
        return nombres;
    }

    std::unique_ptr<TOficina> oficina;
    std::unique_ptr<TVentanaTablas> ventana;
    QString copia = ruta() + QStringLiteral("/copia ñ.zip");
};

TEST_F(TablasTest, EveryTableIsListedCheckedAndMended)
{
    EXPECT_EQ(lista()->rowCount(), 6);
    EXPECT_EQ(celda("ZENTRA", "CLIENTES", 2), "120");
    pulsa("BComprobar");
    EXPECT_EQ(mensaje(), "Todas las tablas comprobadas están bien.");
    EXPECT_EQ(estado("NOTARIO1", "AGENDA_N"), "Está bien.");

    // An index that tells another hour than its line, met while somebody else works and nobody is alone to
    // mend it.
    DbfTable otro(oficina->Aliases);
    otro.setDatabaseName("NOTARIO1");
    PreparaTablaAgendaN(otro);
    otro.open();
    const fs::path indice = fichero("NOTARIO1", "AGENDA_N.MDX");
    std::string bytes = support::readFile(indice);
    const auto clave = bytes.find("2026112010:00");
    ASSERT_NE(clave, std::string::npos);
    support::writeFile(indice, bytes.replace(clave, 8, "20270101"));
    fs::remove(fichero("NOTARIO2", "AGENDA_N.DBF"));
    pulsa("BComprobar");
    EXPECT_EQ(mensaje(), "Hay 2 tablas con problemas: se dice en sus líneas.");
    EXPECT_TRUE(estado("NOTARIO1", "AGENDA_N").contains("FECHA"))
        << estado("NOTARIO1", "AGENDA_N").toStdString();
    EXPECT_EQ(estado("ZENTRA", "CLIENTES"), "Está bien.");
    pulsa("BReparar");
    EXPECT_EQ(estado("NOTARIO1", "AGENDA_N"), "El índice se ha rehecho. Está bien.");
    EXPECT_FALSE(estado("NOTARIO2", "AGENDA_N").isEmpty());
}

// "Compact all" changes what is listed, so nothing is that lies elsewhere.
TEST_F(TablasTest, ATableThatALinkLeadsToIsNoneOfTheOffices)
{
    const support::TempFolder fuera;
    fs::copy_file(fichero("ZENTRA", "EMPLEADO.DBF"), fuera.path() / "AJENA.DBF");
    fs::create_symlink(fuera.path() / "AJENA.DBF", fichero("ZENTRA", "AJENA.DBF"));
    fs::create_symlink("EMPLEADO.DBF", fichero("ZENTRA", "DENTRO.DBF"));
    QStringList nombres;
    for (const TTablaOficina &una : TablasDeLaOficina(oficina->Config))
        nombres << una.Nombre;
    EXPECT_FALSE(nombres.contains("AJENA")) << nombres.join(' ').toStdString();
    EXPECT_TRUE(nombres.contains("DENTRO")) << "within its folder it leads nowhere else";
}

TEST_F(TablasTest, WhatWasSetAsideIsListedAndCanBeRemoved)
{
    auto *const apartados = ventana->findChild<QTableWidget *>("TVApartados");
    EXPECT_FALSE(apartados->isVisible()) << "there is none";
    const support::TempFolder fuera;
    support::writeFile(fuera.path() / "ajeno", "x");
    const fs::path diario = fichero("NOTARIO1", "AGENDA_N.JNL.APARTADO-1");
    const fs::path tabla = fichero("ZENTRA", "CLIENTES.DBF.ANTERIOR-12");
    for (const fs::path &uno :
         {diario, tabla, fichero("ZENTRA", "NOTAS.APARTADO-1"), fichero("ZENTRA", "X.DBF.ANTERIOR-")})
        support::writeFile(uno, "datos de un cliente");
    fs::create_symlink(fuera.path() / "ajeno", fichero("ZENTRA", "EMPLEADO.DBF.ANTERIOR-1"));
    pulsa("BComprobar"); // what a work sets aside is there when it ends
    ASSERT_TRUE(apartados->isVisible());
    ASSERT_EQ(apartados->rowCount(), 2);
    EXPECT_EQ(apartados->item(0, 1)->text(), "AGENDA_N.JNL.APARTADO-1");
    EXPECT_EQ(apartados->item(1, 0)->text(), "ZENTRA");
    EXPECT_EQ(apartados->item(1, 1)->text(), "CLIENTES.DBF.ANTERIOR-12");

    pulsa("BQuitar");
    EXPECT_TRUE(mensaje().startsWith("Elija en la lista de lo apartado")) << mensaje().toStdString();
    apartados->selectRow(0);
    enDialogo([](QWidget *caja) { pulsaEn(caja, "&No"); });
    pulsa("BQuitar");
    EXPECT_TRUE(fs::exists(diario));
    enDialogo([](QWidget *caja) { pulsaEn(caja, "&Sí"); });
    pulsa("BQuitar");
    EXPECT_FALSE(fs::exists(diario));
    EXPECT_TRUE(fs::exists(tabla));
    ASSERT_EQ(apartados->rowCount(), 1);
    apartados->selectAll();
    enDialogo([](QWidget *caja) { pulsaEn(caja, "&Sí"); });
    pulsa("BQuitar");
    EXPECT_FALSE(fs::exists(tabla));
    EXPECT_FALSE(apartados->isVisible());
    EXPECT_EQ(support::readFile(fuera.path() / "ajeno"), "x");
    EXPECT_TRUE(fs::exists(fichero("ZENTRA", "NOTAS.APARTADO-1")));
}

TEST_F(TablasTest, PackingDropsDeletedLinesUnlessOthersHaveTheTable)
{
    auto tabla = clientes();
    tabla->first();
    tabla->remove();
    pulsa("BCompactar");
    EXPECT_TRUE(estado("ZENTRA", "CLIENTES").startsWith("La está usando otro puesto"));
    EXPECT_EQ(estado("ZENTRA", "EMPLEADO"), "No había líneas borradas.");
    tabla.reset();
    pulsa("BCompactar");
    EXPECT_EQ(estado("ZENTRA", "CLIENTES"), "Líneas borradas que se han quitado: 1.");
    EXPECT_EQ(celda("ZENTRA", "CLIENTES", 2), "119");
    EXPECT_EQ(clientes()->rowCount(), 119);
}

TEST_F(TablasTest, ACopyComesBackWholeOrNotAtAll)
{
    auto otro = clientes(); // a copy is made while others work
    otro->first();
    const QString nombre = otro->field(u"NOMBRE").asText();
    ventana->HazCopia(copia);
    espera();
    EXPECT_TRUE(mensaje().startsWith("Copia hecha y leída de nuevo: 6 tablas")) << mensaje().toStdString();
    EXPECT_EQ(sobras(), QStringList());

    otro->edit();
    otro->field(u"NOMBRE").setText("Cambiado después");
    otro->post();
    AnadeLinea(*otro, {999, "Añadido después"});
    DbfTable oficiales(oficina->Aliases);
    PreparaTablaEmpleados(oficiales, "ZENTRA");
    oficiales.open();
    oficiales.remove();
    oficiales.close();

    restaura(copia);
    EXPECT_TRUE(mensaje().startsWith("No se ha restaurado nada. Otro puesto tiene abierta una tabla"))
        << mensaje().toStdString();
    EXPECT_EQ(otro->rowCount(), 121);
    oficiales.open();
    EXPECT_EQ(oficiales.rowCount(), 6) << "none of the tables, not even those that were free";
    oficiales.close();
    otro.reset();

    fs::remove(fichero("NOTARIO1", "AGENDA_N.DBF")); // one is lost with its index, one is no table any more
    fs::remove(fichero("NOTARIO1", "AGENDA_N.MDX"));
    support::writeFile(fichero("NOTARIO2", "AGENDA_N.DBF"), std::string(500, 'x'));
    restaura(copia);
    EXPECT_EQ(mensaje(), "Se han restaurado 6 tablas.");
    EXPECT_EQ(sobras(), QStringList());
    otro = clientes();
    EXPECT_EQ(otro->rowCount(), 120);
    EXPECT_TRUE(otro->locate({{"NOMBRE", nombre}}, dataset::SearchMode::exact)) << "by the index, too";
    oficiales.open();
    EXPECT_EQ(oficiales.rowCount(), 7);
    otro.reset();
    oficiales.close();
    pulsa("BComprobar");
    EXPECT_EQ(mensaje(), "Todas las tablas comprobadas están bien.");
    for (const char *alias : {"NOTARIO1", "NOTARIO2"}) {
        DbfTable agenda(oficina->Aliases);
        agenda.setDatabaseName(alias);
        PreparaTablaAgendaN(agenda);
        agenda.open();
        EXPECT_TRUE(agenda.setRange({{"FECHA", support::Hoy}}, {{"FECHA", support::Hoy}}));
        EXPECT_EQ(agenda.rowCount(), 24);
    }
}

TEST_F(TablasTest, ACopyOfMoreNotariesOffersThem)
{
    const support::TempFolder otra;
    crea(otra.path(), 3);
    TConfiguracion suya(QString::fromStdString(otra.path().string()));
    const auto hecha = CopiaTablas(TablasDeLaOficina(suya), suya.GetPath(), copia);
    TTrabajo trabajo;
    ASSERT_TRUE(hecha(trabajo).Mensaje.startsWith("Copia hecha"));
    const QList<TNotario> nuestros{{"Don Nuestro", "NOTARIO1"}, {"Propia", "NOTARIO2"}};
    oficina->Config.SetNotarios(nuestros, oficina->Config.Notarios());

    for (const char *acepta : {"&No", "&Sí"}) {
        enDialogo([&](QWidget *caja) {
            const QString dice = qobject_cast<QMessageBox *>(caja)->informativeText();
            EXPECT_TRUE(dice.contains("Puede ser la copia de otra oficina")) << dice.toStdString();
            EXPECT_TRUE(dice.contains("y aquí «Don Nuestro»")) << dice.toStdString();
            enDialogo([&](QWidget *oferta) {
                EXPECT_TRUE(qobject_cast<QMessageBox *>(oferta)->text().contains("notarios de la copia"));
                pulsaEn(oferta, acepta);
            });
            pulsaEn(caja, "&Sí");
        });
        ventana->Restaura(copia);
        espera();
        EXPECT_EQ(mensaje().contains("esta oficina no las tiene: NOTARIO3/AGENDA_N."), acepta[1] == 'N')
            << mensaje().toStdString();
    }
    EXPECT_EQ(mensaje(), "Se han restaurado 7 tablas.");
    EXPECT_EQ(oficina->Config.Notarios(), suya.Notarios());
    EXPECT_EQ(support::readFile(fichero("NOTARIO3", "AGENDA_N.DBF")).size(),
              support::readFile(otra.path() / "NOTARIO3" / "AGENDA_N.DBF").size());

    // What the copy lacks is said, too.
    DbfTable sola(oficina->Aliases);
    sola.setDatabaseName("ZENTRA");
    sola.setTableName("OTRA");
    sola.createFile(CamposEmpleados());
    ventana = std::make_unique<TVentanaTablas>(*oficina, nullptr);
    ventana->show();
    espera();
    restaura(copia);
    EXPECT_EQ(mensaje(),
              "Se han restaurado 7 tablas. No están en la copia, y siguen como estaban: ZENTRA/OTRA.");
    EXPECT_EQ(estado("ZENTRA", "OTRA"), "No está en la copia.");
    EXPECT_EQ(estado("ZENTRA", "CLIENTES"), "Restaurada.");
}

TEST_F(TablasTest, StoppingCountsOnlyWhileSomethingCanBeStopped)
{
    ventana->HazCopia(copia);
    espera();
    const QList<TTablaOficina> tablas = TablasDeLaOficina(oficina->Config);
    for (const int paradaEn : {0, 50, 60, 61, 80}) {
        const auto tabla = clientes();
        tabla->first();
        tabla->remove();
        tabla->close();
        TTrabajo trabajo;
        bool sinVuelta = false;
        QObject::connect(&trabajo, &TTrabajo::avanza, &trabajo, [&](int porCiento) {
            if (porCiento >= paradaEn)
                trabajo.Para();
        });
        QObject::connect(&trabajo, &TTrabajo::sinVuelta, &trabajo, [&] { sinVuelta = true; });
        const TFinal final = RestauraTablas(tablas, tablas, copia)(trabajo);
        EXPECT_EQ(sinVuelta, paradaEn > 60) << paradaEn;
        EXPECT_EQ(final.Cancelado, !sinVuelta) << final.Mensaje.toStdString();
        tabla->open();
        EXPECT_EQ(tabla->rowCount() == 120, sinVuelta) << paradaEn;
    }
}

TEST_F(TablasTest, WhatFailedWhileTheWindowWasClosingIsStillSaid)
{
    ventana->HazCopia(copia);
    espera();
    const auto otro = clientes();
    enDialogo([](QWidget *caja) { pulsaEn(caja, "&Sí"); });
    ventana->Restaura(copia);
    const auto *const cancelar = ventana->findChild<QPushButton *>("BCancelar");
    ASSERT_TRUE(QTest::qWaitFor([&] { return !cancelar->isEnabled(); }, 20000));
    EXPECT_TRUE(ventana->EnMarcha()) << "it waits for the table of the other workstation";
    ventana->reject();
    espera();
    EXPECT_TRUE(ventana->isVisible());
    EXPECT_TRUE(mensaje().contains("Otro puesto tiene abierta una tabla")) << mensaje().toStdString();
    ventana->reject();
    EXPECT_FALSE(ventana->isVisible());
}

TEST_F(TablasTest, ADamagedCopyIsRefusedBeforeAnythingIsTouched)
{
    ventana->HazCopia(copia);
    espera();
    const fs::path zip(copia.toStdU16String());
    const std::string buena = support::readFile(zip);
    const std::string antes = support::readFile(fichero("ZENTRA", "CLIENTES.DBF"));
    std::string volteada = buena;
    for (std::size_t i = buena.size() / 3; i < buena.size() / 3 + 20; ++i)
        volteada[i] = static_cast<char>(~volteada[i]);
    const std::pair<std::string, const char *> casos[] = {
        {volteada, "dañada"},
        {buena.substr(0, buena.size() / 2), "dañada"},
        {"no es un zip", "no es una copia"},
    };
    for (const auto &[bytes, dice] : casos) {
        support::writeFile(zip, bytes);
        restaura(copia);
        EXPECT_TRUE(mensaje().contains(dice)) << mensaje().toStdString();
        EXPECT_EQ(support::readFile(fichero("ZENTRA", "CLIENTES.DBF")), antes);
    }
    // A copy of a table with other fields, and one of another office.
    fs::copy_file(fichero("ZENTRA", "EMPLEADO.DBF"), carpeta.path() / "otra.tmp");
    const auto sigue = [](int) { return true; };
    ASSERT_TRUE(
        upkeep::writeArchive(zip, {{"ZENTRA/CLIENTES.DBF", carpeta.path() / "otra.tmp"}}, sigue).ok());
    restaura(copia);
    EXPECT_TRUE(mensaje().contains("otros campos")) << mensaje().toStdString();
    ASSERT_TRUE(upkeep::writeArchive(zip, {{"../../fuera.DBF", carpeta.path() / "otra.tmp"}}, sigue).ok());
    restaura(copia);
    EXPECT_TRUE(mensaje().contains("ninguna tabla de esta oficina")) << mensaje().toStdString();
    EXPECT_EQ(support::readFile(fichero("ZENTRA", "CLIENTES.DBF")), antes);
    fs::remove(carpeta.path() / "otra.tmp");
    EXPECT_EQ(sobras(), QStringList());
}

TEST_F(TablasTest, StoppedACopyLeavesTheOneThatWasThere)
{
    const fs::path zip(copia.toStdU16String());
    support::writeFile(zip, "la de ayer");
    for (const int paradaEn : {0, 30, 50}) {
        const auto estado = upkeep::writeArchive(zip, {{"A", fichero("NOTARIO1", "AGENDA_N.DBF")}},
                                                 [&](int porCiento) { return porCiento < paradaEn; });
        EXPECT_FALSE(estado.ok()) << paradaEn;
        EXPECT_TRUE(support::readFile(zip) == "la de ayer") << paradaEn;
    }
    // By its button, and by closing the window.
    QTimer::singleShot(0, ventana.get(), [this] {
        QTest::mouseClick(ventana->findChild<QPushButton *>("BCancelar"), Qt::LeftButton);
    });
    ventana->HazCopia(copia);
    espera();
    if (mensaje().startsWith("Se ha cancelado")) { // it may have been quicker than the click
        EXPECT_TRUE(support::readFile(zip) == "la de ayer");
    }
    ventana->HazCopia(copia);
    QTest::keyClick(ventana->windowHandle(), Qt::Key_Escape);
    EXPECT_TRUE(QTest::qWaitFor([this] { return !ventana->isVisible(); }, 20000));
    EXPECT_FALSE(ventana->EnMarcha());
    EXPECT_EQ(sobras(), QStringList());
}

} // namespace
