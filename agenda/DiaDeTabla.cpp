#include "agenda/DiaDeTabla.h"

#include "agenda/HoraTexto.h"
#include "agenda/LineaAgenda.h"
#include "agenda/Ruttb.h"
#include "dataset/DatabaseError.h"

#include <QtCore/QLoggingCategory>
#include <QtCore/QScopeGuard>

using dataset::DataSet;

namespace
{

Q_LOGGING_CATEGORY(registroDia, "agenda.dia")

} // namespace

/// What the table showed before a change.
struct TDiaDeTabla::TAntes {
    explicit TAntes(const TDiaDeTabla &dia)
        : Vista(dia.m_tabla.keepView())
        , Dia(dia.m_dia)
        , Restringida(dia.m_restringida)
        , Marca(dia.m_tabla.tag())
    {
    }
    dataset::KeptView Vista;
    QDate Dia;
    bool Restringida;
    int Marca;
};

QDate TDiaDeTabla::Mostrado() const
{
    // An order of another kind, or a host, may have dropped the range.
    return m_restringida && m_tabla.hasRange() ? m_dia : QDate();
}

QDate TDiaDeTabla::ALaVista() const
{
    if (const QDate mostrado = Mostrado(); mostrado.isValid())
        return mostrado;
    const QDate deLaLinea = m_tabla.isActive() ? TLineaAgenda::Actual(m_tabla).Fecha : QDate();
    return deLaLinea.isValid() ? deLaLinea : m_dia;
}

bool TDiaDeTabla::LineaFuera() const
{
    return m_tabla.hasRange() && !m_tabla.isEditing() && m_tabla.bookmark() != 0 && m_tabla.currentRow() < 0;
}

bool TDiaDeTabla::Muestra(QDate fecha)
{
    if (!fecha.isValid())
        return false;
    const bool hay = PonRangoDelDia(m_tabla, fecha, m_lineas);
    m_dia = fecha;
    m_restringida = true;
    return hay;
}

void TDiaDeTabla::MuestraTodo()
{
    QuitaRangoDelDia(m_tabla);
    m_restringida = false;
}

bool TDiaDeTabla::VeAOtro(TSentido sentido, const std::function<bool(QDate)> &rango)
{
    bool hay = false;
    TodoONada([&] { hay = VeAOtroDia(m_tabla, ALaVista(), sentido, rango); });
    return hay;
}

void TDiaDeTabla::TodoONada(const std::function<void()> &cambio)
{
    const dataset::ControlsGuard sinAvisos(m_tabla);
    const TAntes antes(*this);
    try {
        cambio();
    } catch (...) {
        Vuelve(antes);
        throw;
    }
}

/// Throws nothing: what led here is the failure to be told.
void TDiaDeTabla::Vuelve(const TAntes &antes)
{
    if (!m_tabla.isActive() || m_tabla.isEditing()) // what could not be posted on the way is still there
        return;
    m_tabla.showAgain(antes.Vista);
    m_tabla.setTag(antes.Marca);
    m_dia = antes.Dia;
    m_restringida = antes.Restringida;
    try {
        m_tabla.refresh();
    } catch (const std::exception &error) {
        qCWarning(registroDia, "The day shown before is shown as it was: %s", error.what());
    }
}

void TDiaDeTabla::Mientras(QDate fecha, const std::function<void()> &trabajo)
{
    const QDate mostrado = Mostrado();
    if (!mostrado.isValid() || !fecha.isValid() || fecha == mostrado) {
        trabajo();
        return;
    }
    const dataset::ControlsGuard sinAvisos(m_tabla);
    const TAntes antes(*this);
    const dataset::Bookmark linea = m_tabla.bookmark();
    bool enSuLinea = false;
    const auto vuelve = qScopeGuard([&] {
        const dataset::Bookmark actual = m_tabla.bookmark();
        Vuelve(antes);
        try {
            if (enSuLinea)
                m_tabla.goToBookmark(actual);
        } catch (const std::exception &error) {
            qCWarning(registroDia, "The line that was current stays so: %s", error.what());
        }
    });
    Muestra(fecha);
    if (linea != 0 && !m_tabla.goToBookmark(linea))
        throw dataset::EDatabaseError(
            QStringLiteral("Otro puesto ha borrado o cambiado de sitio la línea mientras tanto"),
            dbase::ErrorKind::conflict);
    enSuLinea = true;
    trabajo();
}

int TDiaDeTabla::FueraDeHora(bool verlas)
{
    const QDate dia = Mostrado();
    if (!dia.isValid())
        return 0;
    int cuantas = 0;
    TodoONada([&] {
        const dataset::Bookmark donde = m_tabla.bookmark();
        const bool estaba = m_tabla.currentRow() >= 0;
        TBRango(m_tabla, ClaveDelDia(dia), ClaveDelDia(dia));
        for (int fila = 0; fila < m_tabla.rowCount(); ++fila)
            cuantas += SeVeEnSuHoja(TextoDeFila(m_tabla, fila, TCampoLinea::hora)) ? 0 : 1;
        if (cuantas == 0 || !verlas)
            PonRangoDelDia(m_tabla, dia, m_lineas);
        if (estaba && m_tabla.rowOf(donde) >= 0)
            m_tabla.goToBookmark(donde);
    });
    return cuantas;
}
