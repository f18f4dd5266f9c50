// The window's print commands: which report of the engine, of which date, on which lines.

#include "agenda/InformesAgenda.h"
#include "tests/agendan/Ventana.h"

namespace
{

using support::Lunes;

class InformesDeVentana : public IInformesAgenda
{
public:
    struct Mudo : IInforme {
        explicit Mudo(const std::function<void()> &enVista)
            : EnVista(enVista)
        {
        }
        void Preview() override
        {
            if (EnVista)
                EnVista();
        }
        const std::function<void()> &EnVista;
    };
    std::unique_ptr<IInforme> CreaQRAgendaDiaN(QObject *, QDate fecha, dataset::DataSet &datos,
                                               const std::optional<QString> &oficial) override
    {
        datos.first();
        Pedidos << "dia " + fecha.toString("dd/MM") + " con " + datos.field(u"FECHA").asText() +
                       oficial.value_or(QString());
        return std::make_unique<Mudo>(EnVista);
    }
    std::unique_ptr<IInforme> CreaQRAgendaN(QObject *, QDate lunes, dataset::DataSet &semana) override
    {
        Pedidos
            << QStringLiteral("semana %1 de %2 filas").arg(lunes.toString("dd/MM")).arg(semana.rowCount());
        return std::make_unique<Mudo>(EnVista);
    }
    QStringList Pedidos;
    std::function<void()> EnVista;
};

class Impresion : public support::VentanaTest
{
};

TEST_F(Impresion, CommandsPrintTheDateOfTheDateField)
{
    InformesDeVentana dobles;
    informes = &dobles;
    oficina.Rut.OficialElegido = "Ana";
    enVentana([&] {
        comando("AImprimirDia");
        comando("AImprimirSemana");
        comando("AImprimirDiaOficial");
        comando("AImprimirSemanaOficial");
        EXPECT_EQ(rejilla().model()->rowCount(), 24); // the day again, not the week
        // Typed and not left yet: the day is shown first, so that title and lines agree.
        fecha().setFocus();
        fecha().selectAll();
        teclea("18112026");
        comando("AImprimirDia");
        // An emptied field means the day on the screen, also when its last line has gone.
        fecha().setFocus();
        fecha().selectAll();
        tecla(Qt::Key_Backspace);
        EXPECT_EQ(fecha().text(), "  /  /    ");
        tecla(Qt::Key_Tab);
        comando("AImprimirDia");
        EXPECT_EQ(fecha().text(), "18/11/2026");
        // A date that is none prints nothing, and is said once.
        fecha().setFocus();
        fecha().selectAll();
        teclea("31112026");
        oficina.Mensaje.espera({"La fecha introducida no es correcta", " ATENCIÓN:"});
        comando("AImprimirDia");
        QCoreApplication::processEvents();
        EXPECT_FALSE(oficina.Mensaje.pendientes());
    });
    const QStringList pedidos{"dia 16/11 con 16/11/2026",    "semana 16/11 de 24 filas",
                              "dia 16/11 con 16/11/2026Ana", "semana 16/11 de 0 filas",
                              "dia 18/11 con 18/11/2026",    "dia 18/11 con 18/11/2026"};
    EXPECT_EQ(dobles.Pedidos, pedidos);
}

// A week's preview holds the table in the week's range, and the grid behind it is painted all the same.
TEST_F(Impresion, TheColoursBehindAPreviewAreThoseOfTheShownDay)
{
    InformesDeVentana dobles;
    informes = &dobles;
    const QDate miercoles = Lunes.addDays(2);
    oficina.linea(1, Lunes, "09:00", "fuera", "S");
    oficina.linea(1, miercoles, "09:00", "Firma");
    oficina.linea(1, miercoles, "10:00", "fuera", "S");
    enVentana([&] {
        fecha().setFocus();
        fecha().selectAll();
        teclea("18112026");
        tecla(Qt::Key_Tab);
        const auto bien = [&] {
            EXPECT_EQ(celda(0, 1), "Firma");
            EXPECT_FALSE(rejilla().rowColor(0));
            EXPECT_TRUE(rejilla().rowColor(1));
        };
        bien();
        dobles.EnVista = bien;
        comando("AImprimirSemana");
    });
    EXPECT_EQ(dobles.Pedidos, QStringList{"semana 16/11 de 2 filas"});
}

} // namespace
