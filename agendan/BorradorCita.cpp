#include "agendan/BorradorCita.h"

#include "agenda/LineaAgenda.h"
#include "agendan/ClaseAgendaN.h"
#include "dataset/DatabaseError.h"

using dataset::DataSet;

namespace
{

QVariantList ValoresDe(DataSet &tabla)
{
    QVariantList valores;
    for (int campo = 0; campo < tabla.fieldCount(); ++campo)
        valores << tabla.field(campo).value();
    return valores;
}

} // namespace

void TBorradorCita::Empieza(DataSet &tabla)
{
    m_nueva = tabla.state() == DataSet::State::insert;
    m_linea = tabla.bookmark();
    m_antes = ValoresDe(tabla);
    m_tecleado = m_antes;
    m_enEspera = false;
}

void TBorradorCita::Guarda(DataSet &tabla)
{
    m_tecleado = ValoresDe(tabla);
}

TBorradorCita::TLugar TBorradorCita::Recupera(TClassAgendaN &motor)
{
    try {
        DataSet &tabla = motor.TablaActual();
        if (tabla.isEditing()) // moving away from what is only held would write it
            motor.CancelarAgendaN(false);
        m_enEspera = false;
        if (!m_nueva && tabla.goToBookmark(m_linea) && motor.Modificar(dataset::EditOf::fresh)) {
            Escribe(tabla, true);
            return TLugar::suLinea;
        }
        const bool hayLinea = !m_nueva && tabla.goToBookmark(m_linea);
        const QDate fecha = m_tecleado.value(tabla.fieldIndex(NombreDe(TCampoLinea::fecha))).toDate();
        const QString hora = m_tecleado.value(tabla.fieldIndex(NombreDe(TCampoLinea::hora))).toString();
        if (motor.Anadir(fecha, hora)) {
            Escribe(tabla, false);
            m_enEspera = hayLinea;
            return m_nueva ? TLugar::suLinea : hayLinea ? TLugar::enEspera : TLugar::lineaNueva;
        }
    } catch (const std::exception &error) {
        qWarning("What was typed could not be taken up again: %s", error.what());
        motor.CancelarAgendaN(false);
    }
    return TLugar::ninguno;
}

void TBorradorCita::Escribe(DataSet &tabla, bool soloLoTecleado) const
{
    for (int campo = 0; campo < m_tecleado.size(); ++campo) {
        if (!soloLoTecleado || m_tecleado.at(campo) != m_antes.value(campo))
            tabla.field(campo).setValue(m_tecleado.at(campo));
    }
}
