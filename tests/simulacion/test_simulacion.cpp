// The simulation itself: the same seed is the same day, days go well, and a planted fault is found.

#include "tests/simulacion/Faltas.h"
#include "tests/simulacion/Jornada.h"

#include <gtest/gtest.h>

namespace
{

using namespace simulacion;

constexpr int Puestos = 2;
constexpr int PasosDelDia = 400;

/// Before main() makes the application: of the toolkit's dispatchers the one that says before it sleeps.
const bool g_sinGlib = qputenv("QT_NO_GLIB", "1");

class Simulacion : public testing::Test
{
protected:
    Simulacion()
    {
        EXPECT_TRUE(g_sinGlib);
        PreparaProcesos();
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    }
    ~Simulacion() override
    {
        Planta(TFalta::ninguna);
        qInstallMessageHandler(nullptr);
    }
    static std::string Que(const TResultado &resultado)
    {
        return resultado.Fallo
                   ? (resultado.Fallo->Regla + QStringLiteral(": ") + resultado.Fallo->Que).toStdString()
                   : std::string();
    }
};

TEST_F(Simulacion, TheSameSeedIsTheSameDay)
{
    for (const TCual cual : Agendas) {
        const TResultado una = TJornada::Corre(cual, 5, 200, Puestos);
        const TResultado otra = TJornada::Corre(cual, 5, 200, Puestos);
        EXPECT_EQ(una.Pasos, otra.Pasos);
        EXPECT_EQ(una.Cifras.Huella, otra.Cifras.Huella);
        EXPECT_EQ(TJornada::Repite(cual, una.Pasos, Puestos).Cifras.Huella, una.Cifras.Huella);
        EXPECT_NE(TJornada::Corre(cual, 6, 200, Puestos).Cifras.Huella, una.Cifras.Huella);
    }
}

TEST_F(Simulacion, DaysGoWell)
{
    for (const TCual cual : Agendas) {
        for (quint64 semilla = 1; semilla <= 4; ++semilla) {
            const TResultado resultado = TJornada::Corre(cual, semilla, PasosDelDia, Puestos);
            EXPECT_FALSE(resultado.Fallo) << "--agenda " << NombreDe(cual).toStdString() << " --semilla "
                                          << semilla << ' ' << Que(resultado);
        }
    }
}

TEST_F(Simulacion, APlantedFaultIsFound)
{
    constexpr int Jornadas = 45; // within so many
    const struct {
        TCual cual;
        TFalta falta;
        QString reglas; ///< by which it may show
    } casos[] = {
        {TCual::multi, TFalta::borraSinVer, "abd"},   {TCual::multi, TFalta::celdaSinVer, "ab"},
        {TCual::multi, TFalta::rellenaSinVer, "abd"}, {TCual::multi, TFalta::sigueALaIda, "c"},
        {TCual::multi, TFalta::rangoAMedias, "c"},    {TCual::multi, TFalta::fechaVieja, "c"},
        {TCual::multi, TFalta::mascaraCorta, "f"},    {TCual::multi, TFalta::sinGrupo, "ad"},
        {TCual::unica, TFalta::celdaSinVer, "a"},     {TCual::unica, TFalta::rangoAMedias, "c"},
        {TCual::doble, TFalta::sinFundir, "a"},       {TCual::doble, TFalta::horaVieja, "b"},
        {TCual::conjunta, TFalta::borraSinVer, "a"},  {TCual::conjunta, TFalta::sinGrupo, "d"},
        {TCual::conjunta, TFalta::diaAMedias, "c"},   {TCual::doble, TFalta::quedaLoNegado, "cd"},
        {TCual::doble, TFalta::diaAMedias, "c"},
    };
    for (const auto &[cual, falta, reglas] : casos) {
        const std::string nombre =
            NombreDe(cual).toStdString() + ' ' + NombresDeFaltas.at(static_cast<std::size_t>(falta));
        Planta(falta);
        TResultado resultado;
        for (int semilla = 1; semilla <= Jornadas && !resultado.Fallo; ++semilla)
            resultado = TJornada::Corre(cual, static_cast<quint64>(semilla), PasosDelDia, Puestos);
        ASSERT_TRUE(resultado.Fallo) << nombre;
        EXPECT_TRUE(reglas.contains(resultado.Fallo->Regla)) << nombre << ' ' << Que(resultado);
    }
}

TEST_F(Simulacion, AScreenThatIsUpToDateShowsItsLines)
{
    std::vector<std::unique_ptr<TTablaCruda>> tablas;
    tablas.push_back(std::make_unique<TTablaCruda>(QString(), TCual::multi)); // a table without lines
    const TJuez juez(TCual::multi, tablas, 1);
    const QString dia = QStringLiteral("16/11/2026");
    for (const bool fueraDeHora : {false, true}) {
        TPantalla pantalla;
        pantalla.Fecha = dia;
        pantalla.FueraDeHora = fueraDeHora;
        EXPECT_FALSE(juez.AlDia(pantalla));
        pantalla.Filas.append(TFila{{1, 7}, {}});
        pantalla.FilaActual = 0;
        EXPECT_TRUE(juez.AlDia(pantalla)) << "a row that stays blank";
        pantalla.Filas.front().Linea.Fecha = QStringLiteral("20261116");
        EXPECT_NE(juez.AlDia(pantalla).has_value(), fueraDeHora) << "a line that the table does not have";
        pantalla.FilaActual = -1;
        EXPECT_TRUE(juez.AlDia(pantalla)) << "keys on a line that is not seen";
    }
}

TEST_F(Simulacion, AFailingDayIsCutShort)
{
    Planta(TFalta::mascaraCorta);
    TResultado resultado;
    for (quint64 semilla = 1; !resultado.Fallo && semilla < 40; ++semilla)
        resultado = TJornada::Corre(TCual::multi, semilla, PasosDelDia, Puestos);
    ASSERT_TRUE(resultado.Fallo);
    const TResultado corta = TJornada::Recorta(TCual::multi, resultado, Puestos, 200);
    ASSERT_TRUE(corta.Fallo);
    EXPECT_EQ(corta.Fallo->Regla, resultado.Fallo->Regla);
    EXPECT_LE(corta.Pasos.size(), 4) << "a date field that is emptied, and a digit";
}

} // namespace
