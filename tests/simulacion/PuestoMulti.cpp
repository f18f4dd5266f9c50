// The agenda of several notaries as its clerk works it.

#include "agendan/ClaseAgendaN.h"
#include "agendan/FichaAgendaN.h"
#include "agendan/VentanasAgendaN.h"
#include "dbcontrols/DbGrid.h"
#include "tests/simulacion/Puesto.h"

#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPlainTextEdit>
#include <QtWidgets/QTabWidget>
#include <QtWidgets/QToolButton>

namespace simulacion
{

namespace
{

class TPuestoMulti : public TPuesto
{
public:
    TPuestoMulti(const QString &carpeta, TCanal canal)
        : TPuesto(TCual::multi, carpeta, canal)
    {
    }

private:
    void Trabaja(QDate dia) override;
    [[nodiscard]] bool EsVentana(const QObject &objeto) const override
    {
        return qobject_cast<const TFFichaAgendaN *>(&objeto) != nullptr;
    }
    [[nodiscard]] dataset::DataSet *Tabla() const override
    {
        return static_cast<TFFichaAgendaN *>(m_ventana)->GetDatosAgendaN();
    }
    [[nodiscard]] int Notario() const override { return En<QTabWidget>("PCAgenda")->currentIndex() + 1; }
    [[nodiscard]] dbcontrols::DbGrid &Rejilla() const override
    {
        return *static_cast<TFFichaAgendaN *>(m_ventana)->GetDBGAgendaN();
    }
    [[nodiscard]] QString Fecha() const override { return En<QLineEdit>("MEFecha")->text(); }
    [[nodiscard]] QList<QByteArray> Columnas() const override
    {
        return {"HORA", "CONCEPTO", "INTERESADO", "OFICIAL"};
    }
    bool HazLoSuyo(const TPaso &paso) override;
    void MiraLoSuyo(TPantalla &pantalla) const override;
    bool HazEnFicha(const TPaso &paso);
    bool EscribeMemo(const TPaso &paso);
    void MiraFicha(TPantalla &pantalla) const;
};

void TPuestoMulti::Trabaja(QDate dia)
{
    TVistasAgendaN vistas;
    TClassAgendaN motor(nullptr, &m_clientes, {}, &vistas, this);
    motor.SincronizarTablasAFecha(dia, true);
    motor.FichaAgendaN();
}

bool TPuestoMulti::HazLoSuyo(const TPaso &paso)
{
    if (Ficha())
        return HazEnFicha(paso);
    switch (paso.Verbo) {
    case TVerbo::texto:
        return TecleaEnCelda(paso);
    case TVerbo::accion:
        return Acciona(paso);
    case TVerbo::clic:
        return Clic(paso.A, 1, paso.B == 1 ? Qt::ControlModifier : Qt::NoModifier);
    case TVerbo::pestana:
        En<QTabWidget>("PCAgenda")->setCurrentIndex(paso.A % Notarios);
        return true;
    case TVerbo::fecha:
        return EscribeFecha(paso);
    case TVerbo::memo:
        return EscribeMemo(paso);
    default:
        return false;
    }
}

bool TPuestoMulti::EscribeMemo(const TPaso &paso)
{
    auto *const memo = m_ventana->findChild<QPlainTextEdit *>(QStringLiteral("DBMConcepto%1").arg(Notario()));
    if (!memo || !memo->isVisible())
        return false;
    memo->setFocus();
    Teclea(Texto(paso.A));
    return true;
}

bool TPuestoMulti::HazEnFicha(const TPaso &paso)
{
    if (paso.Verbo == TVerbo::boton)
        return PulsaBoton(paso, Ficha());
    if (paso.Verbo != TVerbo::campo)
        return false;
    const char *const nombre = Campos.at(static_cast<std::size_t>(paso.A) % Campos.size());
    return nombre && Escribe(En<QWidget>(nombre, Ficha()),
                             paso.A == enConcepto                      ? Texto(paso.B)
                             : paso.A == enHora || paso.A == enHoraFin ? Hora(paso.B).remove(u':')
                             : paso.A == enFecha ? Dia(paso.B % Dias).toString(QStringLiteral("ddMMyyyy"))
                             : paso.B % 2 == 0   ? QStringLiteral("MAR")
                                                 : QStringLiteral("PED"));
}

void TPuestoMulti::MiraLoSuyo(TPantalla &pantalla) const
{
    pantalla.FechaConFoco = m_ventana->focusWidget() == En<QLineEdit>("MEFecha");
    const auto *const fuera = En<QToolButton>("BFueraDeHora");
    pantalla.FueraDeHora = fuera && fuera->isChecked();
    if (pantalla.Editando)
        pantalla.Pendiente = Tabla()->field(u"CONCEPTO").asText();
    if (const auto *const editor = qobject_cast<QLineEdit *>(QApplication::focusWidget());
        editor && pantalla.Editor) {
        const bool encima = Rejilla().currentIndex().column() == 1; // of what the line says so far
        pantalla.Pendiente = (encima ? QString() : pantalla.Pendiente) + u'|' + editor->text();
    }
    MiraFicha(pantalla);
}

void TPuestoMulti::MiraFicha(TPantalla &pantalla) const
{
    const QWidget *const ficha = Ficha();
    if (!ficha)
        return;
    const auto texto = [ficha](const char *nombre) {
        QString valor = ficha->findChild<QLineEdit *>(QLatin1String(nombre))->text();
        while (valor.endsWith(u' ')) // a mask shows its blanks, and a table keeps none at the end
            valor.chop(1);
        return valor;
    };
    const QString concepto = ficha->findChild<QPlainTextEdit *>(QStringLiteral("DBMConcepto"))->toPlainText();
    pantalla.Ficha = true;
    pantalla.FichaEditando = ficha->findChild<QAbstractButton *>(QStringLiteral("BAceptar"))->isEnabled();
    pantalla.EnFicha = {pantalla.Actual,
                        {QDate::fromString(texto("MEFecha"), QStringLiteral("dd/MM/yyyy"))
                             .toString(QStringLiteral("yyyyMMdd")),
                         texto("MEHora"),
                         concepto,
                         texto("EInteresado"),
                         ficha->findChild<QComboBox *>(QStringLiteral("DBCBOficial"))->currentText(),
                         {}}};
    if (pantalla
            .FichaEditando) // also the line's own party, which stays where a name is typed that nobody has
        pantalla.Pendiente +=
            u'|' + pantalla.EnFicha.Linea.EnTexto() + u'|' + Tabla()->field(u"INTERESADO").asText();
}

} // namespace

std::unique_ptr<TPuesto> CreaPuestoMulti(const QString &carpeta, TCanal canal)
{
    return std::make_unique<TPuestoMulti>(carpeta, canal);
}

} // namespace simulacion
