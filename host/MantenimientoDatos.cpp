#include "host/MantenimientoDatos.h"

#include "agenda/AgendaNDM.h"
#include "agenda/LineaAgenda.h"
#include "dataset/DatabaseError.h"
#include "host/BuscaNombre.h"
#include "host/DialogoLista.h"
#include "host/Dialogos.h"
#include "host/FichaDatos.h"
#include "host/Nif.h"
#include "host/TablasOficina.h"
#include "host/VentanaOficina.h"

#include <QtCore/QScopeGuard>
#include <QtWidgets/QApplication>

#include <algorithm>

using dataset::Bookmark;
using dataset::DbfTable;

namespace
{

const QString Nombre = QStringLiteral("NOMBRE");
const QString Codigo = QStringLiteral("CODIGO");
const QString Nif = QStringLiteral("NIF");

/// What tells one table of people from another.
struct TRelacion {
    QString Titulo;
    QString Uno; ///< "cliente"
    QString Ficha;
    void (*Prepara)(DbfTable &, const QString &alias);
    const QList<dataset::FieldInfo> &(*Campos)();
    QList<TColumnaLista> Columnas;
    QList<TCampoFicha> Ediciones;
    bool HomonimosPosibles = false;
};

bool Pregunta(const QString &pregunta, const QString &explicacion)
{
    return Servicios().Mensaje->Mensaje_NoSi(pregunta, explicacion, QStringLiteral(" ATENCIÓN:")) ==
           RespuestaSi;
}

/// Runs a change of one line; a line that others hold is told in plain words.
Bookmark SinEstorbar(const std::function<Bookmark()> &cambio)
{
    try {
        return cambio();
    } catch (const dataset::EDatabaseError &error) {
        if (error.kind() != dbase::ErrorKind::locked)
            throw;
        AvisaAtencion(QStringLiteral("La línea la tiene otro puesto. Inténtelo cuando la haya dejado.\n(%1)")
                          .arg(error.text()));
        return 0;
    }
}

/// A table of people with codes, kept by hand.
class TMantenimiento
{
public:
    TMantenimiento(TOficina &oficina, TRelacion relacion)
        : m_oficina(oficina)
        , m_relacion(std::move(relacion))
    {
    }
    void Muestra(QWidget *padre);
    /// Says what will be left of a line that is deleted.
    std::function<QString(DbfTable &)> AlBorrar = [](DbfTable &) { return QString(); };
    /// The highest code that others name, also when its line is gone; asked once, while none is noted.
    std::function<qint64()> MayorNombrado = [] { return 0; };

private:
    [[nodiscard]] std::unique_ptr<DbfTable> Cursor(bool soloLectura) const;
    [[nodiscard]] std::unique_ptr<DbfTable> En(Bookmark linea) const;
    [[nodiscard]] std::optional<TDefecto> Revisa(DbfTable &tabla) const;
    [[nodiscard]] bool HayOtro(const DbfTable &tabla, const QString &nombre) const;
    [[nodiscard]] qint64 CodigoNuevo() const;
    qint64 AnotaCodigo(qint64 codigo, int paso) const;
    void AseguraCodigo(DbfTable &tabla) const;
    Bookmark Ficha(DbfTable &tabla) const;
    Bookmark Anade() const;
    Bookmark Cambia(Bookmark linea) const;
    Bookmark Borra(Bookmark linea) const;

    TOficina &m_oficina;
    TRelacion m_relacion;
};

std::unique_ptr<DbfTable> TMantenimiento::Cursor(bool soloLectura) const
{
    auto tabla = std::make_unique<DbfTable>(m_oficina.Aliases);
    m_relacion.Prepara(*tabla, m_oficina.Config.GetAliasZentra());
    tabla->setOpenReadOnly(soloLectura);
    return tabla;
}

void TMantenimiento::Muestra(QWidget *padre)
{
    // An office that kept no such list so far begins one.
    CreaTablaSiFalta(*Cursor(false), m_oficina.Aliases, m_relacion.Campos());
    const auto tabla = Cursor(false);
    tabla->open();
    TDialogoLista::TOpciones opciones{m_relacion.Titulo, {}, m_relacion.Uno};
    opciones.Anadir = [this](Bookmark) { return SinEstorbar([this] { return Anade(); }); };
    opciones.Cambiar = [this](Bookmark linea) { return SinEstorbar([&] { return Cambia(linea); }); };
    opciones.Borrar = [this](Bookmark linea) { return SinEstorbar([&] { return Borra(linea); }); };
    TDialogoLista(*tabla, m_relacion.Columnas, opciones, padre).exec();
}

/// A second cursor, so that the list stays where it is; null after telling that the line is gone.
std::unique_ptr<DbfTable> TMantenimiento::En(Bookmark linea) const
{
    auto tabla = Cursor(false);
    tabla->open();
    if (tabla->goToBookmark(linea))
        return tabla;
    AvisaAtencion(QStringLiteral("Otro puesto ya ha borrado esta línea."));
    return nullptr;
}

bool TMantenimiento::HayOtro(const DbfTable &tabla, const QString &nombre) const
{
    const Bookmark propia = tabla.state() == dataset::DataSet::State::edit ? tabla.bookmark() : 0;
    const auto otras = Cursor(true);
    otras->open();
    TBuscaNombre busca(*otras, Nombre);
    if (!busca.Busca(nombre))
        return false;
    // Of all names that begin so the whole one is the shortest, and comes first; others with marks may
    // follow.
    for (; !otras->eof() && otras->field(Nombre).asText().startsWith(nombre, Qt::CaseInsensitive);
         otras->next()) {
        if (otras->bookmark() != propia && MismoNombre(otras->field(Nombre).asText(), nombre))
            return true;
    }
    return false;
}

std::optional<TDefecto> TMantenimiento::Revisa(DbfTable &tabla) const
{
    const QString nombre = tabla.field(Nombre).asText();
    if (nombre.isEmpty())
        return TDefecto{Nombre, QStringLiteral("Falta el nombre del %1.").arg(m_relacion.Uno)};
    if (HayOtro(tabla, nombre)) {
        const QString aviso = QStringLiteral("Ya hay un %1 que se llama «%2».").arg(m_relacion.Uno, nombre);
        if (!m_relacion.HomonimosPosibles)
            return TDefecto{Nombre, aviso};
        if (!Pregunta(aviso, QStringLiteral("¿Desea guardarlo de todas formas?")))
            return TDefecto{Nombre, {}};
    }
    const QString nif = tabla.fieldIndex(Nif) < 0 ? QString() : tabla.field(Nif).asText();
    if (!nif.isEmpty() && !EsNif(nif) &&
        !Pregunta(QStringLiteral("El NIF «%1» no es correcto.").arg(nif),
                  QStringLiteral("¿Desea guardarlo de todas formas? Puede ser un documento extranjero.")))
        return TDefecto{Nif, {}};
    if (tabla.state() == dataset::DataSet::State::insert && tabla.fieldIndex(Codigo) >= 0 &&
        tabla.field(Codigo).asInteger() == 0)
        tabla.field(Codigo).setInteger(CodigoNuevo());
    return {};
}

/// A code that nobody had before: what still names somebody who was deleted must not lead to somebody else.
qint64 TMantenimiento::CodigoNuevo() const
{
    const auto otras = Cursor(true);
    otras->setIndexFieldNames(Codigo);
    otras->open();
    otras->last();
    return AnotaCodigo(otras->field(Codigo).asInteger(), 1);
}

qint64 TMantenimiento::AnotaCodigo(qint64 codigo, int paso) const
{
    const QString lista = Cursor(true)->tableName();
    const bool anotado = m_oficina.Config.MayorCodigo(lista).has_value();
    return m_oficina.Config.AnotaCodigo(lista, anotado ? codigo : std::max(codigo, MayorNombrado()), paso);
}

/// Other programs that add at the same time may take the same code: the later line gets another one.
void TMantenimiento::AseguraCodigo(DbfTable &tabla) const
{
    if (tabla.fieldIndex(Codigo) < 0)
        return;
    for (;;) {
        const auto iguales = Cursor(true);
        iguales->setIndexFieldNames(Codigo);
        iguales->open();
        const dataset::Key codigo{{Codigo, tabla.field(Codigo).asInteger()}};
        iguales->setRange(codigo, codigo);
        const QList<Bookmark> lineas = iguales->rows();
        if (std::none_of(lineas.begin(), lineas.end(),
                         [&](Bookmark otra) { return otra < tabla.bookmark(); }))
            return;
        tabla.edit(dataset::EditOf::fresh); // only the code is changed
        tabla.field(Codigo).setInteger(CodigoNuevo());
        tabla.post();
    }
}

/// @return the line, 0 when the card was given up.
Bookmark TMantenimiento::Ficha(DbfTable &tabla) const
{
    TFichaDatos ficha(
        m_relacion.Ficha, tabla, m_relacion.Ediciones, [&] { return Revisa(tabla); },
        QApplication::activeWindow());
    return ficha.exec() == QDialog::Accepted ? tabla.bookmark() : 0;
}

Bookmark TMantenimiento::Anade() const
{
    const auto tabla = Cursor(false);
    tabla->open();
    tabla->append();
    const Bookmark linea = Ficha(*tabla);
    if (linea == 0)
        return 0;
    try {
        AseguraCodigo(*tabla);
    } catch (const dataset::EDatabaseError &error) {
        AvisaAtencion(QStringLiteral("El %1 se ha añadido, pero no se ha podido comprobar que su código sea "
                                     "solo suyo. Si otro lo tiene también, bórrelo y añádalo de nuevo.\n(%2)")
                          .arg(m_relacion.Uno, error.text()));
    }
    return linea;
}

Bookmark TMantenimiento::Cambia(Bookmark linea) const
{
    const auto tabla = En(linea);
    if (!tabla)
        return 0;
    tabla->edit(dataset::EditOf::fresh); // the card shows it
    return Ficha(*tabla);
}

Bookmark TMantenimiento::Borra(Bookmark linea) const
{
    const auto tabla = En(linea);
    if (!tabla)
        return 0;
    tabla->edit(
        dataset::EditOf::fresh); // held while the user thinks, so that nobody changes what he decides on
    const dataset::PendingEditGuard suelta(*tabla);
    if (!Pregunta(
            QStringLiteral("¿Desea borrar el %1 «%2»?").arg(m_relacion.Uno, tabla->field(Nombre).asText()),
            AlBorrar(*tabla)))
        return 0;
    tabla->cancel();
    if (tabla->fieldIndex(Codigo) >= 0)
        AnotaCodigo(tabla->field(Codigo).asInteger(), 0);
    tabla->remove();
    return 0;
}

/// The client's code of each appointment of the notaries.
void PorCadaCita(const TOficina &oficina, const std::function<void(qint64 codigo)> &haz)
{
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const auto normal = qScopeGuard([] { QApplication::restoreOverrideCursor(); });
    for (const TNotario &notario : oficina.Config.Notarios()) {
        DbfTable agenda(oficina.Aliases);
        PreparaTablaAgendaN(agenda);
        agenda.setDatabaseName(notario.Alias);
        agenda.setOpenReadOnly(true);
        agenda.setIndexFieldNames({}); // every line once, in the order of the file
        agenda.open();
        for (agenda.first(); !agenda.eof(); agenda.next())
            haz(agenda.field(NombreDe(TCampoLinea::codCliente)).asInteger());
    }
}

int CitasDe(const TOficina &oficina, qint64 codigo)
{
    int citas = 0;
    PorCadaCita(oficina, [&](qint64 suyo) { citas += suyo == codigo ? 1 : 0; });
    return citas;
}

qint64 MayorClienteCitado(const TOficina &oficina)
{
    qint64 mayor = 0;
    PorCadaCita(oficina, [&](qint64 suyo) { mayor = std::max(mayor, suyo); });
    return mayor;
}

} // namespace

void MantieneClientes(TOficina &oficina, QWidget *padre)
{
    TMantenimiento clientes(oficina, {QStringLiteral("Clientes"),
                                      QStringLiteral("cliente"),
                                      QStringLiteral("Ficha del cliente"),
                                      PreparaTablaClientes,
                                      CamposClientes,
                                      ColumnasClientes(),
                                      {{QStringLiteral("Código:"), Codigo, 8, true},
                                       {QStringLiteral("&Nombre:"), Nombre, 50},
                                       {QStringLiteral("N&IF:"), Nif, 14},
                                       {QStringLiteral("&Teléfono:"), QStringLiteral("TELEFONO"), 17},
                                       {QStringLiteral("&Dirección:"), QStringLiteral("DIRECCION"), 50},
                                       {QStringLiteral("&Población:"), QStringLiteral("POBLACION"), 40}},
                                      true});
    clientes.AlBorrar = [&oficina](DbfTable &tabla) {
        const int citas = CitasDe(oficina, tabla.field(Codigo).asInteger());
        return citas == 0
                   ? QStringLiteral("Ninguna cita lo nombra.")
                   : QStringLiteral("Lo nombran %1; conservarán su texto, pero ya no llevarán a su ficha.")
                         .arg(citas == 1 ? QStringLiteral("1 cita") : QStringLiteral("%1 citas").arg(citas));
    };
    clientes.MayorNombrado = [&oficina] { return MayorClienteCitado(oficina); };
    clientes.Muestra(padre);
}

void MantieneOficiales(TOficina &oficina, QWidget *padre)
{
    TMantenimiento(oficina, {QStringLiteral("Oficiales"),
                             QStringLiteral("oficial"),
                             QStringLiteral("Ficha del oficial"),
                             PreparaTablaEmpleados,
                             CamposEmpleados,
                             {{QStringLiteral("Nombre"), Nombre, 36},
                              {QStringLiteral("Cargo"), QStringLiteral("CARGO"), 24}},
                             {{QStringLiteral("Código:"), Codigo, 8, true},
                              {QStringLiteral("&Nombre:"), Nombre, 40},
                              {QStringLiteral("&Cargo:"), QStringLiteral("CARGO"), 30}},
                             false})
        .Muestra(padre);
}
