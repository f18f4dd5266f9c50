// The window while its tables cannot be read or locked for a moment, or for longer: date field and lines stay
// of one day, the keys stay on a line that is seen, and what is told is true.

#include "tests/agendan/Ventana.h"
#include "tests/support/Fallos.h"
#include "tests/support/InformesDePrueba.h"

#include <QtWidgets/QPlainTextEdit>

#include <cerrno>

namespace
{

using support::Jueves;
using support::Lunes;
using support::VentanaTest;
namespace filecalls = driver::filecalls;

class LecturasTest : public VentanaTest
{
protected:
    LecturasTest()
        : VentanaTest(1)
    {
        informes = &m_informes;
        for (const QDate dia : {Lunes, Jueves})
            for (const char *hora : {"09:00", "10:00", "11:00"})
                oficina.linea(1, dia, hora);
    }

    void escribeFecha(QDate dia)
    {
        fecha().setFocus();
        fecha().selectAll();
        teclea(dia.toString("ddMMyyyy"));
        tecla(Qt::Key_Tab);
    }
    /// Works on the real card, and closes it.
    void enFicha(TOperacion operacion, const char *orden, const std::function<void(QWidget &)> &trabajo)
    {
        esperaFicha(operacion, [&](TClassAgendaN &suMotor) {
            QTimer::singleShot(0, qApp, [&] {
                QWidget *const abierta = QApplication::activeModalWidget();
                ASSERT_TRUE(abierta && QTest::qWaitForWindowActive(abierta));
                QCoreApplication::processEvents();
                trabajo(*abierta);
                abierta->close(); // and gives up what could not be stored
            });
            TVistasAgendaN().MuestraFichaCitas(suMotor, operacion, nullptr);
        });
        comando(orden);
    }
    static void acepta(QWidget &abierta)
    {
        QTest::mouseClick(abierta.findChild<QAbstractButton *>("BAceptar"), Qt::LeftButton);
        QCoreApplication::processEvents();
    }
    /// A new appointment of Thursday, copied onto the lines up to an hour.
    void rellenaElJueves()
    {
        enFicha(TOperacion::nuevo, "ANuevo", [](QWidget &abierta) {
            const auto escribe = [&abierta](const char *campo, const QString &texto) {
                auto *const edicion = abierta.findChild<QLineEdit *>(campo);
                edicion->setFocus();
                edicion->selectAll();
                QTest::keyClicks(edicion, texto);
            };
            escribe("MEFecha", Jueves.toString("ddMMyyyy"));
            escribe("MEHora", "0930");
            escribe("MEHoraFin", "1100");
            acepta(abierta);
        });
    }
    /// @param sinLectura  what has not been read is shown blank.
    void compruebaLaPantalla(bool sinLectura) const
    {
        const dataset::DataSet &tabla = motor->TablaActual();
        const QDate dia = QDate::fromString(fecha().text(), "dd/MM/yyyy");
        EXPECT_TRUE(dia == Lunes || dia == Jueves) << fecha().text().toStdString();
        EXPECT_GE(tabla.rowCount(), 3);
        EXPECT_EQ(rejilla().model()->rowCount(), tabla.rowCount());
        for (int fila = 0; fila < tabla.rowCount(); ++fila) {
            const QDate suya = tabla.valueAt(fila, tabla.fieldIndex(u"FECHA")).toDate();
            EXPECT_TRUE(suya == dia || (sinLectura && suya.isNull())) << suya.toString().toStdString();
        }
        EXPECT_TRUE(sinLectura || tabla.currentRow() >= 0) << "the keys are on a line that is not seen";
    }
    support::Fallos fallos{oficina, 1};

private:
    support::InformesDePrueba m_informes;
};

TEST_F(LecturasTest, FailAtAnyMomentAndLeaveATrueScreen)
{
    using Call = filecalls::Call;
    const struct {
        const char *que;
        std::function<void()> hace;
        int escribe; ///< so many lines more on Thursday when nothing is told; -1: as many as are free
        int paso;    ///< from one call that fails to the next one
    } casos[] = {
        {"the arrow", [&] { comando("ADiaSiguiente"); }, 0, 1},
        {"a typed date", [&] { escribeFecha(Jueves); }, 0, 1},
        {"the week on paper", [&] { comando("AImprimirSemana"); }, 0, 1},
        {"a copy", [&] { comando("ACopiarCita"); }, 1, 1},
        {"the card", [&] { rellenaElJueves(); }, -1, 5},
    };
    oficina.Rut.FechaElegida = Jueves;
    enVentana([&] {
        for (const auto &caso : casos) {
            int negadas = 0;
            for (const Call llamada : {Call::read, Call::lock}) {
                for (const bool sigueRota : {false, true}) {
                    bool met = true;
                    for (int numero = 1; met && !HasFailure(); numero += caso.paso) {
                        SCOPED_TRACE(testing::Message()
                                     << caso.que << ", call " << static_cast<int>(llamada) << " number "
                                     << numero << (sigueRota ? " and all after it" : ""));
                        escribeFecha(Lunes);
                        fallos.mensajes.Textos.clear();
                        const auto antes = oficina.dia(1, Jueves).size();
                        filecalls::fail(filecalls::Fault{llamada, numero, EIO, sigueRota, false});
                        caso.hace();
                        met = filecalls::faultMet();
                        compruebaLaPantalla(sigueRota);
                        filecalls::fail({});
                        compruebaLaPantalla(false);
                        motor->TablaActual().refresh();
                        compruebaLaPantalla(false);
                        negadas += fallos.mensajes.Textos.isEmpty() ? 0 : 1;
                        if (caso.escribe >= 0) {
                            EXPECT_EQ(oficina.dia(1, Jueves).size() - antes,
                                      fallos.mensajes.Textos.isEmpty() ? caso.escribe : 0)
                                << fallos.mensajes.Textos.join('|').toStdString();
                        }
                    }
                }
            }
            EXPECT_GT(negadas, 0) << caso.que << ": nothing has been tried";
        }
    });
}

TEST_F(LecturasTest, WhatWaitsOnTheCardIsNotWrittenOverWhatNobodyHasSeen)
{
    const auto otro = oficina.agenda(1);
    const auto primera = [&] { return oficina.dia(1, Lunes).value(0); };
    int esperas = 0;
    const auto trabaja = [&](QWidget &abierta, int numero) {
        auto *const concepto = abierta.findChild<QPlainTextEdit *>("DBMConcepto");
        concepto->setFocus();
        concepto->selectAll();
        QTest::keyClicks(concepto, "Mia");
        otro->beginGroup(); // it cannot be stored, and at some call not be taken up again either
        filecalls::fail(filecalls::Fault{filecalls::Call::lock, numero, EIO, false, false});
        acepta(abierta);
        filecalls::fail({});
        otro->dropGroup();
        if (motor->TablaActual().state() != dataset::DataSet::State::insert)
            return;
        ++esperas;
        otro->refresh();
        otro->edit();
        otro->field(u"CONCEPTO").setText("Suya");
        otro->post();
        fallos.mensajes.Textos.clear();
        acepta(abierta);
        EXPECT_EQ(primera(), "09:00 Suya N");
        EXPECT_TRUE(
            fallos.mensajes.Textos.value(0).contains("Otro puesto ha cambiado la línea mientras tanto"));
        EXPECT_EQ(concepto->toPlainText(), "Mia");
        acepta(abierta);
        EXPECT_EQ(primera(), "09:00 Mia N");
    };
    enVentana([&] {
        escribeFecha(Lunes);
        for (int numero = 1; numero <= 20 && esperas == 0; ++numero)
            enFicha(TOperacion::modificar, "AModificar", [&](QWidget &abierta) { trabaja(abierta, numero); });
    });
    EXPECT_EQ(esperas, 1) << "nothing has been tried";
}

// Others may have a line as soon as it is stored, even before the fill begins: only what was accepted is
// copied, and only behind its own line.
TEST_F(LecturasTest, WhatOthersMakeOfTheAcceptedLineIsNotFilledOnward)
{
    const auto otro = oficina.agenda(1);
    const auto cambia = [&](const char16_t *campo, const char *texto) {
        otro->edit(dataset::EditOf::fresh);
        otro->field(campo).setText(texto);
        otro->post();
    };
    const struct {
        const char *que;
        std::function<void()> hacen;
        QStringList lunes;
    } casos[] = {{"delete it", [&] { otro->remove(); }, {"09:30 Boda N", "10:00  N"}},
                 {"move it", [&] { cambia(u"FECHA", "19/11/2026"); }, {"09:30 Boda N", "10:00  N"}},
                 {"write into it",
                  [&] { cambia(u"CONCEPTO", "Suya"); },
                  {"09:00 Suya N", "09:30 Boda N", "10:00  N"}}};
    enVentana([&] {
        for (const auto &caso : casos) {
            SCOPED_TRACE(caso.que);
            for (otro->refresh(), otro->first(); !otro->isEmpty();)
                otro->remove();
            for (const char *hora : {"09:00", "09:30", "10:00"})
                oficina.linea(1, Lunes, hora, hora == QLatin1String("09:30") ? "Boda" : "");
            motor->TablaActual().refresh();
            escribeFecha(Lunes);
            fallos.mensajes.Textos.clear();
            enFicha(TOperacion::modificar, "AModificar", [&](QWidget &abierta) {
                ASSERT_TRUE(QTest::qWaitFor([&] { return motor->TablaActual().isEditing(); }));
                auto *const fin = abierta.findChild<QLineEdit *>("MEHoraFin");
                fin->setFocus();
                QTest::keyClicks(fin, "1030");
                filecalls::Fault lenta;
                lenta.late = std::chrono::seconds(1);
                lenta.meanwhile = [&] {
                    otro->refresh();
                    otro->first();
                    caso.hacen();
                };
                filecalls::fail(lenta);
                acepta(abierta);
                filecalls::fail({});
            });
            EXPECT_EQ(oficina.dia(1, Lunes), caso.lunes);
            EXPECT_EQ(fallos.mensajes.Textos.join('|').toStdString(),
                      "La cita se ha guardado, pero no se han podido rellenar estas horas: hasta "
                      "las 10:30.\nOtro puesto ha cambiado la cita mientras tanto.");
        }
    });
}

} // namespace
