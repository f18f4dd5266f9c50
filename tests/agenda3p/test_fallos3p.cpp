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

TEST_F(Fallos3PTest, ATableThatCannotBeReadKeepsNoOtherFromItsSheet)
{
    oficina.ponAjustes(9, 9, 30);
    enTodas(Hoy, {"09:00"});
    motor().RangoPorFecha(Manana);
    filecalls::fail(filecalls::Fault{filecalls::Call::read, 1, EIO, true, false});
    EXPECT_THROW(motor().InsertaDia(Manana, false), dataset::EDatabaseError);
    filecalls::fail({});
    EXPECT_EQ(oficina.dia(1, Manana).size(), 2);
    EXPECT_EQ(oficina.dia(3, Manana).size(), 2);
}

TEST_F(Fallos3PTest, CompletingADayAddsNoLineWithoutAnHour)
{
    enTodas(Hoy, {"09:00", "10:00"});
    motor();
    bool met = true;
    for (int numero = 1; met; ++numero) {
        const auto otro = oficina.agenda(2);
        otro->last();
        otro->edit();
        otro->field(u"CONCEPTO").setText(QString::number(numero));
        otro->post();
        filecalls::fail(filecalls::Fault{filecalls::Call::read, numero, EIO, true, false});
        motor().Completar(Hoy);
        met = filecalls::faultMet();
        filecalls::fail({});
        for (const int notario : {1, 3}) {
            const auto tabla = oficina.agenda(notario);
            for (int fila = 0; fila < tabla->rowCount(); ++fila)
                ASSERT_FALSE(TextoDeFila(*tabla, fila, TCampoLinea::hora).isEmpty())
                    << "notary " << notario << ", read " << numero << ", line " << fila + 1 << " of "
                    << tabla->rowCount();
        }
    }
}

// What the first notary has lost is named also where the second one's table ends the work.
TEST_F(Fallos3PTest, LostSlotsAreNamedAlsoWhenAnotherTableFails)
{
    oficina.ponAjustes(9, 9, 30);
    enTodas(Hoy, {"09:00"});
    motor().RangoPorFecha(Manana);
    const auto otro = oficina.agenda(1);
    otro->beginGroup();
    filecalls::fail(filecalls::Fault{filecalls::Call::read, 1, EIO, true, false});
    EXPECT_THROW(motor().InsertaDia(Manana, false), dataset::EDatabaseError);
    filecalls::fail({});
    otro->dropGroup();
    EXPECT_EQ(mensajes.Textos.filter("09:00").size(), 1);
    EXPECT_EQ(mensajes.Textos.filter("09:30").size(), 1);
}

// Whatever call fails, once or from then on: it ends, and who has lost his line is named.
TEST_F(Fallos3PTest, ASlotWhoseDeletionFailsIsNamedWhereItHasGone)
{
    int fallidas = 0;
    for (const bool dura : {false, true}) {
        bool met = true;
        for (int numero = 1; met; ++numero) {
            SCOPED_TRACE(testing::Message() << "call " << numero << (dura ? " and all others" : ""));
            ASSERT_LT(numero, 200);
            enTodas(Hoy, {"09:00"});
            THueco hueco;
            TAgenda3P uno(nullptr, Hoy, {});
            for (int notario = 1; notario <= 3; ++notario)
                hueco << TLineaDeHueco{notario, uno.Tabla(notario)->seen()};
            filecalls::fail(filecalls::Fault{std::nullopt, numero, EIO, dura, false});
            const TRespuesta borrado = uno.BorrarHueco(hueco, false);
            met = filecalls::faultMet();
            filecalls::fail({});
            fallidas += borrado ? 0 : 1;
            const QString &causa = borrado.Causa();
            EXPECT_EQ(causa.startsWith("Benito Ruiz: "), !borrado);
            EXPECT_EQ(oficina.dia(1, Hoy).isEmpty(), borrado || causa.endsWith("de Ana Núñez."));
            EXPECT_TRUE(oficina.dia(2, Hoy).isEmpty() == borrado || causa.contains("a medias"));
            EXPECT_EQ(oficina.dia(3, Hoy).isEmpty(), bool(borrado));
            for (int notario = 1; notario <= 3; ++notario) {
                EXPECT_FALSE(uno.Tabla(notario)->isEditing());
                for (const auto otro = oficina.agenda(notario); !otro->isEmpty(); otro->first())
                    otro->remove();
            }
        }
    }
    EXPECT_GT(fallidas, 0) << "nothing has been tried";
}

} // namespace
