#include "agenda/Borrador.h"

#include "agenda/LineaAgenda.h"
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
    m_interesado = tabla.fieldIndex(NombreDe(TCampoLinea::interesado));
    m_codigo = tabla.fieldIndex(NombreDe(TCampoLinea::codCliente));
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
                // A code says nothing to the clerk; his party is told.
                if (campo != m_codigo && SeHaTecleado(campo) && Difieren(ahora, m_antes, campo) &&
                    Difieren(ahora, m_tecleado, campo))
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

/// Whether a field says different things in two states of the line; of a party or his code, whether either
/// does.
bool TBorrador::Difieren(const QVariantList &unos, const QVariantList &otros, int campo) const
{
    const auto uno = [&](int cual) { return unos.value(cual) != otros.value(cual); };
    return campo == m_interesado || campo == m_codigo ? uno(m_interesado) || uno(m_codigo) : uno(campo);
}

QStringList TBorrador::Tecleado() const
{
    QStringList textos;
    for (qsizetype campo = 0; campo < m_tecleado.size(); ++campo) {
        if (campo != m_codigo && SeHaTecleado(static_cast<int>(campo)))
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
        if (!soloLoTecleado || SeHaTecleado(campo))
            tabla.field(campo).setValue(m_tecleado.at(campo));
    }
}
