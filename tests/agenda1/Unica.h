#pragma once

#include "agenda1/ClasAge.h"
#include "tests/support/OficinaDePrueba.h"

#include <gtest/gtest.h>

#include <functional>

namespace support
{

inline const QDate Dia{2026, 11, 16};

/// The values of a line of AGENDA.
struct LineaUnica {
    QDate fecha;
    // Initialisers, so that the last ones may be left out.
    QString hora = QString();
    QString concepto = QString();
    QString interesado = QString();
    QString oficial = QString();
    QString salida = QStringLiteral("N");
};

/// An office with AGENDA.DBF, and an engine whose windows are steps of the test.
class UnicaTest : public testing::Test, public IVistasAgenda
{
protected:
    UnicaTest()
    {
        const auto carpeta = oficina.carpetaDe("DB");
        std::filesystem::create_directories(carpeta);
        oficina.Aliases.add(QStringLiteral("DB"), QString::fromStdString(carpeta.string()));
        dataset::DbfTable tabla(oficina.Aliases);
        PreparaTablaAgenda(tabla);
        tabla.createFile(CamposAgenda());
    }
    [[nodiscard]] std::unique_ptr<dataset::DbfTable> tabla() const
    {
        auto abierta = std::make_unique<dataset::DbfTable>(oficina.Aliases);
        PreparaTablaAgenda(*abierta);
        abierta->setDurable(false);
        abierta->open();
        return abierta;
    }
    void linea(const LineaUnica &linea) const
    {
        const auto donde = tabla();
        donde->append();
        donde->field(u"FECHA").setDate(linea.fecha);
        donde->field(u"HORA").setText(linea.hora);
        donde->field(u"CONCEPTO").setText(linea.concepto);
        donde->field(u"INTERESADO").setText(linea.interesado);
        donde->field(u"OFICIAL").setText(linea.oficial);
        donde->field(u"SALIDA").setText(linea.salida);
        donde->post();
    }
    /// The settings row. @param nombres  two names for two notaries.
    void ajustes(const QString &horas = QStringLiteral("0910"),
                 const QString &intervalo = QStringLiteral("30"), const QStringList &nombres = {}) const
    {
        linea({FechaAjustes, intervalo, horas,
               nombres.isEmpty() ? QString() : nombres[0].leftJustified(50) + nombres[1].rightJustified(50),
               nombres.isEmpty() ? QString() : QStringLiteral("CONVENIO"), QString()});
    }
    /// Every line of a day as the file holds it, its fields between bars.
    [[nodiscard]] QStringList dia(QDate fecha = Dia) const
    {
        QStringList lineas;
        const auto abierta = tabla();
        abierta->setRange({{"FECHA", fecha}}, {{"FECHA", fecha}});
        for (abierta->first(); !abierta->eof(); abierta->next()) {
            QStringList campos;
            for (const QStringView campo : {u"HORA", u"CONCEPTO", u"INTERESADO", u"OFICIAL", u"SALIDA"})
                campos << abierta->field(campo).asText();
            lineas << campos.join(u'|');
        }
        return lineas;
    }
    /// Shows the agenda of a day; the steps run where its window would be open.
    void abre(const std::function<void(TAgenda &)> &pasos, QDate fecha = Dia)
    {
        m_pasos = pasos;
        TAgenda(fecha, this, informes).IAgenda(nullptr);
    }

    // IVistasAgenda
    void MuestraAgenda(TAgenda &motor) override { muestra(motor, 1); }
    void MuestraAgenda2(TAgenda &motor) override { muestra(motor, 2); }
    void MuestraConfAgenda(TAgenda &motor, QObject * /*propietario*/) override { muestra(motor, 3); }

    OficinaDePrueba oficina;
    IInformesAgenda1 *informes = nullptr; ///< of the test
    int mostrada = 0;                     ///< 1 for one notary, 2 for two, 3 for the settings

private:
    void muestra(TAgenda &motor, int cual)
    {
        mostrada = cual;
        if (const auto pasos = m_pasos) // which may open another agenda in their middle
            pasos(motor);
    }
    std::function<void(TAgenda &)> m_pasos;
};

} // namespace support
