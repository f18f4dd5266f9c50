// What a table finds in the middle of a working day reaches the clerk, once, and when nothing is in its way.

#include "tests/agendan/Ventana.h"
#include "tests/support/AvisoDeTabla.h"

namespace
{

using support::AvisoDeTabla;
using support::Lunes;
using support::VentanaTest;

class AvisosTest : public VentanaTest
{
protected:
    AvisosTest()
    {
        oficina.linea(1, Lunes, "09:00", "Firma");
        oficina.linea(2, Lunes, "09:00", "Poder");
    }
    void esperaAviso(const std::function<void()> &entretanto = {})
    {
        oficina.Mensaje.espera({AvisoDeTabla::texto("AGENDA_N", "NOTARIO2"), " ATENCIÓN:", 0, QString(),
                                support::TCaja::porSuTexto, entretanto});
    }
    [[nodiscard]] dataset::DataSet &segunda() const { return *motor->Tabla(2); }
    AvisoDeTabla aviso{oficina.carpetaDe("NOTARIO2"), "AGENDA_N.DBF"};
};

TEST_F(AvisosTest, ComeWithTheRefreshAndNoSecondTime)
{
    enVentana([&] {
        pestanas().setCurrentIndex(1);
        aviso.prepara(segunda());
        esperaAviso([] { QTest::qWait(30); }); // the timer goes on under the box
        refresca();
        EXPECT_FALSE(oficina.Mensaje.pendientes());
        refresca();
    });
}

TEST_F(AvisosTest, ComeWhenTheCardIsClosed)
{
    enVentana([&] {
        bool abierta = false;
        esperaFicha(TOperacion::modificar, [&](TClassAgendaN &) {
            abierta = true;
            aviso.descubre(segunda());
            refresca();
            abierta = false;
        });
        esperaAviso([&] { EXPECT_FALSE(abierta); });
        tecla(Qt::Key_Space);
        QCoreApplication::processEvents();
        EXPECT_FALSE(oficina.Mensaje.pendientes());
    });
}

TEST_F(AvisosTest, WaitUntilACellIsAccepted)
{
    enVentana([&] {
        pulsa(0);
        teclea("Ac");
        aviso.descubre(segunda());
        refresca();
        teclea("ta");
        esperaAviso([&] { EXPECT_EQ(oficina.dia(1, Lunes), QStringList{"09:00 Acta N"}); });
        tecla(Qt::Key_Return);
        QCoreApplication::processEvents();
        EXPECT_FALSE(oficina.Mensaje.pendientes());
    });
}

TEST_F(AvisosTest, FollowARefusalAndPrecedeTheEnd)
{
    enVentana([&] {
        const auto otro = oficina.agenda(1);
        otro->edit();
        pulsa(0);
        const auto sonDosCajas = [&] { aviso.descubre(segunda()); };
        oficina.Mensaje.espera(
            {"No se ha podido modificar la cita de las 09:00.\nOtro puesto está usando la línea",
             " ATENCIÓN:", 0, QString(), support::TCaja::porSuTexto, sonDosCajas});
        esperaAviso();
        teclea("A");
        QCoreApplication::processEvents();
        EXPECT_FALSE(oficina.Mensaje.pendientes());
    });
    enVentana([&] {
        aviso.descubre(segunda());
        esperaAviso([&] { EXPECT_TRUE(ficha->isVisible()); });
        tecla(Qt::Key_Escape);
        EXPECT_FALSE(oficina.Mensaje.pendientes());
        EXPECT_FALSE(ficha->isVisible());
    });
}

} // namespace
