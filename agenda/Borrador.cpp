#include "agenda/Borrador.h"

#include "agenda/Ruttb.h"

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

void TBorrador::Empieza(DataSet &tabla)
{
    m_nueva = tabla.state() == DataSet::State::insert;
    m_linea = tabla.bookmark();
    m_antes = ValoresDe(tabla);
    m_tecleado = m_antes;
    m_enEspera = m_haCambiado = false;
}

void TBorrador::Guarda(DataSet &tabla)
{
    m_tecleado = ValoresDe(tabla);
}

TBorrador::TLugar TBorrador::Recupera(DataSet &tabla, const TComienzos &comienzos)
{
    try {
        if (tabla.isEditing()) // moving away from what is only held would write it
            CancelaSinPreguntar(tabla);
        m_enEspera = m_haCambiado = false;
        if (!m_nueva && tabla.goToBookmark(m_linea) && comienzos.Modifica()) {
            m_haCambiado = ValoresDe(tabla) != m_antes;
            Escribe(tabla, true);
            return TLugar::suLinea;
        }
        const bool hayLinea = !m_nueva && tabla.goToBookmark(m_linea);
        if (comienzos.Anade && comienzos.Anade()) {
            Escribe(tabla, false);
            m_enEspera = hayLinea;
            return m_nueva ? TLugar::suLinea : hayLinea ? TLugar::enEspera : TLugar::lineaNueva;
        }
    } catch (const std::exception &error) {
        qWarning("What was typed could not be taken up again: %s", error.what());
        CancelaSinPreguntar(tabla);
    }
    return TLugar::ninguno;
}

QStringList TBorrador::Tecleado() const
{
    QStringList textos;
    for (qsizetype campo = 0; campo < m_tecleado.size(); ++campo) {
        if (m_tecleado.at(campo) != m_antes.value(campo))
            textos << m_tecleado.at(campo).toString();
    }
    return textos;
}

void TBorrador::Escribe(DataSet &tabla, bool soloLoTecleado) const
{
    for (int campo = 0; campo < m_tecleado.size(); ++campo) {
        if (!soloLoTecleado || m_tecleado.at(campo) != m_antes.value(campo))
            tabla.field(campo).setValue(m_tecleado.at(campo));
    }
}
