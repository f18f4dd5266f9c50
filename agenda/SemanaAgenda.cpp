#include "agenda/SemanaAgenda.h"

#include "agenda/AgendaNDM.h"
#include "agenda/LineaAgenda.h"
#include "agenda/Rnumcad.h"
#include "agenda/Ruttb.h"
#include "agenda/host/Servicios.h"

#include <QtCore/QLoggingCategory>

#include <algorithm>
#include <array>
#include <exception>

using dataset::DataSet;
using dataset::MemTable;

namespace
{

Q_LOGGING_CATEGORY(registroSemana, "agenda.semana")

constexpr int DiasPorMitad = 3;
constexpr int DiasDeLaSemana = 2 * DiasPorMitad; // Monday to Saturday
constexpr int AnchoOficial = 16;

/// Fields of a day inside a week-report row, without the digit of its column.
constexpr std::array CamposDelDia{TCampoLinea::hora, TCampoLinea::concepto, TCampoLinea::interesado,
                                  TCampoLinea::oficial, TCampoLinea::salida};

/// Fills the rows of one week. Lines come by date, so all rows of the first half stand before those of the
/// second.
class TLlenador
{
public:
    TLlenador(MemTable &semana, QDate lunes)
        : m_semana(semana)
        , m_lunes(lunes)
    {
    }

    void PonLinea(const TLineaAgenda &una)
    {
        const int dia = DiaDe(una.Fecha);
        const int mitad = dia / DiasPorMitad;
        const int columna = dia % DiasPorMitad + 1;
        const int linea = ++m_lineas[static_cast<std::size_t>(dia)];
        PreparaFila(dia, mitad, linea);
        for (const TCampoLinea campo : CamposDelDia)
            m_semana.field(QString(NombreDe(campo) + u'_' + QString::number(columna)))
                .setText(una.Texto(campo));
        m_semana.post();
    }

private:
    /// A date outside the week counts as its Monday, deliberately.
    [[nodiscard]] int DiaDe(QDate fecha) const
    {
        const qint64 dia = m_lunes.daysTo(fecha);
        return fecha.isValid() && dia >= 0 && dia < DiasDeLaSemana ? static_cast<int>(dia) : 0;
    }

    /// A new row where the day has more lines than the other two of its half; otherwise the one with that
    /// number.
    void PreparaFila(int dia, int mitad, int linea)
    {
        bool laMayor = true;
        for (int otro = mitad * DiasPorMitad; otro < (mitad + 1) * DiasPorMitad; ++otro)
            laMayor = laMayor && (otro == dia || linea > m_lineas[static_cast<std::size_t>(otro)]);
        if (laMayor) {
            m_semana.append();
            m_semana.field(u"SEMISEMANA").setInteger(mitad + 1);
            return;
        }
        const int campo = m_semana.fieldIndex(u"SEMISEMANA");
        int fila = 0;
        while (fila < m_semana.rowCount() && m_semana.valueAt(fila, campo).toInt() != mitad + 1)
            ++fila;
        m_semana.setCurrentRow(std::min(fila + linea - 1, m_semana.rowCount() - 1));
        m_semana.edit();
    }

    MemTable &m_semana;
    QDate m_lunes;
    std::array<int, DiasDeLaSemana> m_lineas{};
};

/// Does one thing after the other, whatever fails. The first failure is the one to be told, the others are
/// logged.
class TIntentos
{
public:
    void Intenta(const char *que, const std::function<void()> &trabajo)
    {
        try {
            trabajo();
        } catch (const std::exception &error) {
            if (m_primero)
                qCWarning(registroSemana, "%s: %s", que, error.what());
            else
                m_primero = std::current_exception();
        }
    }
    void Dilo() const
    {
        if (m_primero)
            std::rethrow_exception(m_primero);
    }

private:
    std::exception_ptr m_primero;
};

void AbreVacia(MemTable &semana)
{
    if (semana.isActive())
        semana.emptyTable();
    else
        semana.create(CamposAgendaSemanal());
}

} // namespace

const QDate UltimoDia(9999, 12, 31); // that a table can hold

QDate LunesDe(QDate fecha)
{
    return fecha.addDays(1 - fecha.dayOfWeek());
}

void LlenaSemana(DataSet &origen, MemTable &semana, QDate lunes, const std::optional<QString> &oficial)
{
    TLlenador llenador(semana, lunes);
    for (origen.first(); !origen.eof(); origen.next()) {
        const TLineaAgenda linea = TLineaAgenda::Actual(origen);
        if (!oficial || linea.Oficial == *oficial)
            llenador.PonLinea(linea);
    }
}

void HazInformeSemana(const TMotorDeSemana &motor, QDate fecha, const std::optional<QString> &oficial,
                      const std::function<void(QDate)> &muestra)
{
    const QDate lunes = LunesDe(fecha);
    const dataset::ControlsGuard sinAvisos(motor.Tabla);
    const dataset::Bookmark donde = motor.Tabla.bookmark();
    const auto cierraSemana = [&motor] {
        if (motor.Semana.isEditing())
            motor.Semana.cancel();
        motor.Semana.close();
    };
    const auto vuelveAlDia = [&] {
        motor.PonRango(fecha);
        if (motor.Tabla.rowOf(donde) >= 0)
            motor.Tabla.goToBookmark(donde);
    };
    TIntentos intentos;
    intentos.Intenta("The week report", [&] {
        motor.CancelaRango();
        TBRango(motor.Tabla, ClaveDelDia(lunes),
                ClaveDelDia(std::min(lunes.addDays(DiasDeLaSemana - 1), UltimoDia)));
        AbreVacia(motor.Semana);
        LlenaSemana(motor.Tabla, motor.Semana, lunes, oficial);
        muestra(lunes);
    });
    intentos.Intenta("Closing the week rows", cierraSemana);
    // Without it the day's range is still set: the whole table is never to be seen in its place.
    intentos.Intenta("Leaving the week", [&motor] { motor.CancelaRango(); });
    intentos.Intenta("Going back to the day", vuelveAlDia);
    intentos.Dilo();
}

QString OficialDelInforme(const QString &nombre)
{
    return StrLeft(nombre, AnchoOficial).trimmed();
}

std::optional<QString> PreguntaOficialDelInforme()
{
    QString nombre;
    if (!Servicios().Rut->PreguntaOficial(nombre))
        return std::nullopt;
    return OficialDelInforme(nombre);
}
