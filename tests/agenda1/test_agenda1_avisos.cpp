// What the table finds in the middle of a working day reaches the clerk in both windows, once.

#include "tests/agenda1/VentanaUnica.h"
#include "tests/support/AvisoDeTabla.h"

namespace
{

using support::AvisoDeTabla;
using support::Dia;

class AvisosUnicaTest : public support::VentanaUnicaTest
{
protected:
    void esperaAviso(const std::function<void()> &entretanto = {})
    {
        oficina.Mensaje.espera({AvisoDeTabla::texto("AGENDA", "DB"), " ATENCIÓN:", 0, QString(),
                                support::TCaja::porSuTexto, entretanto});
    }
    AvisoDeTabla aviso{oficina.carpetaDe("DB"), "AGENDA.DBF"};
};

TEST_F(AvisosUnicaTest, FollowAnAcceptedChange)
{
    ajustes();
    linea({Dia, "09:00", "Firma"});
    enVentana([&] {
        tecla(Qt::Key_Down);
        comando("Modificar");
        teclea("Acta");
        pulsa("BAceptar");
        EXPECT_FALSE(editando());
        aviso.descubre(motor->Tabla());
        comando("Modificar");
        esperaAviso();
        QCoreApplication::processEvents();
        EXPECT_FALSE(oficina.Mensaje.pendientes());
        pulsa("BAceptar");
        EXPECT_FALSE(editando());
    });
}

TEST_F(AvisosUnicaTest, ComeWithTheRefreshOfTwoNotaries)
{
    ajustes("0910", "30", {"Ana Núñez", "Benito Ruiz"});
    linea({Dia, "09:00", "Firma"});
    enVentana([&] {
        const auto refresca = [&reloj = pieza<QTimer>("Timer1")] { dispara(reloj); };
        aviso.descubre(motor->Tabla());
        esperaAviso(refresca);
        refresca();
        EXPECT_FALSE(oficina.Mensaje.pendientes());
        refresca();
    });
}

} // namespace
