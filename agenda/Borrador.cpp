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
    m_deOtros.clear();
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
        m_deOtros.clear();
        if (!m_nueva && tabla.goToBookmark(m_linea) && comienzos.Modifica()) {
            const QVariantList ahora = ValoresDe(tabla);
            m_haCambiado = ahora != m_antes;
            for (int campo = 0; campo < ahora.size(); ++campo) {
                const QVariant &suyo = ahora.at(campo);
                if (suyo != m_antes.value(campo) && suyo != m_tecleado.value(campo) &&
                    m_tecleado.value(campo) != m_antes.value(campo))
                    m_deOtros << tabla.field(campo).asText();
            }
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

QString TBorrador::LoDeOtros() const
{
    return m_deOtros.isEmpty()
               ? QString()
               : QStringLiteral("\nEl otro puesto había escrito: ") + m_deOtros.join(QStringLiteral(", "));
}

void TBorrador::Escribe(DataSet &tabla, bool soloLoTecleado) const
{
    for (int campo = 0; campo < m_tecleado.size(); ++campo) {
        if (!soloLoTecleado || m_tecleado.at(campo) != m_antes.value(campo))
            tabla.field(campo).setValue(m_tecleado.at(campo));
    }
}
