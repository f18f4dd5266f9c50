#include "tests/simulacion/OtroPrograma.h"

#include "agenda/AgendaNDM.h"
#include "agenda/AgendaZenDM.h"
#include "agenda/Ruttb.h"

namespace simulacion
{

TOtroPrograma::TOtroPrograma(TCual cual, const QString &carpeta,
                             const std::vector<std::unique_ptr<TTablaCruda>> &tablas)
    : m_cual(cual)
    , m_crudas(tablas)
{
    m_aliases.setLockPatience(std::chrono::milliseconds(2));
    m_aliases.add(QStringLiteral("DB"), carpeta + u'/' + NombreDe(cual));
    for (int notario = 1; notario <= TablasDe(cual); ++notario) {
        const QString alias = QStringLiteral("NOTARIO%1").arg(notario);
        m_aliases.add(alias, carpeta + u'/' + alias);
        m_tablas.push_back(std::make_unique<dataset::DbfTable>(m_aliases));
        m_tablas.back()->setDatabaseName(alias);
        EsDeUnaTabla(cual) ? PreparaTablaAgenda(*m_tablas.back()) : PreparaTablaAgendaN(*m_tablas.back());
        m_tablas.back()->open();
    }
}

TOtroPrograma::~TOtroPrograma()
{
    Suelta();
}

bool TOtroPrograma::Haz(const TPaso &paso)
{
    dataset::DbfTable &tabla = *m_tablas.at(static_cast<std::size_t>(paso.A) % m_tablas.size());
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
    const TTablaCruda::TLineas &lineas =
        m_crudas.at(static_cast<std::size_t>(paso.A) % m_crudas.size())->Lineas();
    if (paso.Verbo == TVerbo::bloqueaTabla) {
        tabla.beginGroup();
        m_bloquea = true;
        return;
    }
    if (paso.Verbo == TVerbo::otroAnade) {
        tabla.append();
        tabla.field(u"FECHA").setDate(Dia(paso.B % Dias));
        tabla.field(u"HORA").setText(Hora(paso.C));
        PonTexto(tabla, paso.C);
        tabla.field(u"SALIDA").setText(QStringLiteral("N"));
        if (!EsDeUnaTabla(m_cual))
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
        PonTexto(tabla, paso.C);
        break;
    }
    tabla.post();
}

/// In the subject; in the single table also elsewhere, and of two notaries' texts in the half of one.
void TOtroPrograma::PonTexto(dataset::DbfTable &tabla, int numero) const
{
    const bool enConcepto = !EsDeUnaTabla(m_cual) || numero % 3 != 0;
    dataset::Field campo = tabla.field(enConcepto ? u"CONCEPTO" : u"INTERESADO");
    QString texto = Texto(numero);
    if (m_cual == TCual::doble) {
        const int desde = enConcepto ? 45 : 50; // of the second notary's half
        const QString todo = campo.asText().leftJustified(desde);
        texto = numero % 2 == 0 ? texto.leftJustified(desde) + todo.mid(desde) : todo.left(desde) + texto;
    }
    campo.setText(texto);
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
