// The agenda of the single table as its clerk works it, for one notary or for two.

#include "agenda1/VentanaAgenda.h"
#include "agenda1/VentanasAgenda.h"
#include "dbcontrols/DbGrid.h"
#include "tests/simulacion/Puesto.h"

#include <QtTest/QTest>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>

namespace simulacion
{

namespace
{

class TPuestoUnica : public TPuesto, private IInformesAgenda1
{
public:
    TPuestoUnica(TCual cual, const QString &carpeta, TCanal canal)
        : TPuesto(cual, carpeta, canal)
    {
    }

private:
    // IInformesAgenda1
    std::unique_ptr<IInforme> CreaQRAgendaZen(QObject *, QDate lunes, dataset::DataSet &) override
    {
        return Informe(lunes, nullptr);
    }
    std::unique_ptr<IInforme> CreaQRAgendaDia(QObject *, QDate fecha, dataset::DataSet &datos) override
    {
        return Informe(fecha, &datos);
    }
    std::unique_ptr<IInforme> CreaQRAgendaDia2(QObject *, QDate fecha, dataset::DataSet &datos) override
    {
        return Informe(fecha, &datos);
    }
    void Trabaja(QDate dia) override
    {
        TVistasAgenda vistas;
        TAgenda motor(dia, &vistas, this);
        m_motor = &motor;
        motor.IAgenda(nullptr);
    }
    [[nodiscard]] bool EsVentana(const QObject &objeto) const override
    {
        return qobject_cast<const TVentanaAgenda *>(&objeto) != nullptr;
    }
    [[nodiscard]] dataset::DataSet *Tabla() const override { return &m_motor->TablaDeLaVentana(); }
    [[nodiscard]] QString Fecha() const override { return En<QLabel>("LFecha")->text(); }
    [[nodiscard]] QList<QByteArray> Columnas() const override
    {
        if (m_cual == TCual::doble)
            return {"HORA", "INTERESADO1", "OFICIAL1", "CONCEPTO1", "INTERESADO2", "OFICIAL2", "CONCEPTO2"};
        return {"HORA", "CONCEPTO", "INTERESADO", "OFICIAL", "SALIDA"};
    }
    bool HazLoSuyo(const TPaso &paso) override;
    void MiraLoSuyo(TPantalla &pantalla) const override;
    bool EscribeEnPanel(const TPaso &paso);

    TAgenda *m_motor = nullptr; ///< of the window; only asked while that is open
};

bool TPuestoUnica::HazLoSuyo(const TPaso &paso)
{
    switch (paso.Verbo) {
    case TVerbo::accion:
        return Acciona(paso);
    case TVerbo::boton:
        return PulsaBoton(paso, m_ventana);
    case TVerbo::campo:
        return EscribeEnPanel(paso);
    case TVerbo::clic: // on a party, of the one notary or of the other
        return Rejilla().isEnabled() && Clic(paso.A, m_cual == TCual::doble && paso.B == 1 ? 4 : 1, {});
    default:
        return false;
    }
}

bool TPuestoUnica::EscribeEnPanel(const TPaso &paso)
{
    const char *const nombre = CamposDelPanel.at(static_cast<std::size_t>(paso.A) % CamposDelPanel.size());
    auto *const campo = nombre ? En<QWidget>(nombre) : nullptr;
    if (!campo || paso.A != enSalida)
        return Escribe(campo, paso.A == enHora ? Hora(paso.B).remove(u':') : Texto(paso.B));
    if (!campo->isEnabled())
        return false;
    QTest::mouseClick(campo, Qt::LeftButton);
    return true;
}

void TPuestoUnica::MiraLoSuyo(TPantalla &pantalla) const
{
    pantalla.Editor = En<QWidget>("PActualiza")->isEnabled();
    const auto texto = [this](const char *nombre) {
        const auto *const campo = En<QLineEdit>(nombre);
        return campo ? campo->text() : QString(); // an outing is shown in the window of one notary alone
    };
    // The panel, where the current line stands also while no row shows it.
    pantalla.EnFicha = {pantalla.Actual,
                        {Tabla()->field(u"FECHA").value().toDate().toString(QStringLiteral("yyyyMMdd")),
                         texto("DBEHora"), texto("DBEConcepto"), texto("DBEInteresado"), texto("DBEOficial"),
                         texto("DBESalida")}};
    if (pantalla.Editando)
        pantalla.Pendiente = pantalla.EnFicha.Linea.EnTexto();
}

} // namespace

std::unique_ptr<TPuesto> CreaPuestoUnica(TCual cual, const QString &carpeta, TCanal canal)
{
    return std::make_unique<TPuestoUnica>(cual, carpeta, canal);
}

} // namespace simulacion
