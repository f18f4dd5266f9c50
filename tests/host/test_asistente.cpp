// The assistant that leads to a new office, worked with keys; what it makes, and that it leaves nothing else.

#include "agenda/AgendaNDM.h"
#include "agenda/ClaseConfAgendaN.h"
#include "dataset/DatabaseError.h"
#include "host/AsistenteOficina.h"
#include "host/OficinaNueva.h"
#include "host/Opciones.h"
#include "host/TablasOficina.h"
#include "host/VentanaOficina.h"
#include "tests/host/Oficina.h"

#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPlainTextEdit>
#include <QtWidgets/QPushButton>

namespace
{

namespace fs = std::filesystem;
using support::Hoy;

class AsistenteTest : public support::OficinaTest
{
protected:
    void SetUp() override
    {
        fs::remove_all(carpeta.path());
        vigila();
    }
    [[nodiscard]] QString nueva() const { return ruta() + QStringLiteral("/notarias/nueva"); }
    static void pulsa(TAsistenteOficina &asistente, QWizard::WizardButton cual)
    {
        QTest::mouseClick(asistente.button(cual), Qt::LeftButton);
        QCoreApplication::processEvents();
    }
    static void escribe(QWidget &asistente, const char *donde, const QString &texto)
    {
        auto *const control = asistente.findChild<QWidget *>(donde);
        ASSERT_TRUE(control) << donde;
        control->setFocus();
        teclea(&asistente, texto);
    }
    /// Goes on, and is told why not.
    static void seQueja(TAsistenteOficina &asistente, const QString &dice,
                        QWizard::WizardButton boton = QWizard::NextButton)
    {
        const int pagina = asistente.currentId();
        enDialogo([dice](QWidget *delante) {
            const auto *const caja = qobject_cast<QMessageBox *>(delante);
            ASSERT_TRUE(caja);
            EXPECT_TRUE(caja->text().contains(dice)) << caja->text().toStdString();
            tecla(delante, Qt::Key_Return);
        });
        pulsa(asistente, boton);
        EXPECT_EQ(asistente.currentId(), pagina);
    }
    [[nodiscard]] TOpciones demo() const
    {
        TOpciones opciones;
        opciones.Datos = nueva();
        opciones.CrearDemo = true;
        opciones.Hoy = Hoy;
        return opciones;
    }
    /// To the last page.
    void rellena(TAsistenteOficina &asistente) const
    {
        asistente.show();
        EXPECT_EQ(asistente.findChild<QLineEdit *>("ECarpeta")->text(), nueva());
        pulsa(asistente, QWizard::NextButton);
        escribe(asistente, "ENotario1", "Ángela Núñez");
        escribe(asistente, "ENotario3", "José Peláez");
        pulsa(asistente, QWizard::NextButton);
        escribe(asistente, "CBHoraInicio", "10");
        asistente.findChild<QWidget *>("SEIntervalo")->setFocus();
        tecla(&asistente, Qt::Key_A, Qt::ControlModifier);
        teclea(&asistente, "20");
        pulsa(asistente, QWizard::NextButton);
        escribe(asistente, "MOficiales", "Inés Muñiz");
        tecla(&asistente, Qt::Key_Return);
        teclea(&asistente, "  Luis  Peña ");
        pulsa(asistente, QWizard::NextButton);
        EXPECT_TRUE(asistente.findChild<QLabel *>("LResumen")->text().contains("Inés Muñiz, Luis Peña"));
        EXPECT_FALSE(fs::exists(carpeta.path())) << "nothing is written before the last step";
    }
};

TEST_F(AsistenteTest, LeadsToAnOfficeThatOpens)
{
    TAsistenteOficina asistente(nueva(), Hoy);
    rellena(asistente);
    pulsa(asistente, QWizard::FinishButton);
    EXPECT_EQ(asistente.result(), QDialog::Accepted);

    TOficina oficina(asistente.Carpeta(), Hoy);
    EXPECT_EQ(oficina.Config.GetNotarios(), (QStringList{"Ángela Núñez", "José Peláez"}));
    EXPECT_EQ(oficina.Config.GetAgenda_FechaInicio(), Hoy);
    TClassConfAgendaN ajustes;
    EXPECT_EQ(ajustes.GetHoraInicio(), 10);
    EXPECT_EQ(ajustes.GetHoraFin(), 20);
    EXPECT_EQ(ajustes.GetIntervalo(), 20);
    dataset::DbfTable oficiales(oficina.Aliases);
    PreparaTablaEmpleados(oficiales, oficina.Config.GetAliasZentra());
    oficiales.open();
    EXPECT_EQ(oficiales.rowCount(), 2);
    EXPECT_EQ(oficiales.textAt(1, oficiales.fieldIndex(u"NOMBRE")), "Luis Peña");

    TVentanaOficina ventana(oficina);
    ventana.show();
    for (const auto &[abre, titulo] : {std::pair(&TVentanaOficina::AbreAgenda, "Agenda del día:"),
                                       {&TVentanaOficina::AbreAgendaUnica, ""}}) {
        enDialogo([titulo = QString(titulo)](QWidget *agenda) {
            if (!titulo.isEmpty()) {
                EXPECT_EQ(agenda->windowTitle(), titulo);
            }
            tecla(agenda, Qt::Key_Escape); // of the single-table agenda, the question about the day's sheet
        });
        if (titulo[0] == '\0') {
            QTimer::singleShot(400, &ventana, [] { // not in the next test
                if (QWidget *const agenda = QApplication::activeModalWidget())
                    tecla(agenda, Qt::Key_Escape);
            });
        }
        EXPECT_TRUE((ventana.*abre)());
    }
    dataset::DbfTable agenda(oficina.Aliases);
    agenda.setDatabaseName("NOTARIO2");
    PreparaTablaAgendaN(agenda);
    agenda.open();
    EXPECT_EQ(agenda.rowCount(), 33) << "the sheet of today, from 10:00 to 20:40 each 20 minutes";
    EXPECT_EQ(agenda.textAt(0, agenda.fieldIndex(u"HORA")), "10:00");
    for (const auto &entrada : fs::directory_iterator(nueva().toStdString()))
        EXPECT_FALSE(entrada.path().filename().string().starts_with(".")) << entrada.path();
}

TEST_F(AsistenteTest, GivenUpItLeavesNothing)
{
    for (const QWizard::WizardButton boton : {QWizard::CancelButton, QWizard::FinishButton}) {
        TAsistenteOficina asistente(nueva(), Hoy);
        rellena(asistente);
        if (boton == QWizard::FinishButton) { // somebody else was quicker with the folder
            fs::create_directories(nueva().toStdString());
            support::writeFile(fs::path(nueva().toStdString()) / "otra.txt", "x");
            seQueja(asistente, "no está vacía", boton);
            EXPECT_EQ(std::distance(fs::directory_iterator(nueva().toStdString()), {}), 1);
            continue;
        }
        pulsa(asistente, boton);
        EXPECT_EQ(asistente.result(), QDialog::Rejected);
        EXPECT_FALSE(fs::exists(carpeta.path()));
    }
}

TEST_F(AsistenteTest, AFailureHalfWayLeavesTheFolderAsItWas)
{
    const auto falla = [](const QString &oculta) {
        TOficinaNueva oficina;
        oficina.Notarios = {"Uno"};
        CreaTablasDeOficina(oculta, oficina);
        throw dataset::EDatabaseError(QStringLiteral("no queda sitio"));
    };
    EXPECT_THROW(CreaEnSuSitio(nueva(), falla), dataset::EDatabaseError);
    EXPECT_FALSE(fs::exists(carpeta.path())) << "the folders on the way, too";
    fs::create_directories(nueva().toStdString());
    EXPECT_THROW(CreaEnSuSitio(nueva(), falla), dataset::EDatabaseError);
    EXPECT_TRUE(fs::is_empty(nueva().toStdString()));
}

TEST_F(AsistenteTest, WhatNobodyPutThereIsNotInTheWay)
{
    const fs::path sitio = nueva().toStdString();
    for (const char *resto : {".oficina-AbCdEf", ".oficina-GhIjKl", "lost+found"})
        fs::create_directories(sitio / resto / "ZENTRA");
    fs::last_write_time(sitio / ".oficina-AbCdEf", fs::file_time_type::clock::now() - std::chrono::hours(2));
    support::writeFile(sitio / ".DS_Store", "x");
    support::writeFile(sitio / "Desktop.ini", "x");
    support::writeFile(sitio / ".oficina-fich", "x"); // somebody's
    EXPECT_TRUE(PorQueNoSirve(nueva()).contains("«.oficina-fich»")) << PorQueNoSirve(nueva()).toStdString();
    fs::rename(sitio / ".oficina-fich", sitio / "carta.txt");
    fs::create_directory(sitio / "fotos");
    EXPECT_TRUE(PorQueNoSirve(nueva()).contains("contiene «carta.txt» y 1 más"));
    fs::remove(sitio / "carta.txt");
    fs::remove(sitio / "fotos");
    EXPECT_EQ(PorQueNoSirve(nueva()), "");
    PreparaDatos(demo());
    EXPECT_EQ(TConfiguracion(nueva()).GetnCuantos(), 3);
    EXPECT_FALSE(fs::exists(sitio / ".oficina-AbCdEf")) << "of an interrupted start";
    EXPECT_TRUE(fs::exists(sitio / ".oficina-GhIjKl")) << "it may be another workstation's, at this moment";
}

// The name of a folder that is cleared away may be given by anybody, and lead anywhere.
TEST_F(AsistenteTest, OnlyWhatAnInterruptedStartHasMadeIsCleared)
{
    const fs::path sitio = nueva().toStdString();
    const fs::path ajena = carpeta.path() / "ajena";
    fs::create_directories(ajena / "ZENTRA");
    fs::create_directories(sitio);
    support::writeFile(ajena / "carta.txt", "de Ana");
    support::writeFile(ajena / "ZENTRA" / "CLIENTES.DBF", "de Ana");
    const auto haceTiempo = fs::file_time_type::clock::now() - std::chrono::hours(2);
    fs::create_directory_symlink(ajena, sitio / ".oficina-abcdef");
    fs::last_write_time(ajena, haceTiempo);
    EXPECT_TRUE(PorQueNoSirve(nueva()).contains("«.oficina-abcdef»")) << PorQueNoSirve(nueva()).toStdString();
    EXPECT_THROW(PreparaDatos(demo()), dataset::EDatabaseError);
    EXPECT_EQ(support::readFile(ajena / "carta.txt"), "de Ana");
    fs::remove(sitio / ".oficina-abcdef");

    // A real one, in which somebody has put more, also by links in the places of what is cleared.
    const fs::path real = sitio / ".oficina-ghijkl";
    fs::create_directories(real / "NOTARIO1");
    fs::create_directories(real / "CONFIG");
    for (const char *const nombre : {"NOTARIO1/AGENDA_N.DBF", "NOTARIO1/AGENDA_N.MDX", "CONFIG/VARIOS.INI",
                                     "oficina.ini", "oficina.ini.lck", "NOTARIO1/notas.txt"})
        support::writeFile(real / nombre, "x");
    fs::create_directory_symlink(ajena / "ZENTRA", real / "ZENTRA");
    fs::create_symlink(ajena / "carta.txt", real / "NOTARIO1" / "OTRA.DBF");
    fs::last_write_time(real, haceTiempo);
    PreparaDatos(demo());
    EXPECT_EQ(support::readFile(ajena / "carta.txt"), "de Ana");
    EXPECT_EQ(support::readFile(ajena / "ZENTRA" / "CLIENTES.DBF"), "de Ana");
    EXPECT_FALSE(fs::exists(real / "NOTARIO1" / "AGENDA_N.DBF"));
    EXPECT_FALSE(fs::exists(real / "CONFIG"));
    EXPECT_FALSE(fs::exists(real / "oficina.ini"));
    EXPECT_EQ(support::readFile(real / "NOTARIO1" / "notas.txt"), "x");
    EXPECT_EQ(TConfiguracion(nueva()).GetnCuantos(), 3);
}

TEST_F(AsistenteTest, ABadCommandLineIsRefusedAndTouchesNothing)
{
    const std::pair<QStringList, const char *> malas[] = {
        {{"--fecha", "31/02/2026"}, "--fecha: «31/02/2026»"},
        {{"--fecha", ""}, "--fecha"},
        {{"--anyos", "abc"}, "--anyos: «abc»"},
        {{"--anyos", "-1"}, "--anyos: «-1»"},
        {{"--anyos", "101"}, "de 0 a 100"},
        {{"--no-existe"}, "no-existe"},
        {{"--datos"}, "datos"},
        {{"carpeta suelta"}, "«carpeta suelta»"},
    };
    for (const auto &[linea, dice] : malas) {
        const TLineaLeida leida = LeeOpciones(QStringList{"oficina"} + linea);
        EXPECT_FALSE(leida.Opciones) << dice;
        EXPECT_FALSE(leida.Ayuda);
        EXPECT_TRUE(leida.Texto.contains(dice)) << leida.Texto.toStdString();
    }
    const TLineaLeida buena =
        LeeOpciones({"oficina", "--solo-datos", "--anyos", "2", "--fecha", "20/11/2026", "--datos", "x"});
    ASSERT_TRUE(buena.Opciones) << buena.Texto.toStdString();
    EXPECT_EQ(buena.Opciones->Anyos, 2);
    EXPECT_EQ(buena.Opciones->Hoy, Hoy);
    EXPECT_EQ(buena.Opciones->Datos, "x");
    EXPECT_TRUE(buena.Opciones->SinNadie());
    EXPECT_TRUE(LeeOpciones({"oficina", "-h"}).Ayuda);

    // A demo that cannot be made leaves the folder as it was.
    const fs::path sitio = nueva().toStdString();
    fs::create_directories(sitio);
    support::writeFile(sitio / "carta.txt", "x");
    EXPECT_THROW(PreparaDatos(demo()), dataset::EDatabaseError);
    EXPECT_EQ(std::distance(fs::directory_iterator(sitio), {}), 1);
}

TEST_F(AsistenteTest, WhatCannotBeIsSaidOnItsPage)
{
    fs::create_directories(carpeta.path());
    support::writeFile(carpeta.path() / "fichero", "x");
    TAsistenteOficina asistente(nueva(), Hoy);
    asistente.show();
    auto *const donde = asistente.findChild<QLineEdit *>("ECarpeta");
    const std::pair<QString, const char *> carpetas[] = {
        {"  ", "Falta el nombre"},
        {ruta(), "no está vacía"},
        {ruta() + "/fichero/dentro", "no es una carpeta"},
#ifdef Q_OS_LINUX
        {"/proc/oficina", "No se puede escribir en la carpeta «/proc»"},
#endif
    };
    for (const auto &[ruta, queja] : carpetas) {
        donde->setText(ruta);
        seQueja(asistente, queja);
    }
    donde->setText(nueva());
    pulsa(asistente, QWizard::NextButton);
    seQueja(asistente, "un notario al menos");
    escribe(asistente, "ENotario1", "Ana Vidal");
    escribe(asistente, "ENotario2", "ana  vidal");
    seQueja(asistente, "está dos veces");
    asistente.findChild<QLineEdit *>("ENotario2")->clear();
    pulsa(asistente, QWizard::NextButton);
    escribe(asistente, "CBHoraFin", "08");
    seQueja(asistente, "La última hora");
    tecla(&asistente, Qt::Key_End);
    pulsa(asistente, QWizard::NextButton);
    escribe(asistente, "MOficiales", QString(41, u'x'));
    seQueja(asistente, "demasiado largo");
    EXPECT_FALSE(fs::exists(nueva().toStdString()));
}

TEST_F(AsistenteTest, AnOfficeThatIsThereIsOpened)
{
    crea(nueva().toStdString());
    const std::string antes = support::readFile(fs::path(nueva().toStdString()) / "oficina.ini");
    TAsistenteOficina asistente(nueva(), Hoy);
    asistente.show();
    enDialogo([](QWidget *caja) { tecla(caja, Qt::Key_Return); });
    pulsa(asistente, QWizard::NextButton);
    EXPECT_EQ(asistente.result(), QDialog::Accepted);
    EXPECT_EQ(asistente.Carpeta(), nueva());
    EXPECT_EQ(support::readFile(fs::path(nueva().toStdString()) / "oficina.ini"), antes);
}

TEST_F(AsistenteTest, WithInventedDataTheNamesAreTheOnesTyped)
{
    TAsistenteOficina asistente(nueva(), Hoy);
    rellena(asistente);
    asistente.findChild<QWidget *>("RBVacia")->setFocus();
    tecla(&asistente, Qt::Key_Down);
    pulsa(asistente, QWizard::FinishButton);
    const TConfiguracion config(nueva());
    EXPECT_EQ(config.GetNotarios(), (QStringList{"Ángela Núñez", "José Peláez"}));
    const dataset::Aliases aliases = config.Aliases();
    dataset::DbfTable agenda(aliases);
    agenda.setDatabaseName("NOTARIO2");
    PreparaTablaAgendaN(agenda);
    agenda.open();
    EXPECT_TRUE(agenda.setRange({{"FECHA", Hoy}}, {{"FECHA", Hoy}}));
    EXPECT_EQ(agenda.rowCount(), 33);
    for (int fila = 0; fila < agenda.rowCount(); ++fila)
        EXPECT_TRUE((QStringList{"", "Inés Muñiz", "Luis Peña"})
                        .contains(agenda.textAt(fila, agenda.fieldIndex(u"OFICIAL"))));
}

} // namespace
