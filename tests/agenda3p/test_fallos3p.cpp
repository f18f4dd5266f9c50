// The engine of several tables while one of them cannot be read or locked.

#include "agenda/LineaAgenda.h"
#include "dataset/DatabaseError.h"
#include "tests/agenda3p/Motor3P.h"
#include "tests/driver/FileCalls.h"

#include <cerrno>

namespace
{

using support::Hoy;
using support::Manana;
namespace filecalls = driver::filecalls;

class Fallos3PTest : public support::Motor3PTest
{
protected:
    Fallos3PTest()
    {
        oficina.Aliases.setLockPatience(std::chrono::milliseconds(0));
        filecalls::watch(oficina.carpetaDe("NOTARIO2"), false);
        TServicios servicios = Servicios();
        servicios.Mensaje = &mensajes;
        m_servicios = std::make_unique<TServiciosInstalados>(servicios);
    }
    ~Fallos3PTest() override { filecalls::unwatch(); }
    /// The days of the lines that a notary's table shows.
    [[nodiscard]] QList<QDate> dias(int notario)
    {
        QList<QDate> dias;
        dataset::DataSet &tabla = *motor().Tabla(notario);
        tabla.refresh();
        for (int fila = 0; fila < tabla.rowCount(); ++fila) {
            if (const QDate dia = TLineaAgenda::DeFila(tabla, fila).Fecha; !dias.contains(dia))
                dias << dia;
        }
        return dias;
    }
    support::MensajesApuntados mensajes;

private:
    std::unique_ptr<TServiciosInstalados> m_servicios;
};

TEST_F(Fallos3PTest, ANewSheetLeavesNoTableWithoutADay)
{
    oficina.ponAjustes(9, 9, 30);
    enTodas(Hoy, {"09:00"});
    motor();
    int fallidas = 0;
    for (const filecalls::Call llamada : {filecalls::Call::read, filecalls::Call::lock}) {
        bool met = true;
        for (int numero = 1; met; ++numero) {
            const QDate nueva = Manana.addDays(numero + (llamada == filecalls::Call::lock ? 1000 : 0));
            motor().RangoPorFecha(Hoy);
            filecalls::fail(filecalls::Fault{llamada, numero, EIO, true, false});
            bool hecha = true;
            try {
                motor().InsertaDia(nueva, false);
            } catch (const dataset::EDatabaseError &) {
                hecha = false;
            }
            met = filecalls::faultMet();
            filecalls::fail({});
            fallidas += hecha ? 0 : 1;
            for (int notario = 1; notario <= 3; ++notario) {
                SCOPED_TRACE(testing::Message() << "notary " << notario << ", call "
                                                << static_cast<int>(llamada) << " number " << numero);
                EXPECT_TRUE(motor().Tabla(notario)->hasRange());
                const QList<QDate> vistos = dias(notario);
                EXPECT_LE(vistos.size(), 1);
                EXPECT_TRUE(notario == 2 || vistos.isEmpty() || vistos.first() == nueva);
                EXPECT_TRUE(!hecha || !vistos.isEmpty());
            }
        }
    }
    EXPECT_GT(fallidas, 0) << "nothing has been tried";
}

} // namespace
