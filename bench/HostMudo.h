#pragma once

#include "agenda/host/Servicios.h"

#include <QtCore/QDir>

/// A host that says nothing and is asked nothing while days go by.
struct THostMudo : IMensaje, IRut, IRvarias, TConfig, IReloj {
    int Mensajes(const TMensaje &) override { return 0; }
    int Mensaje_SiNo(const QString &, const QString &, const QString &) override { return 0; }
    int Mensaje_NoSi(const QString &, const QString &, const QString &) override { return 0; }
    void Mensaje_Error(const QString &, const QString &) override {}
    QString AliasNotario(int) override { return QStringLiteral("NOTARIO1"); }
    bool PreguntaFecha(QDate &fecha, const QString &, const QString &) override
    {
        fecha = Destino;
        return Destino.isValid();
    }
    bool PreguntaOficial(QString &) override { return false; }
    void Visualizador(report::Report &) override {}
    bool EsBoton(const QWidget *) const override { return false; }
    void TomaFocoControl(QWidget &) override {}
    void DejaFocoControl(QWidget &) override {}
    int GetnCuantos() const override { return Cuantos; }
    QString GetAliasZentra() const override { return QStringLiteral("NOTARIO1"); }
    QString GetNombre1() const override { return {}; }
    QString GetDon() const override { return {}; }
    QStringList GetNotarios() const override { return {QStringLiteral("Ana Núñez")}; }
    QString GetPath() const override { return QDir::tempPath() + u'/'; }
    QDate GetAgenda_FechaInicio() const override { return {}; }
    void SetAgenda_FechaInicio(QDate) override {}
    QString GetPrnOtros() const override { return {}; }
    QDate Hoy() const override { return {2026, 11, 20}; }

    QDate Destino;   ///< answer to the question for a date; invalid: cancelled
    int Cuantos = 1; ///< notaries; all have the same table, and what is measured does not know
};
