#pragma once

#include "agenda/InformesAgenda.h"
#include "dataset/DataSet.h"

#include <QtCore/QStringList>

#include <functional>

namespace support
{

/// Layouts that note what they are given.
class InformesDePrueba : public IInformesAgenda
{
public:
    struct Informe : IInforme {
        Informe(InformesDePrueba &duenyo, dataset::DataSet &datos)
            : Duenyo(duenyo)
            , Datos(datos)
        {
            ++Duenyo.Vivos;
        }
        ~Informe() override { --Duenyo.Vivos; }
        void Preview() override { Duenyo.Mira(Datos); }
        void PonDeQuien(const QString &deQuien) override { Duenyo.DeQuien << deQuien; }
        InformesDePrueba &Duenyo;
        dataset::DataSet &Datos;
    };
    std::unique_ptr<IInforme> CreaQRAgendaDiaN(QObject *, QDate fecha, dataset::DataSet &datos,
                                               const std::optional<QString> &oficial) override
    {
        Pedidos << "dia " + fecha.toString("dd/MM") + (oficial ? " [" + *oficial + "]" : QString());
        return std::make_unique<Informe>(*this, datos);
    }
    std::unique_ptr<IInforme> CreaQRAgendaN(QObject *, QDate lunes, dataset::DataSet &semana) override
    {
        Pedidos << "semana " + lunes.toString("dd/MM");
        return std::make_unique<Informe>(*this, semana);
    }
    void Mira(dataset::DataSet &datos)
    {
        Filas.clear();
        for (datos.first(); !datos.eof(); datos.next()) {
            QStringList celdas;
            for (const QString campo :
                 {"SEMISEMANA", "HORA_1", "CONCEPTO_1", "HORA_2", "CONCEPTO_2", "HORA_3", "CONCEPTO_3"}) {
                if (datos.fieldIndex(campo) >= 0)
                    celdas << datos.field(campo).asText();
            }
            Filas << celdas.join(',');
        }
        if (EnVista)
            EnVista(datos);
    }
    QStringList Pedidos;
    QStringList DeQuien; ///< as the documents of those reports are named
    QStringList Filas;
    int Vivos = 0;
    std::function<void(dataset::DataSet &)> EnVista;
};

} // namespace support
