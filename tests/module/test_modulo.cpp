// The module as the host loads it: what it brings, what it refuses, and nothing left of it afterwards.

#include "dataset/DatabaseError.h"
#include "host/Modulos.h"
#include "tests/support/HostDePrueba.h"
#include "tests/support/OficinaDePrueba.h"

#include <QtCore/QStringList>
#include <QtCore/QTimer>
#include <QtWidgets/QApplication>
#include <QtWidgets/QWidget>

namespace
{

const QDate Dia{2026, 11, 16};

class Registro : public IRegistro
{
public:
    void RegistraUnidad(const QString &unidad) override
    {
        if (unidad == Falla)
            throw dataset::EDatabaseError(QStringLiteral("no cabe"));
        Unidades << unidad;
    }
    void LiberaUnidad(const QString &unidad) override
    {
        ASSERT_FALSE(Unidades.isEmpty());
        EXPECT_EQ(Unidades.takeLast(), unidad);
    }
    QStringList Unidades;
    QString Falla; ///< the unit that cannot be taken
};

class ModuloTest : public testing::Test
{
protected:
    ModuloTest()
        : oficina(2)
    {
        oficina.Config.Cuantos = 2;
        for (int notario = 1; notario <= 2; ++notario)
            oficina.linea(notario, Dia, "09:00", "Poder");
        oficina.Reloj.Dia = Dia;
    }
    [[nodiscard]] TServicios servicios()
    {
        return {&oficina.Mensaje, &oficina.Rut,     &oficina.Rvarias, &oficina.Config,
                &oficina.Reloj,   &oficina.Aliases, &registro};
    }

    support::OficinaDePrueba oficina;
    Registro registro;
};

TEST_F(ModuloTest, LoadedUsedAndUnloadedAHundredTimes)
{
    QString fichero;
    for (int vez = 0; vez < 100; ++vez) {
        TModuloAgenda modulo(servicios());
        fichero = modulo.Fichero();
        EXPECT_TRUE(registro.Unidades.contains("ClaseAgendaN"));
        EXPECT_FALSE(modulo->Registra(servicios())) << "registered twice";
        {
            const auto agenda = modulo->CreaAgendaN(nullptr, nullptr, {});
            ASSERT_TRUE(agenda);
            agenda->SincronizarTablasAFecha(Dia, true);
            EXPECT_FALSE(modulo->Libera()) << "released under an agenda that lives";
            QTimer::singleShot(0, qApp, [] { QApplication::activeModalWidget()->close(); });
            agenda->FichaAgendaN();
        }
        {
            const auto agenda = modulo->CreaAgenda3P(nullptr, Dia, {});
            EXPECT_EQ(agenda->TablaActual().rowCount(), 1);
            EXPECT_EQ(modulo->ColorSalida(), 0x00C6C6FFU);
        }
        ASSERT_TRUE(modulo->Libera());
        EXPECT_TRUE(registro.Unidades.isEmpty());
        EXPECT_FALSE(modulo->CreaAgendaN(nullptr, nullptr, {})) << "made after the release";
        ASSERT_TRUE(modulo->Registra(servicios()));
    }
    EXPECT_TRUE(registro.Unidades.isEmpty());
    QPluginLoader cargador(fichero);
    EXPECT_FALSE(cargador.isLoaded()) << "the library is still there";
}

TEST_F(ModuloTest, AFailingRegistrationThrowsNothingAndLeavesNothing)
{
    TModuloAgenda modulo(servicios());
    const QStringList unidades = registro.Unidades;
    ASSERT_GT(unidades.size(), 2);
    ASSERT_TRUE(modulo->Libera());
    for (const QString &falla : {unidades.first(), unidades.at(2), unidades.last()}) {
        registro.Falla = falla;
        bool registrado = true;
        EXPECT_NO_THROW(registrado = modulo->Registra(servicios()));
        EXPECT_FALSE(registrado);
        EXPECT_TRUE(registro.Unidades.isEmpty());
        EXPECT_FALSE(modulo->CreaAgendaN(nullptr, nullptr, {}));
    }
    registro.Falla.clear();
    EXPECT_TRUE(modulo->Registra(servicios()));
    EXPECT_EQ(registro.Unidades, unidades);
}

TEST_F(ModuloTest, WhatIsNotTheModuleIsRefusedWithAReason)
{
    const struct {
        QString fichero;
        QString dice;
    } casos[] = {
        {QStringLiteral(MODULO_DE_OTRA_VERSION),
         QStringLiteral("es de la versión %1 y este programa trabaja con la %2")
             .arg(IZenAgenda::VersionInterfaz + 1)
             .arg(IZenAgenda::VersionInterfaz)},
        {QString::fromStdString((oficina.carpetaDe("NOTARIO1") / "AGENDA_N.DBF").string()),
         QStringLiteral("no es el módulo esperado")},
        {QStringLiteral("/no/existe.so"), QStringLiteral("no es el módulo esperado")},
    };
    for (const auto &caso : casos) {
        try {
            const TModuloAgenda modulo(servicios(), caso.fichero);
            ADD_FAILURE() << caso.fichero.toStdString();
        } catch (const dataset::EDatabaseError &error) {
            EXPECT_TRUE(error.text().contains(caso.dice)) << error.text().toStdString();
        }
    }
    TServicios sinReloj = servicios();
    sinReloj.Reloj = nullptr;
    EXPECT_THROW(TModuloAgenda{sinReloj}, dataset::EDatabaseError);
    EXPECT_TRUE(registro.Unidades.isEmpty());
}

} // namespace
