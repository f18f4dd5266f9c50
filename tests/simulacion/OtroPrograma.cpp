#include "tests/simulacion/OtroPrograma.h"

#include "agenda/AgendaNDM.h"
#include "agenda/Ruttb.h"
#include "tests/simulacion/Vocabulario.h"

#include <stdexcept>

namespace simulacion
{

TOtroPrograma::TOtroPrograma(const QString &carpeta, const std::vector<std::unique_ptr<TTablaCruda>> &tablas)
    : m_crudas(tablas)
{
    m_aliases.setLockPatience(std::chrono::milliseconds(2));
    for (int notario = 1; notario <= Notarios; ++notario) {
        const QString alias = QStringLiteral("NOTARIO%1").arg(notario);
        m_aliases.add(alias, carpeta + u'/' + alias);
        m_tablas.push_back(std::make_unique<dataset::DbfTable>(m_aliases));
        m_tablas.back()->setDatabaseName(alias);
        PreparaTablaAgendaN(*m_tablas.back());
        m_tablas.back()->open();
    }
}

TOtroPrograma::~TOtroPrograma()
{
    Suelta();
}

bool TOtroPrograma::Haz(const TPaso &paso)
{
    dataset::DbfTable &tabla = *m_tablas.at(static_cast<std::size_t>(paso.A % Notarios));
    try {
        if (paso.Verbo == TVerbo::suelta)
            Suelta();
        else if (!m_bloquea)
            Cambia(paso, tabla);
        return true;
    } catch (const dataset::EDatabaseError &) {
        CancelaSinPreguntar(tabla);
        return false; // somebody else is at it
    }
}

void TOtroPrograma::Cambia(const TPaso &paso, dataset::DbfTable &tabla)
{
    const TTablaCruda::TLineas &lineas = m_crudas.at(static_cast<std::size_t>(paso.A % Notarios))->Lineas();
    if (paso.Verbo == TVerbo::bloqueaTabla) {
        tabla.beginGroup();
        m_bloquea = true;
        return;
    }
    if (paso.Verbo == TVerbo::otroAnade) {
        tabla.append();
        tabla.field(u"FECHA").setDate(Dia(paso.B % Dias));
        tabla.field(u"HORA").setText(Hora(paso.C));
        tabla.field(u"CONCEPTO").setText(Texto(paso.C));
        tabla.field(u"SALIDA").setText(QStringLiteral("N"));
        tabla.field(u"AVISO").setText(QStringLiteral("N"));
        tabla.post();
        return;
    }
    if (lineas.isEmpty())
        return;
    const quint32 marca = paso.B >= PorMarca ? static_cast<quint32>(paso.B - PorMarca)
                                             : std::next(lineas.cbegin(), paso.B % lineas.size()).key();
    tabla.refresh();
    if (!tabla.goToBookmark(marca))
        return;
    tabla.edit(dataset::EditOf::fresh);
    switch (paso.Verbo) {
    case TVerbo::bloqueaLinea:
        m_bloquea = true;
        return;
    case TVerbo::otroBorra:
        tabla.cancel();
        tabla.remove();
        return;
    case TVerbo::otroMueve:
        tabla.field(u"FECHA").setDate(Dia(paso.C % Dias));
        break;
    case TVerbo::otraHora:
        tabla.field(u"HORA").setText(Hora(paso.C));
        break;
    default:
        tabla.field(u"CONCEPTO").setText(Texto(paso.C));
        break;
    }
    tabla.post();
}

void TOtroPrograma::Suelta()
{
    for (const auto &tabla : m_tablas) {
        CancelaSinPreguntar(*tabla);
        tabla->dropGroup();
    }
    m_bloquea = false;
}

void TOtroPrograma::Sana()
{
    for (const auto &tabla : m_tablas) {
        try {
            tabla->refresh();
            const dataset::CommitGroup nada(*tabla);
        } catch (const dataset::EDatabaseError &) {
            // Held by itself or by one that lives: then the dead one was not writing in it.
        }
    }
}

} // namespace simulacion
