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
        void Preview() override {}
    };
    std::unique_ptr<IInforme> CreaQRAgendaDiaN(QObject *, QDate fecha, dataset::DataSet &datos,
                                               const std::optional<QString> &oficial) override
    {
        datos.first();
        Pedidos << "dia " + fecha.toString("dd/MM") + " con " + datos.field(u"FECHA").asText() +
                       oficial.value_or(QString());
        return std::make_unique<Mudo>();
    }
    std::unique_ptr<IInforme> CreaQRAgendaN(QObject *, QDate lunes, dataset::DataSet &semana) override
    {
        Pedidos
            << QStringLiteral("semana %1 de %2 filas").arg(lunes.toString("dd/MM")).arg(semana.rowCount());
        return std::make_unique<Mudo>();
    }
    QStringList Pedidos;
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
        // A date that is none prints nothing, and is said once.
        fecha().setFocus();
        fecha().selectAll();
        teclea("31112026");
        oficina.Mensaje.espera({"La fecha introducida no es correcta", " ATENCIÓN:"});
        comando("AImprimirDia");
        QCoreApplication::processEvents();
        EXPECT_FALSE(oficina.Mensaje.pendientes());
    });
    const QStringList pedidos{"dia 16/11 con 16/11/2026", "semana 16/11 de 24 filas",
                              "dia 16/11 con 16/11/2026Ana", "semana 16/11 de 0 filas",
                              "dia 18/11 con 18/11/2026"};
    EXPECT_EQ(dobles.Pedidos, pedidos);
}

} // namespace
