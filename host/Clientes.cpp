#include "host/Clientes.h"

#include "dataset/DatabaseError.h"
#include "dbcontrols/PlainText.h"
#include "host/BuscaNombre.h"
#include "host/DialogoLista.h"
#include "host/Dialogos.h"
#include "host/TablasOficina.h"

#include <QtWidgets/QApplication>
#include <QtWidgets/QDialog>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QFormLayout>
#include <QtWidgets/QLineEdit>

#include <functional>

namespace
{

constexpr const char *Tag = "Tag";
const QString CampoNombre = QStringLiteral("NOMBRE");
const QString CampoCodigo = QStringLiteral("CODIGO");

const std::pair<const char *, const char16_t *> CamposDeFicha[] = {
    {"Código:", u"CODIGO"},     {"Nombre:", u"NOMBRE"},       {"NIF:", u"NIF"},
    {"Teléfono:", u"TELEFONO"}, {"Dirección:", u"DIRECCION"}, {"Población:", u"POBLACION"},
};

/// Whether a key that has been let go may have changed the text.
bool EsDeTexto(int tecla)
{
    constexpr int PrimeraEspecial = Qt::Key_Escape;
    return tecla < PrimeraEspecial || tecla == Qt::Key_Backspace || tecla == Qt::Key_Delete ||
           tecla == Qt::Key_unknown;
}

/// Runs a search; a list that cannot be read finds nobody, and does not stop the clerk from typing.
bool Encuentra(const std::function<bool()> &busca)
{
    try {
        return busca();
    } catch (const dataset::EDatabaseError &error) {
        qWarning("The client list could not be searched: %s", error.what());
        return false;
    }
}

} // namespace

QList<TColumnaLista> ColumnasClientes()
{
    return {{QStringLiteral("Nombre"), CampoNombre, 34},
            {QStringLiteral("NIF"), QStringLiteral("NIF"), 11},
            {QStringLiteral("Teléfono"), QStringLiteral("TELEFONO"), 12},
            {QStringLiteral("Población"), QStringLiteral("POBLACION"), 16}};
}

TClientesOficina::TClientesOficina(const dataset::Aliases &aliases, const QString &alias)
    : m_tabla(aliases)
    , m_porCodigo(aliases)
{
    for (dataset::DbfTable *const tabla : {&m_tabla, &m_porCodigo}) {
        PreparaTablaClientes(*tabla, alias);
        tabla->setOpenReadOnly(true);
    }
    m_porCodigo.setIndexFieldNames(CampoCodigo);
}

void TClientesOficina::Abre()
{
    if (m_tabla.isActive())
        m_tabla.refresh();
    else
        m_tabla.open();
}

void TClientesOficina::TomaActual(dataset::DataSet &tabla)
{
    m_codigo = tabla.field(CampoCodigo).asInteger();
    m_nombre = tabla.field(CampoNombre).asText();
}

// Card and list

void TClientesOficina::MuestraFicha(qint64 codigo)
{
    if (!BuscaCodigo(codigo)) {
        AvisaAtencion(QStringLiteral("No hay ningún cliente con el código %1").arg(codigo));
        return;
    }
    TomaActual(m_porCodigo);
    QDialog ficha(QApplication::activeWindow());
    ficha.setObjectName(QStringLiteral("FichaCliente"));
    ficha.setWindowTitle(QStringLiteral("Ficha del cliente"));
    auto *const orden = new QFormLayout(&ficha);
    for (const auto &[rotulo, campo] : CamposDeFicha) {
        if (m_porCodigo.fieldIndex(campo) < 0)
            continue;
        auto *const valor = new QLineEdit(m_porCodigo.field(campo).asText(), &ficha);
        valor->setReadOnly(true); // to be looked at and copied
        valor->setContextMenuPolicy(Qt::NoContextMenu);
        valor->setMinimumWidth(45 * valor->fontMetrics().averageCharWidth());
        valor->setCursorPosition(0);
        valor->setToolTip(dbcontrols::plainTip(valor->text()));
        orden->addRow(QString::fromUtf8(rotulo), valor);
    }
    orden->addRow(CreaBotones(ficha, QStringLiteral("&Cerrar"), {}));
    ficha.exec();
}

bool TClientesOficina::Lista(const QString &titulo, const QString &inicial, bool elegir)
{
    Abre();
    TDialogoLista::TOpciones opciones{titulo, inicial, QStringLiteral("cliente"), elegir,
                                      [this] { MuestraFicha(m_tabla.field(CampoCodigo).asInteger()); }};
    TDialogoLista dialogo(m_tabla, ColumnasClientes(), opciones, QApplication::activeWindow());
    if (dialogo.exec() != QDialog::Accepted || !elegir)
        return false;
    TomaActual(m_tabla);
    return true;
}

void TClientesOficina::Explora(const QString &titulo)
{
    Lista(titulo, m_nombre, false);
}

bool TClientesOficina::Elige(const QString &titulo, const QString &textoInicial)
{
    return Lista(titulo, textoInicial, true);
}

// Incremental search

bool TClientesOficina::BuscaComienzo(const QString &texto)
{
    Abre();
    if (!TBuscaNombre(m_tabla, CampoNombre).Busca(texto))
        return false;
    TomaActual(m_tabla);
    return true;
}

bool TClientesOficina::BuscaCodigo(qint64 codigo)
{
    if (!m_porCodigo.isActive())
        m_porCodigo.open();
    return m_porCodigo.locate({{CampoCodigo, codigo}}, dataset::SearchMode::exact);
}

bool TClientesOficina::BuscaNombre(const QString &nombre, qint64 codigoConocido)
{
    if (nombre.isEmpty())
        return false;
    if (codigoConocido != 0 && BuscaCodigo(codigoConocido) &&
        MismoNombre(m_porCodigo.field(CampoNombre).asText(), nombre)) {
        TomaActual(m_porCodigo);
        return true;
    }
    // Of all names that begin so the whole one is the shortest, and comes first.
    return BuscaComienzo(nombre) && MismoNombre(m_nombre, nombre);
}

void TClientesOficina::Pon(QLineEdit &edicion, bool encontrado)
{
    if (!encontrado)
        FinBusqueda();
    edicion.setProperty(Tag, m_codigo);
}

void TClientesOficina::KeyUpBusqueda(QLineEdit &edicion, int tecla)
{
    // A shortcut, or a key that found nothing to delete, has typed nothing.
    if (!EsDeTexto(tecla) || !edicion.isModified())
        return;
    edicion.setModified(false);
    // What the user has typed ends where the completion, selected, begins.
    const QString tecleado =
        edicion.hasSelectedText() ? edicion.text().left(edicion.selectionStart()) : edicion.text();
    const bool borra = tecla == Qt::Key_Backspace || tecla == Qt::Key_Delete;
    if (borra || tecleado.size() != edicion.cursorPosition()) {
        const qint64 conocido = edicion.property(Tag).toLongLong();
        Pon(edicion, Encuentra([&] { return BuscaNombre(edicion.text(), conocido); }));
        return;
    }
    const bool encontrado = Encuentra([&] { return BuscaComienzo(tecleado); });
    Pon(edicion, encontrado);
    if (!encontrado)
        return;
    edicion.setText(m_nombre);
    edicion.setSelection(static_cast<int>(m_nombre.size()),
                         static_cast<int>(tecleado.size() - m_nombre.size()));
}

void TClientesOficina::ExitBusqueda(QLineEdit &edicion, bool completar)
{
    const qint64 conocido = edicion.property(Tag).toLongLong();
    const bool encontrado = Encuentra([&] { return BuscaNombre(edicion.text(), conocido); });
    Pon(edicion, encontrado);
    if (encontrado && completar)
        edicion.setText(m_nombre); // written as the list has it
}

void TClientesOficina::FinBusqueda()
{
    m_codigo = 0;
    m_nombre.clear();
}

void TClientesOficina::Cierra()
{
    m_tabla.close();
    m_porCodigo.close();
}
