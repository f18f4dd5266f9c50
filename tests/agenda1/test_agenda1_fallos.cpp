// The working day while file calls fail.

#include "agenda/LineaAgenda.h"
#include "agenda/host/Servicios.h"
#include "dataset/DatabaseError.h"
#include "tests/agenda1/VentanaUnica.h"
#include "tests/driver/FileCalls.h"

#include <cerrno>

namespace
{

using support::Dia;
namespace filecalls = driver::filecalls;

template <class TBase> class ConFallos : public TBase
{
protected:
    ConFallos() { filecalls::watch(this->oficina.carpetaDe("DB"), false); }
    ~ConFallos() override { filecalls::unwatch(); }
};
using FallosEnVentanaTest = ConFallos<support::VentanaUnicaTest>;

class FallosUnicaTest : public ConFallos<support::UnicaTest>
{
protected:
    /// The date that the engine says, and the lines that the window would show with theirs.
    [[nodiscard]] static QString vista(TAgenda &motor)
    {
        QStringList partes{motor.Fecha().toString(Qt::ISODate)};
        dataset::DataSet &tabla = motor.TablaDeLaVentana();
        for (int fila = 0; fila < tabla.rowCount(); ++fila)
            partes << TLineaAgenda::DeFila(tabla, fila).Fecha.toString(Qt::ISODate) + ' ' +
                          TextoDeFila(tabla, fila, TCampoLinea::hora);
        return partes.join("; ");
    }
};

TEST_F(FallosUnicaTest, AnotherDayIsShownWholeOrNotAtAll)
{
    linea({Dia, "09:00"});
    linea({Dia, "09:30"});
    linea({Dia.addDays(1), "10:00"});
    const QString hoy = "2026-11-16; 2026-11-16 09:00; 2026-11-16 09:30";
    const QString manana = "2026-11-17; 2026-11-17 10:00";
    for (const QStringList &notarios : {QStringList(), QStringList{"Ana Núñez", "Benito Ruiz"}}) {
        const auto antes = tabla();
        while (TLineaAgenda::Actual(*antes).Fecha == FechaAjustes)
            antes->remove();
        ajustes("0910", "30", notarios);
        int fallidos = 0;
        abre([&](TAgenda &motor) {
            for (const filecalls::Call call : {filecalls::Call::read, filecalls::Call::lock}) {
                for (int number = 1;; ++number) {
                    motor.Tabla().refresh();
                    ASSERT_EQ(vista(motor), hoy);
                    filecalls::fail(filecalls::Fault{call, number, EIO, false, false});
                    bool movida = true;
                    try {
                        motor.BuscarSiguiente();
                    } catch (const dataset::EDatabaseError &) {
                        movida = false;
                    }
                    const bool met = filecalls::faultMet();
                    filecalls::fail({});
                    EXPECT_EQ(vista(motor), movida ? manana : hoy) << notarios.size() << ", call " << number;
                    fallidos += movida ? 0 : 1;
                    if (movida)
                        motor.BuscarAnterior();
                    if (!met)
                        break;
                }
            }
        });
        EXPECT_GT(fallidos, 0) << "nothing has been tried";
    }
}

TEST_F(FallosEnVentanaTest, ALineThatIsGivenUpLeavesTheWindowFree)
{
    ajustes();
    linea({Dia, "09:00"});
    enVentana([this] {
        comando("Modificar");
        teclea("Acta");
        const QString atencion = " ATENCIÓN:";
        oficina.Mensaje.espera({"Problemas en la actualización de la cita", atencion});
        oficina.Mensaje.espera({"Había escrito:\nActa", atencion});
        oficina.Mensaje.espera({"No se puede consultar el fichero: Input/output error", atencion});
        filecalls::fail(filecalls::Fault{{}, 1, EIO, true});
        pulsa("BAceptar");
        filecalls::fail({});
        EXPECT_FALSE(editando());
        if (editando()) { // and could not even be closed
            oficina.Mensaje.espera({"¿Desea deshacer los cambios?", atencion, RespuestaSi});
            pulsa("BSalir");
        }
        comando("Salida"); // as before
    });
    EXPECT_EQ(dia(), QStringList{"09:00||||S"});
}

TEST_F(FallosUnicaTest, AWeekSheetGivesTheDayBackWhateverFails)
{
    struct Hojas : IInformesAgenda1 {
        struct Semana : IInforme {
            explicit Semana(const filecalls::Fault &fallo)
                : Fallo(fallo)
            {
            }
            void Preview() override { filecalls::fail(Fallo); } // from here on the way back
            filecalls::Fault Fallo;
        };
        std::unique_ptr<IInforme> CreaQRAgendaZen(QObject *, QDate, dataset::DataSet &) override
        {
            return std::make_unique<Semana>(Fallo);
        }
        std::unique_ptr<IInforme> CreaQRAgendaDia(QObject *, QDate, dataset::DataSet &) override
        {
            return {};
        }
        std::unique_ptr<IInforme> CreaQRAgendaDia2(QObject *, QDate, dataset::DataSet &) override
        {
            return {};
        }
        filecalls::Fault Fallo;
    } hojas;
    informes = &hojas;
    ajustes();
    linea({Dia, "09:00"});
    linea({Dia.addDays(1), "10:00"});
    int fallidas = 0;
    abre([&](TAgenda &motor) {
        const QString hoy = vista(motor);
        bool met = true;
        for (int number = 1; met; ++number) {
            hojas.Fallo = {filecalls::Call::read, number, EIO, true};
            bool bien = true;
            try {
                motor.InformeSemanal();
            } catch (const dataset::EDatabaseError &) {
                bien = false;
            }
            met = filecalls::faultMet();
            filecalls::fail({});
            fallidas += bien ? 0 : 1;
            EXPECT_EQ(vista(motor), hoy) << "read " << number;
            motor.Tabla().refresh();
        }
    });
    EXPECT_GT(fallidas, 0) << "nothing has been tried";
}

TEST_F(FallosUnicaTest, ALineOfTwoNotariesIsAcceptedWholeOrNotAtAll)
{
    ajustes("0910", "30", {"Ana Núñez", "Benito Ruiz"});
    linea({Dia, "10:00", "", "UNO", "", "0"});
    linea({Dia, "10:00", "", "DOS", "", "0"});
    int fallidas = 0;
    abre([&](TAgenda &motor) {
        const auto interesados = [&] {
            QStringList suyos;
            for (int fila = 0; fila < motor.Tabla2().rowCount(); ++fila)
                suyos << motor.Tabla2().textAt(fila, motor.Tabla2().fieldIndex(u"INTERESADO1"));
            suyos.sort();
            return suyos.join(' ').toStdString();
        };
        const auto enTabla = [&] {
            QStringList suyos;
            for (const QString &una : dia())
                suyos << una.section('|', 2, 2);
            suyos.sort();
            return suyos.join(' ').toStdString();
        };
        for (const filecalls::Call call :
             {filecalls::Call::read, filecalls::Call::lock, filecalls::Call::write}) {
            for (int number = 1;; ++number) {
                motor.RecargaAgenda2();
                const std::string antes = enTabla();
                ASSERT_EQ(interesados(), antes);
                motor.Tabla2().setCurrentRow(1);
                ASSERT_TRUE(motor.Modificar());
                motor.Tabla2().field(u"INTERESADO1").setText("N" + QString::number(number));
                filecalls::fail(filecalls::Fault{call, number, EIO, false, false});
                const bool aceptada = motor.Aceptar();
                const bool met = filecalls::faultMet();
                filecalls::fail({});
                EXPECT_EQ(motor.Tabla2().isEditing(), !aceptada);
                motor.Cancelar();
                fallidas += aceptada ? 0 : 1;
                if (!aceptada) {
                    EXPECT_EQ(interesados(), antes) << "call " << number;
                }
                if (aceptada || call != filecalls::Call::write) {
                    EXPECT_EQ(enTabla(), interesados()) << "call " << number;
                }
                if (!met || (!aceptada && call == filecalls::Call::write))
                    break; // what has failed half-way is for the next opener
            }
        }
    });
    EXPECT_GT(fallidas, 0) << "nothing has been tried";
    EXPECT_EQ(dia().size(), 2);
}

/// Sheets that somebody looks at for a while.
struct InformesMirados : IInformesAgenda1 {
    struct Hoja : IInforme {
        std::function<void()> mientras;
        void Preview() override { mientras(); }
    };
    [[nodiscard]] std::unique_ptr<IInforme> hoja() const
    {
        auto una = std::make_unique<Hoja>();
        una->mientras = mientras;
        return una;
    }
    std::unique_ptr<IInforme> CreaQRAgendaZen(QObject *, QDate, dataset::DataSet &) override
    {
        return hoja();
    }
    std::unique_ptr<IInforme> CreaQRAgendaDia(QObject *, QDate, dataset::DataSet &) override
    {
        return hoja();
    }
    std::unique_ptr<IInforme> CreaQRAgendaDia2(QObject *, QDate, dataset::DataSet &) override
    {
        return hoja();
    }
    std::function<void()> mientras = [] {};
};

// What fails while the week is looked at never leaves the whole table, or the settings, in the window.
TEST_F(FallosUnicaTest, AfterAWeekTheDayIsShownAndNothingElse)
{
    ajustes();
    linea({Dia, "09:00"});
    linea({Dia, "09:30"});
    linea({Dia.addDays(1), "10:00"});
    const QString hoy = "2026-11-16; 2026-11-16 09:00; 2026-11-16 09:30";
    InformesMirados hojas;
    informes = &hojas;
    int fallidos = 0;
    abre([&](TAgenda &motor) {
        for (const filecalls::Call call : {filecalls::Call::read, filecalls::Call::lock}) {
            for (const bool roto : {false, true}) {
                for (int number = 1;; ++number) {
                    motor.BuscarSiguiente();
                    motor.BuscarAnterior();
                    ASSERT_EQ(vista(motor), hoy);
                    hojas.mientras = [&] {
                        linea({Dia.addDays(30), "10:00"}); // there is something to be read anew
                        filecalls::fail(filecalls::Fault{call, number, EIO, roto, false});
                    };
                    try {
                        motor.InformeSemanal();
                    } catch (const dataset::EDatabaseError &) {
                        ++fallidos;
                    }
                    const bool met = filecalls::faultMet();
                    filecalls::fail({});
                    EXPECT_EQ(vista(motor).toStdString(), hoy.toStdString())
                        << "call " << number << (roto ? ", stays" : "");
                    motor.Tabla().refresh(); // every 15 s
                    EXPECT_EQ(vista(motor).toStdString(), hoy.toStdString()) << "refreshed, call " << number;
                    if (!met || HasFailure())
                        break;
                }
            }
        }
    });
    EXPECT_GT(fallidos, 0) << "nothing has been tried";
}

// The whole day is in the table and in memory, or in neither, whatever has changed places on the way.
TEST_F(FallosUnicaTest, ADayOfTwoNotariesIsWrittenWholeOrNotAtAll)
{
    ajustes("0910", "30", {"Ana Núñez", "Benito Ruiz"});
    for (const char *const quien : {"UNO", "DOS", "TRES"})
        linea({Dia, "10:00", "", quien, "", "0"});
    int fallidas = 0;
    abre([&](TAgenda &motor) {
        const auto enPantalla = [&] {
            QStringList suyos;
            for (int fila = 0; fila < motor.Tabla2().rowCount(); ++fila)
                suyos << motor.Tabla2().textAt(fila, motor.Tabla2().fieldIndex(u"INTERESADO1"));
            return suyos.join(' ').toStdString();
        };
        const auto enTabla = [&] {
            QStringList suyos;
            for (const QString &una : dia())
                suyos << una.section('|', 2, 2);
            return suyos.join(' ').toStdString();
        };
        for (const filecalls::Call call :
             {filecalls::Call::read, filecalls::Call::lock, filecalls::Call::write}) {
            for (int number = 1;; ++number) {
                motor.Tabla2().setCurrentRow(2);
                ASSERT_TRUE(motor.Modificar());
                motor.Tabla2().field(u"INTERESADO1").setText("N" + QString::number(number));
                ASSERT_TRUE(motor.Aceptar());
                const std::string memoria = enPantalla();
                const std::string antes = enTabla();
                filecalls::fail(filecalls::Fault{call, number, EIO, false, false});
                bool escrito = true;
                try {
                    motor.ActualizarDesdeAgenda2();
                } catch (const dataset::EDatabaseError &) {
                    escrito = false;
                }
                const bool met = filecalls::faultMet();
                filecalls::fail({});
                fallidas += escrito ? 0 : 1;
                EXPECT_EQ(enPantalla(), memoria) << "call " << number;
                if (call != filecalls::Call::write) {
                    EXPECT_EQ(enTabla(), escrito ? memoria : antes) << "call " << number;
                }
                if (!met || (!escrito && call == filecalls::Call::write))
                    break; // what has failed half-way is for the next opener
                motor.ActualizarDesdeAgenda2();
                EXPECT_EQ(enTabla(), memoria) << "tried again, call " << number;
            }
        }
    });
    EXPECT_GT(fallidas, 0) << "nothing has been tried";
    EXPECT_EQ(dia().size(), 3);
}

} // namespace
