#pragma once

#include "agenda/AgendaNDM.h"
#include "dataset/DbfTable.h"

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

#include <thread>

/// The file's clock must have moved on, or a refresh has to read the file to be sure that nobody wrote.
inline void EsperaReposo()
{
    std::this_thread::sleep_for(std::chrono::milliseconds(80));
}

/// Gives the current line another subject.
inline void CambiaUnaLinea(dataset::DataSet &tabla)
{
    static int vez = 0;
    tabla.edit();
    tabla.field(2).setText(QString::number(++vez));
    tabla.post();
}

/// A notary's agenda of twenty years in a folder of its own: 24 lines on each of 6,250 working days, 150,000
/// in all.
class TTablaGrande
{
public:
    static constexpr int Dias = 6250;
    static constexpr int LineasPorDia = 24;

    TTablaGrande()
    {
        m_aliases.add(Alias(), m_carpeta.path());
        const auto tabla = Cursor(m_aliases);
        tabla->createFile(CamposAgendaN());
        tabla->open();
        for (int dia = 0; dia < Dias; ++dia) {
            for (int hueco = 0; hueco < LineasPorDia; ++hueco)
                Anade(*tabla, Dia(dia), hueco);
        }
    }
    static QDate Dia(int numero) { return QDate(2006, 1, 2).addDays(numero * 7 / 6); }
    static void Anade(dataset::DataSet &tabla, QDate fecha, int hueco)
    {
        tabla.append();
        tabla.field(0).setDate(fecha);
        tabla.field(1).setText(
            QStringLiteral("%1:%2").arg(9 + hueco / 2, 2, 10, QLatin1Char('0')).arg(hueco % 2 ? "30" : "00"));
        tabla.field(2).setText(QStringLiteral("Escritura número %1 de compraventa").arg(hueco));
        tabla.field(4).setText(QStringLiteral("María Núñez Peláez"));
        tabla.field(6).setText(QStringLiteral("N"));
        tabla.post();
    }
    /// The database in which the table lies.
    static QString Alias() { return QStringLiteral("NOTARIO1"); }
    /// A cursor that is not open yet, over the table of any folder.
    static std::unique_ptr<dataset::DbfTable> Cursor(const dataset::Aliases &aliases)
    {
        auto tabla = std::make_unique<dataset::DbfTable>(aliases);
        tabla->setDatabaseName(Alias());
        tabla->setDurable(false);
        PreparaTablaAgendaN(*tabla);
        return tabla;
    }
    std::unique_ptr<dataset::DbfTable> Abierta() const
    {
        auto tabla = Cursor(m_aliases);
        tabla->open();
        return tabla;
    }
    [[nodiscard]] const dataset::Aliases &Aliases() const { return m_aliases; }

private:
    QTemporaryDir m_carpeta;
    dataset::Aliases m_aliases;
};
