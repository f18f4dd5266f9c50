// The office's data kept by hand: lists and cards worked with keys, the tables read afterwards.

#include "agenda/AgendaNDM.h"
#include "dataset/DatabaseError.h"
#include "host/MantenimientoDatos.h"
#include "host/Nif.h"
#include "host/TablasOficina.h"
#include "host/VentanaOficina.h"
#include "tests/host/Oficina.h"

#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>

namespace
{

using dataset::DbfTable;

class MantenimientoTest : public support::OficinaTest
{
protected:
    void SetUp() override
    {
        OficinaTest::SetUp();
        oficina = std::make_unique<TOficina>(ruta(), support::Hoy);
        oficina->Aliases.setLockPatience(std::chrono::milliseconds(100)); // who waits here is to be refused
    }
    [[nodiscard]] std::unique_ptr<DbfTable> clientes() const
    {
        auto tabla = std::make_unique<DbfTable>(oficina->Aliases);
        PreparaTablaClientes(*tabla, QStringLiteral("ZENTRA"));
        tabla->open();
        return tabla;
    }
    static void rellena(QWidget *ficha, const QString &campo, const QString &texto)
    {
        auto *const edicion = ficha->findChild<QLineEdit *>(campo);
        ASSERT_TRUE(edicion) << campo.toStdString();
        edicion->setFocus();
        edicion->selectAll();
        teclea(ficha, texto);
    }
    static void contesta(QWidget *caja, const QString &boton)
    {
        for (QPushButton *const uno : caja->findChildren<QPushButton *>()) {
            if (uno->text() == boton)
                return QTest::mouseClick(uno, Qt::LeftButton);
        }
        ADD_FAILURE() << "no such button: " << boton.toStdString();
    }
    /// A message box that must come next, and the key that answers it.
    static void enCaja(const QString &dice, Qt::Key respuesta)
    {
        enDialogo([=](QWidget *delante) {
            const auto *const caja = qobject_cast<QMessageBox *>(delante);
            ASSERT_TRUE(caja) << delante->windowTitle().toStdString();
            EXPECT_TRUE(caja->text().contains(dice)) << caja->text().toStdString();
            tecla(delante, respuesta);
        });
    }

    std::unique_ptr<TOficina> oficina;
};

TEST_F(MantenimientoTest, AClientIsAddedChangedAndDeleted)
{
    enDialogo([this](QWidget *lista) {
        EXPECT_EQ(lista->windowTitle(), "Clientes");
        enDialogo([](QWidget *ficha) {
            EXPECT_EQ(ficha->windowTitle(), "Ficha del cliente");
            enCaja("Falta el nombre del cliente.", Qt::Key_Return);
            tecla(ficha, Qt::Key_Return);
            EXPECT_EQ(ficha->focusWidget()->objectName(), "NOMBRE");
            rellena(ficha, "NOMBRE", " Zacarías Ñíguez ");
            rellena(ficha, "NIF", "00000000A");
            enCaja("El NIF «00000000A» no es correcto.", Qt::Key_Escape);
            tecla(ficha, Qt::Key_Return);
            EXPECT_TRUE(ficha->isVisible());
            rellena(ficha, "NIF", "00000000T");
            tecla(ficha, Qt::Key_Return);
        });
        tecla(lista, Qt::Key_Insert);
        EXPECT_EQ(enLista(lista), "Zacarías Ñíguez");
        const auto leidos = clientes();
        ASSERT_TRUE(leidos->locate({{"NOMBRE", "Zacarías Ñíguez"}}, dataset::SearchMode::exact));
        EXPECT_EQ(leidos->field(u"CODIGO").asInteger(), 121);
        EXPECT_EQ(leidos->field(u"NIF").asText(), "00000000T");

        enDialogo([](QWidget *ficha) {
            EXPECT_EQ(ficha->findChild<QLineEdit *>("CODIGO")->text(), "121");
            rellena(ficha, "TELEFONO", "600123456");
            tecla(ficha, Qt::Key_Return);
        });
        tecla(lista, Qt::Key_Return);
        leidos->refresh();
        EXPECT_EQ(leidos->field(u"TELEFONO").asText(), "600123456");

        enDialogo([](QWidget *ficha) { // given up: asked first
            rellena(ficha, "TELEFONO", "0");
            enCaja("sin guardar los cambios", Qt::Key_Escape);
            tecla(ficha, Qt::Key_Escape);
            EXPECT_TRUE(ficha->isVisible());
            enDialogo([](QWidget *caja) { contesta(caja, "&Sí"); });
            tecla(ficha, Qt::Key_Escape);
        });
        tecla(lista, Qt::Key_Return);

        enCaja("¿Desea borrar el cliente «Zacarías Ñíguez»?", Qt::Key_Escape);
        tecla(lista, Qt::Key_Delete);
        leidos->refresh();
        EXPECT_EQ(leidos->field(u"TELEFONO").asText(), "600123456") << "declined";
        enDialogo([](QWidget *caja) {
            EXPECT_EQ(qobject_cast<QMessageBox *>(caja)->informativeText(), "Ninguna cita lo nombra.");
            contesta(caja, "&Sí");
        });
        tecla(lista, Qt::Key_Delete);
        leidos->refresh();
        EXPECT_FALSE(leidos->locate({{"NOMBRE", "Zacarías Ñíguez"}}, dataset::SearchMode::exact));
        tecla(lista, Qt::Key_Escape);
    });
    MantieneClientes(*oficina, nullptr);
}

TEST_F(MantenimientoTest, DeleteBelongsToTheTextBeingSearchedFor)
{
    const int antes = clientes()->rowCount();
    enDialogo([](QWidget *lista) {
        auto *const busqueda = lista->findChild<QLineEdit *>("EBusqueda");
        teclea(lista, "mar");
        busqueda->setCursorPosition(1);
        tecla(lista, Qt::Key_Delete);
        EXPECT_EQ(busqueda->text(), "mr");
        tecla(lista, Qt::Key_Escape);
    });
    MantieneClientes(*oficina, nullptr);
    EXPECT_EQ(clientes()->rowCount(), antes);
}

TEST_F(MantenimientoTest, ALineOfAnotherWorkstationIsLeftAlone)
{
    const auto otro = clientes();
    otro->first();
    otro->edit();
    enDialogo([&](QWidget *lista) {
        for (const Qt::Key orden : {Qt::Key_Return, Qt::Key_Delete}) {
            QTimer::singleShot(600, qApp, [] { // after the lock's time-out
                QWidget *const caja = QApplication::activeModalWidget();
                ASSERT_TRUE(qobject_cast<QMessageBox *>(caja));
                EXPECT_TRUE(
                    qobject_cast<QMessageBox *>(caja)->text().startsWith("La línea la tiene otro puesto"));
                tecla(caja, Qt::Key_Return);
            });
            tecla(lista, orden);
        }
        otro->cancel();
        const QString nombre = enLista(lista);
        otro->remove();
        enCaja("Otro puesto ya ha borrado esta línea.", Qt::Key_Return);
        tecla(lista, Qt::Key_Return);
        EXPECT_NE(enLista(lista), nombre) << "gone from the list";
        otro->append();
        otro->field(u"NOMBRE").setText("Aarón Abad");
        otro->post();
        tecla(lista, Qt::Key_F5);
        EXPECT_EQ(lista->findChild<QTableView *>("TVLista")->model()->index(0, 0).data(), "Aarón Abad");
        tecla(lista, Qt::Key_Escape);
    });
    MantieneClientes(*oficina, nullptr);
}

TEST_F(MantenimientoTest, DeletingAClientSaysHowManyAppointmentsNameHim)
{
    const auto tabla = clientes();
    tabla->first();
    const qint64 codigo = tabla->field(u"CODIGO").asInteger();
    int citas = 0;
    for (const char *alias : {"NOTARIO1", "NOTARIO2"}) {
        DbfTable agenda(oficina->Aliases);
        PreparaTablaAgendaN(agenda);
        agenda.setDatabaseName(alias);
        agenda.open();
        for (agenda.first(); !agenda.eof(); agenda.next())
            citas += agenda.field(u"CODCLIENTE").asInteger() == codigo ? 1 : 0;
    }
    ASSERT_GT(citas, 1);
    enDialogo([&](QWidget *lista) {
        enDialogo([&](QWidget *caja) {
            EXPECT_TRUE(qobject_cast<QMessageBox *>(caja)->informativeText().startsWith(
                QStringLiteral("Lo nombran %1 citas;").arg(citas)));
            tecla(caja, Qt::Key_Escape);
        });
        tecla(lista, Qt::Key_Delete);
        tecla(lista, Qt::Key_Escape);
    });
    MantieneClientes(*oficina, nullptr);
}

TEST_F(MantenimientoTest, TwoWorkstationsThatAddAtOnceHaveTwoCodes)
{
    enDialogo([this](QWidget *lista) {
        enDialogo([this](QWidget *ficha) {
            rellena(ficha, "NOMBRE", "Pablo Sáez"); // taken: of clerks no two have one name
            enCaja("Ya hay un oficial que se llama «Pablo Sáez».", Qt::Key_Return);
            tecla(ficha, Qt::Key_Return);
            rellena(ficha, "NOMBRE", "Nuevo Oficial");
            DbfTable otro(oficina->Aliases);
            PreparaTablaEmpleados(otro, QStringLiteral("ZENTRA"));
            otro.open();
            AnadeLinea(otro, {8, "Del otro puesto", "Oficial"});
            tecla(ficha, Qt::Key_Return);
        });
        tecla(lista, Qt::Key_Insert);
        tecla(lista, Qt::Key_Escape);
    });
    MantieneOficiales(*oficina, nullptr);
    DbfTable oficiales(oficina->Aliases);
    PreparaTablaEmpleados(oficiales, QStringLiteral("ZENTRA"));
    oficiales.open();
    ASSERT_TRUE(oficiales.locate({{"NOMBRE", "Nuevo Oficial"}}, dataset::SearchMode::exact));
    EXPECT_EQ(oficiales.field(u"CODIGO").asInteger(), 9);
}

TEST_F(MantenimientoTest, ACodeIsNeverGivenAgain)
{
    const auto leidos = clientes();
    // By another program: only the appointments still tell that the code has been somebody's.
    ASSERT_TRUE(leidos->locate({{"CODIGO", 120}}, dataset::SearchMode::exact));
    leidos->remove();
    DbfTable agenda(oficina->Aliases);
    PreparaTablaAgendaN(agenda);
    agenda.setDatabaseName("NOTARIO2");
    agenda.open();
    agenda.first();
    agenda.edit();
    agenda.field(u"CODCLIENTE").setInteger(120);
    agenda.post();
    agenda.close();
    const auto anade = [](QWidget *lista, const QString &nombre) {
        enDialogo([nombre](QWidget *ficha) {
            rellena(ficha, "NOMBRE", nombre);
            tecla(ficha, Qt::Key_Return);
        });
        tecla(lista, Qt::Key_Insert);
        EXPECT_EQ(enLista(lista), nombre);
    };
    enDialogo([&](QWidget *lista) {
        anade(lista, "Zoilo Primero");
        enDialogo([](QWidget *caja) { contesta(caja, "&Sí"); });
        tecla(lista, Qt::Key_Delete);
        anade(lista, "Zoilo Segundo");
        tecla(lista, Qt::Key_Escape);
    });
    MantieneClientes(*oficina, nullptr);
    leidos->refresh();
    EXPECT_FALSE(leidos->locate({{"NOMBRE", "Zoilo Primero"}}, dataset::SearchMode::exact));
    ASSERT_TRUE(leidos->locate({{"NOMBRE", "Zoilo Segundo"}}, dataset::SearchMode::exact));
    EXPECT_EQ(leidos->field(u"CODIGO").asInteger(), 122) << "121 was the first one's";
    EXPECT_EQ(oficina->Config.MayorCodigo("CLIENTES"), 122);
}

TEST_F(MantenimientoTest, ANewNotaryDoesNotTakeARemovedOnesAgendaUnasked)
{
    oficina->Config.SetNotarios({{"Uno", "NOTARIO1"}}, oficina->Config.Notarios());
    oficina->LeeAliases(); // the second's folder stays
    enDialogo([](QWidget *lista) {
        enDialogo([](QWidget *ficha) {
            EXPECT_EQ(ficha->findChild<QLineEdit *>("ALIAS")->text(), "NOTARIO3");
            rellena(ficha, "NOMBRE", "Nueva Notaria");
            for (const char *alias : {"CONFIG", "NUL", "COM1"}) {
                rellena(ficha, "ALIAS", alias);
                enCaja("está reservado", Qt::Key_Return);
                tecla(ficha, Qt::Key_Return);
            }
            rellena(ficha, "ALIAS", "NOTARIO2");
            enDialogo([](QWidget *caja) {
                EXPECT_TRUE(qobject_cast<QMessageBox *>(caja)->text().contains("agenda que ya hay"));
                enDialogo([](QWidget *otraVez) { // the card, as it was typed
                    EXPECT_EQ(otraVez->findChild<QLineEdit *>("NOMBRE")->text(), "Nueva Notaria");
                    EXPECT_EQ(otraVez->findChild<QLineEdit *>("ALIAS")->text(), "NOTARIO2");
                    rellena(otraVez, "ALIAS", "NUEVA");
                    tecla(otraVez, Qt::Key_Return);
                });
                tecla(caja, Qt::Key_Return); // no is the default
            });
            tecla(ficha, Qt::Key_Return);
        });
        tecla(lista, Qt::Key_Insert);
        tecla(lista, Qt::Key_Escape);
    });
    MantieneNotarios(*oficina, nullptr);
    EXPECT_EQ(oficina->Config.AliasNotario(2), "NUEVA");
    EXPECT_THROW(oficina->Config.SetNotarios({}, {}), dataset::EDatabaseError) << "changed by others";
    EXPECT_EQ(oficina->Config.GetnCuantos(), 2);
}

TEST_F(MantenimientoTest, ANotaryComesWithHisTableAndLeavesItBehind)
{
    const QStringList antes = oficina->Config.GetNotarios();
    enDialogo([&](QWidget *lista) {
        EXPECT_FALSE(lista->findChild<QLineEdit *>("EBusqueda")->isVisible());
        enDialogo([](QWidget *ficha) {
            EXPECT_EQ(ficha->findChild<QLineEdit *>("ALIAS")->text(), "NOTARIO3");
            rellena(ficha, "NOMBRE", "Nueva Notaria");
            for (const auto &[alias, queja] :
                 {std::pair("ZENTRA", "ya está en uso"), {"../X", "letras sin acento"}}) {
                rellena(ficha, "ALIAS", alias);
                enCaja(queja, Qt::Key_Return);
                tecla(ficha, Qt::Key_Return);
            }
            rellena(ficha, "ALIAS", "tercera");
            tecla(ficha, Qt::Key_Return);
        });
        tecla(lista, Qt::Key_Insert);
        EXPECT_EQ(enLista(lista), "Nueva Notaria");
        enCaja("¿Desea quitar al notario", Qt::Key_Escape);
        tecla(lista, Qt::Key_Delete);
        tecla(lista, Qt::Key_Escape);
    });
    MantieneNotarios(*oficina, nullptr);
    EXPECT_EQ(oficina->Config.GetNotarios(), antes + QStringList{"Nueva Notaria"});
    EXPECT_EQ(oficina->Config.AliasNotario(3), "TERCERA");
    EXPECT_TRUE(std::filesystem::exists(carpeta.path() / "TERCERA" / "AGENDA_N.DBF"));
    EXPECT_TRUE(oficina->Aliases.contains("TERCERA"));
    TVentanaOficina ventana(*oficina);
    ventana.show();
    enDialogo([](QWidget *agenda) {
        EXPECT_TRUE(agenda->isVisible());
        tecla(agenda, Qt::Key_Escape);
    });
    EXPECT_TRUE(ventana.AbreAgenda());

    enDialogo([](QWidget *lista) {
        enDialogo([](QWidget *caja) { contesta(caja, "&Sí"); });
        tecla(lista, Qt::Key_Delete); // the first one: the others move up
        tecla(lista, Qt::Key_Escape);
    });
    MantieneNotarios(*oficina, nullptr);
    EXPECT_EQ(oficina->Config.GetNotarios(), (QStringList{antes.at(1), "Nueva Notaria"}));
    EXPECT_EQ(oficina->Config.AliasNotario(1), "NOTARIO2");
    EXPECT_TRUE(std::filesystem::exists(carpeta.path() / "NOTARIO1" / "AGENDA_N.DBF"));
    EXPECT_FALSE(oficina->Aliases.contains("NOTARIO1"));
}

TEST_F(MantenimientoTest, TheTaxNumbersCheckLetter)
{
    for (const char *bueno : {"00000000T", "12345678Z", "12345678z", "X1234567L", "A58818501", "Q2826000H"})
        EXPECT_TRUE(EsNif(bueno)) << bueno;
    for (const char *malo : {"12345678A", "1234567Z", "", "X1234567A", "A58818502", "I1234567L", "123456789"})
        EXPECT_FALSE(EsNif(malo)) << malo;
}

} // namespace
