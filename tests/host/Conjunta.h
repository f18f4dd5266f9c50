#pragma once

#include "agenda/host/Clacliraiz.h"
#include "agenda3p/Agenda3P.h"
#include "dataset/DatabaseError.h"
#include "host/AgendaConjunta.h"
#include "tests/support/InformesDePrueba.h"
#include "tests/support/OficinaDePrueba.h"

#include <QtCore/QTimer>
#include <QtGui/QAction>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QDialog>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>

#if defined(Q_OS_LINUX)
#include "tests/driver/FileCalls.h"
#endif

#include <cerrno>

namespace support
{

inline const QDate Dia{2026, 11, 16};
inline const QDate OtroDia{2026, 11, 18};
inline constexpr int Oficial = 2;
inline constexpr int CitaSegundo = 3;
inline const QString Atencion = QStringLiteral(" ATENCIÓN:");
inline const QString Conjunta = QStringLiteral("Agenda conjunta");
inline const QString BorraHueco =
    QStringLiteral("¿Desea borrar la cita de las %1 de todas las agendas?\nLos datos se perderán.");
inline const QString TodoElDia = QStringLiteral("¿Desea poner o quitar la ausencia en todo el día (S/N)?");
inline const QString OtroLaHaCambiado = QStringLiteral("Otro puesto ha cambiado la línea mientras tanto");
inline const QString SinServidor = QStringLiteral("No se puede bloquear el fichero: Input/output error");

/// Knows one client.
class ClientesDeUno : public TClientesRaiz
{
public:
    void MuestraFicha(qint64) override { ADD_FAILURE(); }
    void Explora(const QString &) override { ADD_FAILURE(); }
    bool Elige(const QString &, const QString &inicial) override
    {
        Inicial = inicial;
        QDialog lista(QApplication::activeWindow()); // which takes the focus, as the real one does
        QTimer::singleShot(0, &lista, &QDialog::accept);
        return lista.exec() == QDialog::Accepted;
    }
    [[nodiscard]] qint64 Codigo() const override { return 42; }
    [[nodiscard]] QString Nombre() const override { return "Muñoz, Íñigo"; }
    void KeyUpBusqueda(QLineEdit &, int) override {}
    void ExitBusqueda(QLineEdit &edicion, bool) override
    {
        edicion.setProperty("Tag", edicion.text() == Nombre() ? 42 : 0); // anybody else is no client
    }
    void FinBusqueda() override { ++Fines; }
    QString Inicial;
    int Fines = 0;
};

/// The window over three notaries, who have 09:00 and 10:00 on a day.
class ConjuntaTest : public testing::Test
{
protected:
    explicit ConjuntaTest(int notarios = 3)
        : oficina(notarios)
    {
        oficina.Reloj.Dia = Dia;
        oficina.ponAjustes(9, 10, 30);
        for (int notario = 1; notario <= notarios; ++notario) {
            for (const char *const hora : {"09:00", "10:00"})
                oficina.linea(notario, Dia, hora);
        }
    }
    TFAgendaConjunta &abre()
    {
        motor = std::make_unique<TAgenda3P>(nullptr, QDate(), TTablasNotarios{}, &informes);
        ventana = std::make_unique<TFAgendaConjunta>(
            *motor, &clientes,
            TFAgendaConjunta::TOpciones{oficina.Config.GetNotarios().mid(0, oficina.Config.Cuantos),
                                        [] { return 0xC6C6FFU; }},
            nullptr);
        ventana->VeAlDia(Dia);
        ventana->show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(ventana.get()));
        ve(0, 0);
        return *ventana;
    }
    /// Another workstation writes into the first line of a day.
    void escribe(int notario, const char *campo, const QString &texto, QDate fecha = Dia) const
    {
        const auto otro = oficina.agenda(notario);
        ASSERT_TRUE(otro->setRange({{"FECHA", fecha}}, {{"FECHA", fecha}}));
        otro->edit();
        otro->field(QString::fromLatin1(campo)).setText(texto);
        otro->post();
    }
    /// A date typed into its field, which keeps the focus.
    void tecleaFecha(const QString &fecha)
    {
        ventana->findChild<QLineEdit *>("MEFecha")->setFocus();
        tecla(Qt::Key_Home);
        teclea(fecha);
    }
    [[nodiscard]] TRejillaConjunta &rejilla() const { return *ventana->findChild<TRejillaConjunta *>(); }
    void ve(int fila, int columna) { rejilla().setCurrentIndex(rejilla().model()->index(fila, columna)); }
    void tecla(int cual, Qt::KeyboardModifiers con = {})
    {
        QTest::keyClick(QApplication::focusWidget() ? QApplication::focusWidget() : &rejilla(),
                        static_cast<Qt::Key>(cual), con);
        QCoreApplication::processEvents();
    }
    static void teclea(const QString &texto)
    {
        for (const QChar letra : texto)
            QTest::sendKeyEvent(QTest::Click, QApplication::focusWidget(), Qt::Key_unknown, QString(letra),
                                {});
        QCoreApplication::processEvents();
    }
    /// A command by its keys, which opens a dialog that asks for an hour.
    void conHora(int cual, Qt::KeyboardModifiers con, const QString &hora)
    {
        QTimer::singleShot(50, qApp, [hora] {
            QWidget *const dialogo = QApplication::activeModalWidget();
            ASSERT_TRUE(dialogo && dialogo->inherits("TDialogoHora"));
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Home);
            teclea(hora);
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        });
        tecla(cual, con);
        ventana->activateWindow(); // a desktop does so by itself
        EXPECT_TRUE(QTest::qWaitForWindowActive(ventana.get()));
    }
    /// Enter in a cell whose line cannot be written: it is told why, and the cell stays open.
    void noSeGuarda(const QString &causa, const QString &deOtros = {})
    {
        oficina.Mensaje.espera(
            {QStringLiteral(
                 "No se ha podido guardar la cita de las 09:00.\n%1\n\nLo que ha escrito sigue en la "
                 "celda: pulse Intro para volver a intentarlo o Esc para dejarlo.")
                     .arg(causa) +
                 (deOtros.isEmpty() ? deOtros : "\nEl otro puesto había escrito: " + deOtros),
             Atencion});
        tecla(Qt::Key_Return);
        EXPECT_TRUE(QTest::qWaitFor([this] { return !oficina.Mensaje.pendientes(); }));
        EXPECT_TRUE(rejilla().EstaEditando());
    }
    /// What is told of a text whose cell is gone.
    [[nodiscard]] static MensajeDePrueba::Esperado habiaEscrito(const QString &causa, const QString &texto)
    {
        return {QStringLiteral("No se ha podido guardar la cita de las 09:00.\n%1\n\nHabía escrito:\n%2")
                    .arg(causa, texto),
                Atencion};
    }
#if defined(Q_OS_LINUX)
    /// The window over tables of which one is made to fail by falla(), until vuelve().
    void abreVigilada(int notario)
    {
        driver::filecalls::watch(oficina.carpetaDe("NOTARIO" + std::to_string(notario)), false);
        abre();
    }
    static void falla(std::optional<driver::filecalls::Call> llamada)
    {
        driver::filecalls::fail(driver::filecalls::Fault{llamada, 1, EIO, true, false});
    }
    static void vuelve()
    {
        driver::filecalls::fail({});
    }
    ~ConjuntaTest() override
    {
        vuelve();
        ventana.reset();
        motor.reset();
        driver::filecalls::unwatch();
    }
#endif
    [[nodiscard]] QString celda(int fila, int columna) const
    {
        return rejilla().model()->index(fila, columna).data().toString();
    }
    void refresca()
    {
        ventana->findChild<QTimer *>("Reloj")->setInterval(1);
        QTest::qWait(30);
        ventana->findChild<QTimer *>("Reloj")->setInterval(60000);
    }

    OficinaDePrueba oficina;
    InformesDePrueba informes;
    ClientesDeUno clientes;
    std::unique_ptr<TAgenda3P> motor;
    std::unique_ptr<TFAgendaConjunta> ventana;
};

} // namespace support
