// The notaries of the office: rows of the configuration, shown as a list like the others.

#include "agenda/AgendaNDM.h"
#include "dataset/DatabaseError.h"
#include "dataset/MemTable.h"
#include "host/DialogoLista.h"
#include "host/Dialogos.h"
#include "host/FichaDatos.h"
#include "host/MantenimientoDatos.h"
#include "host/TablasOficina.h"
#include "host/VentanaOficina.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtWidgets/QApplication>

#include <algorithm>

using dataset::Bookmark;
using dataset::FieldKind;

namespace
{

const QString ColumnaNombre = QStringLiteral("NOMBRE");
const QString ColumnaAlias = QStringLiteral("ALIAS");

class TMantieneNotarios
{
public:
    explicit TMantieneNotarios(TOficina &oficina);
    void Muestra(QWidget *padre);

private:
    void Lee();
    void Guarda(const QList<TNotario> &notarios);
    std::optional<TNotario> Ficha(const TNotario &inicial, bool nuevo);
    [[nodiscard]] std::optional<TDefecto> Revisa(dataset::DataSet &ficha, const TNotario &inicial,
                                                 bool nuevo) const;
    [[nodiscard]] QString AliasLibre() const;
    [[nodiscard]] bool TieneAgenda(const QString &alias) const;
    Bookmark Anade();
    Bookmark Cambia(int fila);
    Bookmark Borra(int fila);

    TOficina &m_oficina;
    dataset::MemTable m_lista;
    QList<TNotario> m_notarios;
};

TMantieneNotarios::TMantieneNotarios(TOficina &oficina)
    : m_oficina(oficina)
{
    m_lista.create({{ColumnaNombre, FieldKind::text, 60},
                    {ColumnaAlias, FieldKind::text, 20},
                    {"CARPETA", FieldKind::text, 250}});
    Lee();
}

void TMantieneNotarios::Lee()
{
    const dataset::ControlsGuard deUnaVez(m_lista);
    m_oficina.LeeAliases();
    m_notarios = m_oficina.Config.Notarios();
    m_lista.emptyTable();
    for (const TNotario &notario : std::as_const(m_notarios))
        AnadeLinea(m_lista, {notario.Nombre, notario.Alias,
                             QDir::toNativeSeparators(m_oficina.Aliases.folderOf(notario.Alias))});
    m_lista.first();
}

void TMantieneNotarios::Guarda(const QList<TNotario> &notarios)
{
    try {
        m_oficina.Config.SetNotarios(notarios, m_notarios);
    } catch (const dataset::EDatabaseError &) {
        Lee(); // others may have been quicker
        throw;
    }
    Lee();
}

/// One without a folder, too: in that of a notary who was removed his agenda still is.
QString TMantieneNotarios::AliasLibre() const
{
    for (int numero = 1;; ++numero) {
        const QString alias = QStringLiteral("NOTARIO%1").arg(numero);
        if (!m_oficina.Aliases.contains(alias) && !QFileInfo::exists(m_oficina.Config.CarpetaDeAlias(alias)))
            return alias;
    }
}

std::optional<TDefecto> TMantieneNotarios::Revisa(dataset::DataSet &ficha, const TNotario &inicial,
                                                  bool nuevo) const
{
    const QString nombre = ficha.field(ColumnaNombre).asText();
    const QString alias = ficha.field(ColumnaAlias).asText().toUpper();
    if (nombre.isEmpty())
        return TDefecto{ColumnaNombre, QStringLiteral("Falta el nombre del notario.")};
    for (const TNotario &otro : m_notarios) {
        if (otro != inicial && otro.Nombre.compare(nombre, Qt::CaseInsensitive) == 0)
            return TDefecto{ColumnaNombre,
                            QStringLiteral("Ya hay un notario que se llama «%1».").arg(nombre)};
    }
    if (!nuevo)
        return {};
    if (const QString porque = PorQueNoSirveElAlias(alias); !porque.isEmpty())
        return TDefecto{ColumnaAlias, porque};
    if (m_oficina.Aliases.contains(alias))
        return TDefecto{ColumnaAlias, QStringLiteral("El alias «%1» ya está en uso.").arg(alias)};
    return {};
}

std::optional<TNotario> TMantieneNotarios::Ficha(const TNotario &inicial, bool nuevo)
{
    dataset::MemTable ficha;
    ficha.create({{ColumnaNombre, FieldKind::text, 60}, {ColumnaAlias, FieldKind::text, 20}});
    AnadeLinea(ficha, {inicial.Nombre, inicial.Alias});
    ficha.edit();
    const auto revisa = [&] { return Revisa(ficha, inicial, nuevo); };
    TFichaDatos dialogo(QStringLiteral("Ficha del notario"), ficha,
                        {{QStringLiteral("&Nombre:"), ColumnaNombre, 45},
                         {QStringLiteral("A&lias:"), ColumnaAlias, 20, !nuevo}},
                        revisa, QApplication::activeWindow());
    if (dialogo.exec() != QDialog::Accepted)
        return {};
    return TNotario{ficha.field(ColumnaNombre).asText(), ficha.field(ColumnaAlias).asText().toUpper()};
}

/// Makes the agenda of a new notary. @return false when there is one already and it is not to be his.
bool TMantieneNotarios::TieneAgenda(const QString &alias) const
{
    if (CreaAgendaDeNotario(m_oficina.Config, alias))
        return true;
    dataset::Aliases aliases;
    aliases.add(alias, m_oficina.Config.CarpetaDeAlias(alias));
    dataset::DbfTable agenda(aliases);
    agenda.setDatabaseName(alias);
    PreparaTablaAgendaN(agenda);
    agenda.open();
    CompruebaCamposAgendaN(agenda);
    return Servicios().Mensaje->Mensaje_NoSi(
               QStringLiteral("¿Desea usar la agenda que ya hay en la carpeta «%1»?").arg(alias),
               QStringLiteral("Tiene %1 líneas.").arg(agenda.rowCount()),
               QStringLiteral("Notarios")) == RespuestaSi;
}

Bookmark TMantieneNotarios::Anade()
{
    if (m_notarios.size() >= TConfiguracion::MaxNotarios) {
        AvisaAtencion(QStringLiteral("La agenda admite hasta %1 notarios.").arg(TConfiguracion::MaxNotarios));
        return 0;
    }
    TNotario nuevo{{}, AliasLibre()};
    do {
        const auto tecleado = Ficha(nuevo, true);
        if (!tecleado)
            return 0;
        nuevo = *tecleado;
    } while (!TieneAgenda(nuevo.Alias));
    QList<TNotario> notarios = m_notarios;
    notarios << nuevo;
    Guarda(notarios);
    return m_lista.bookmarkAt(static_cast<int>(notarios.size()) - 1);
}

Bookmark TMantieneNotarios::Cambia(int fila)
{
    const auto cambiado = Ficha(m_notarios.at(fila), false);
    if (!cambiado)
        return 0;
    QList<TNotario> notarios = m_notarios;
    notarios[fila] = *cambiado;
    Guarda(notarios);
    return m_lista.bookmarkAt(fila);
}

Bookmark TMantieneNotarios::Borra(int fila)
{
    if (m_notarios.size() == 1) {
        AvisaAtencion(QStringLiteral("La oficina ha de tener un notario al menos."));
        return 0;
    }
    const TNotario notario = m_notarios.at(fila);
    if (Servicios().Mensaje->Mensaje_NoSi(
            QStringLiteral("¿Desea quitar al notario «%1» de la oficina?").arg(notario.Nombre),
            QStringLiteral("Su agenda se queda en la carpeta «%1» y puede volver a usarse.")
                .arg(notario.Alias),
            QStringLiteral(" ATENCIÓN:")) != RespuestaSi)
        return 0;
    QList<TNotario> notarios = m_notarios;
    notarios.removeAt(fila);
    Guarda(notarios);
    return m_lista.bookmarkAt(std::min(fila, static_cast<int>(notarios.size()) - 1));
}

void TMantieneNotarios::Muestra(QWidget *padre)
{
    TDialogoLista::TOpciones opciones{QStringLiteral("Notarios"), {}, QStringLiteral("notario")};
    opciones.Anadir = [this](Bookmark) { return Anade(); };
    opciones.Cambiar = [this](Bookmark linea) { return Cambia(m_lista.rowOf(linea)); };
    opciones.Borrar = [this](Bookmark linea) { return Borra(m_lista.rowOf(linea)); };
    opciones.Busqueda = false;
    TDialogoLista(m_lista,
                  {{QStringLiteral("Nombre"), ColumnaNombre, 28},
                   {QStringLiteral("Alias"), ColumnaAlias, 14},
                   {QStringLiteral("Carpeta"), QStringLiteral("CARPETA"), 30}},
                  opciones, padre)
        .exec();
}

} // namespace

void MantieneNotarios(TOficina &oficina, QWidget *padre)
{
    TMantieneNotarios(oficina).Muestra(padre);
}
