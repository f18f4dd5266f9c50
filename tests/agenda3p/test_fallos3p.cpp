// The engine of several tables while one of them cannot be read or locked.

#include "agenda/LineaAgenda.h"
#include "dataset/DatabaseError.h"
#include "tests/agenda3p/Motor3P.h"
#include "tests/support/Fallos.h"

namespace
{

using driver::filecalls::Call;
using support::Fallos;
using support::Hoy;
using support::Manana;

class Fallos3PTest : public support::Motor3PTest
{
protected:
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
    support::Fallos fallos{oficina, 2};
};

TEST_F(Fallos3PTest, ANewSheetLeavesNoTableWithoutADay)
{
    oficina.ponAjustes(9, 9, 30);
    enTodas(Hoy, {"09:00"});
    motor();
    int fallidas = 0;
    for (const Call llamada : {Call::read, Call::lock}) {
        bool met = true;
        for (int numero = 1; met; ++numero) {
            const QDate nueva = Manana.addDays(numero + (llamada == Call::lock ? 1000 : 0));
            motor().RangoPorFecha(Hoy);
            bool hecha = true;
            met = Fallos::durante(llamada, numero, true, [&] {
                try {
                    motor().InsertaDia(nueva, false);
                } catch (const dataset::EDatabaseError &) {
                    hecha = false;
                }
            });
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

// The second notary's table cannot be read and the first one's is held: what that one lacks is named, and the
// third has his sheet.
TEST_F(Fallos3PTest, ATableThatCannotBeReadKeepsNoOtherFromItsSheet)
{
    oficina.ponAjustes(9, 9, 30);
    enTodas(Hoy, {"09:00"});
    motor().RangoPorFecha(Manana);
    const auto otro = oficina.agenda(1);
    otro->beginGroup();
    Fallos::durante(Call::read, 1, true,
                    [this] { EXPECT_THROW(motor().InsertaDia(Manana, false), dataset::EDatabaseError); });
    otro->dropGroup();
    EXPECT_EQ(oficina.dia(3, Manana).size(), 2);
    EXPECT_EQ(fallos.mensajes.Textos.filter("09:00").size(), 1);
    EXPECT_EQ(fallos.mensajes.Textos.filter("09:30").size(), 1);
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
        met = Fallos::durante(Call::read, numero, true, [this] { motor().Completar(Hoy); });
        for (const int notario : {1, 3}) {
            const auto tabla = oficina.agenda(notario);
            for (int fila = 0; fila < tabla->rowCount(); ++fila)
                ASSERT_FALSE(TextoDeFila(*tabla, fila, TCampoLinea::hora).isEmpty())
                    << "notary " << notario << ", read " << numero << ", line " << fila + 1 << " of "
                    << tabla->rowCount();
        }
    }
}

// Whatever read fails: every line of the day is marked, or its hour named.
TEST_F(Fallos3PTest, AnAbsenceHalfWayNamesTheHoursItHasNotMarked)
{
    int aMedias = 0;
    for (const bool dura : {false, true}) {
        bool met = true;
        for (int numero = 1; met; ++numero) {
            SCOPED_TRACE(testing::Message() << "read " << numero << (dura ? " and all others" : ""));
            ASSERT_LT(numero, 200);
            const QDate dia = Manana.addDays(numero + (dura ? 1000 : 0));
            enTodas(dia, {"09:00", "10:00", "11:00", "12:00"});
            motor().RangoPorFecha(dia);
            motor().PonNotarioActual(2);
            TRespuesta hecho = true;
            met = Fallos::durante(Call::read, numero, dura, [&] { hecho = motor().Ausente(); });
            int marcadas = 0;
            for (const QString &linea : oficina.dia(2, dia)) {
                const bool marcada = linea.contains("[AUSENTE]");
                marcadas += marcada ? 1 : 0;
                EXPECT_TRUE(marcada || !hecho || hecho.Causa().contains(linea.left(5)))
                    << hecho.Causa().toStdString();
            }
            EXPECT_EQ(marcadas > 0, bool(hecho)) << hecho.Causa().toStdString();
            aMedias += marcadas > 0 && marcadas < 4 ? 1 : 0;
        }
    }
    EXPECT_GT(aMedias, 0) << "nothing has been tried";
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
            TRespuesta borrado = true;
            met =
                Fallos::durante(std::nullopt, numero, dura, [&] { borrado = uno.BorrarHueco(hueco, false); });
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
