// The day of several notaries side by side as its clerk works it.

#include "agenda3p/Agenda3P.h"
#include "host/AgendaConjunta.h"
#include "host/DialogoHora.h"
#include "tests/simulacion/Puesto.h"

#include <QtCore/QTimer>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLineEdit>

namespace simulacion
{

namespace
{

class TPuestoConjunta : public TPuesto
{
public:
    TPuestoConjunta(const QString &carpeta, TCanal canal)
        : TPuesto(TCual::conjunta, carpeta, canal)
    {
    }

private:
    void Trabaja(QDate dia) override
    {
        TAgenda3P motor(nullptr, {}, {}, this);
        m_motor = &motor;
        TFAgendaConjunta ventana(
            motor, &m_clientes, {{QStringLiteral("ANA"), QStringLiteral("BENITO")}, [] { return 0xC6C6FFU; }},
            nullptr);
        ventana.VeAlDia(dia);
        ventana.ShowModal();
    }
    [[nodiscard]] bool EsVentana(const QObject &objeto) const override
    {
        return qobject_cast<const TFAgendaConjunta *>(&objeto) != nullptr;
    }
    [[nodiscard]] dataset::DataSet *Tabla() const override { return &m_motor->TablaActual(); }
    [[nodiscard]] int Notario() const override
    {
        if (const QModelIndex celda = Rejilla().currentIndex(); celda.isValid())
            return TModeloConjunto::NotarioDe(celda.column());
        return m_motor->Tabla(1) == &m_motor->TablaActual() ? 1 : Notarios; // a day without rows
    }
    [[nodiscard]] QTimer *Reloj() const override { return En<QTimer>("Reloj"); }
    [[nodiscard]] QLineEdit *Hora() const
    {
        QWidget *const dialogo = qobject_cast<TDialogoHora *>(Ficha());
        return dialogo ? En<QLineEdit>("EHora", dialogo) : nullptr;
    }
    [[nodiscard]] bool PideHora() const override { return Hora() != nullptr; }
    [[nodiscard]] QString Fecha() const override { return En<QLineEdit>("MEFecha")->text(); }
    [[nodiscard]] QList<QByteArray> Columnas() const override
    {
        return {"CONCEPTO", "INTERESADO", "OFICIAL"};
    }
    bool HazLoSuyo(const TPaso &paso) override;
    bool MiraLineas(TPantalla &pantalla) const override;
    void MiraLoSuyo(TPantalla &pantalla) const override;

    TAgenda3P *m_motor = nullptr; ///< of the window; only asked while that is open
};

bool TPuestoConjunta::HazLoSuyo(const TPaso &paso)
{
    if (QLineEdit *const hora = Hora()) {
        if (paso.Verbo != TVerbo::eligeDia)
            return false;
        if (paso.A >= 0)
            Escribe(hora, simulacion::Hora(paso.A).remove(u':'));
        QTest::keyClick(hora->window()->windowHandle(), paso.A < 0 ? Qt::Key_Escape : Qt::Key_Return);
        return true;
    }
    switch (paso.Verbo) {
    case TVerbo::texto:
        return TecleaEnCelda(paso);
    case TVerbo::accion:
        return Acciona(paso);
    case TVerbo::clic:
        return Clic(paso.A, paso.C, paso.B == 1 ? Qt::ControlModifier : Qt::NoModifier);
    case TVerbo::fecha:
        return EscribeFecha(paso);
    default:
        return false;
    }
}

bool TPuestoConjunta::MiraLineas(TPantalla &pantalla) const
{
    const auto &modelo = static_cast<const TModeloConjunto &>(*Rejilla().model());
    const auto &rejilla = static_cast<const TRejillaConjunta &>(Rejilla());
    const QList<QByteArray> columnas = Columnas();
    for (int notario = 1; notario <= Notarios; ++notario) {
        for (int fila = 0; fila < modelo.rowCount(); ++fila) {
            const int primera = (notario - 1) * CamposPorNotario;
            const auto texto = [&](const char *campo) {
                if (qstrcmp(campo, "HORA") == 0)
                    return modelo.Hora(fila);
                if (qstrcmp(campo, "SALIDA") == 0)
                    return QString(modelo.index(fila, primera).data(Qt::BackgroundRole).isValid() ? "S" : "");
                return modelo.index(fila, primera + static_cast<int>(columnas.indexOf(campo)))
                    .data()
                    .toString();
            };
            if (const quint32 marca = modelo.Linea(fila, notario); marca != 0)
                pantalla.Filas.append({{notario, marca},
                                       LineaDe(m_cual,
                                               static_cast<TFAgendaConjunta *>(m_ventana)->Fecha().toString(
                                                   QStringLiteral("yyyyMMdd")),
                                               texto)});
        }
    }
    const QModelIndex celda = rejilla.currentIndex();
    pantalla.Actual = {Notario(), modelo.Linea(celda.row(), Notario())};
    pantalla.FilaActual = celda.row();
    for (const QModelIndex &una : rejilla.selectionModel()->selectedIndexes()) {
        const int notario = TModeloConjunto::NotarioDe(una.column());
        const TSitio sitio{notario, modelo.Linea(una.row(), notario)};
        if (sitio.Marca != 0 && !pantalla.Seleccion.contains(sitio))
            pantalla.Seleccion << sitio;
    }
    pantalla.Editor = pantalla.Editando = rejilla.EstaEditando();
    return true;
}

void TPuestoConjunta::MiraLoSuyo(TPantalla &pantalla) const
{
    pantalla.FechaConFoco = m_ventana->focusWidget() == En<QLineEdit>("MEFecha");
    if (const auto *const editor = Rejilla().findChild<QLineEdit *>(); editor && pantalla.Editor)
        pantalla.Pendiente = editor->text();
}

} // namespace

std::unique_ptr<TPuesto> CreaPuestoConjunta(const QString &carpeta, TCanal canal)
{
    return std::make_unique<TPuestoConjunta>(carpeta, canal);
}

} // namespace simulacion
