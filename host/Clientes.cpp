#include "host/Clientes.h"

#include "host/Dialogos.h"

#include <QtWidgets/QApplication>
#include <QtWidgets/QDialog>
#include <QtWidgets/QFormLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>

namespace
{

constexpr const char *Tag = "Tag";

const std::pair<const char *, const char16_t *> CamposDeFicha[] = {
    {"Código:", u"CODIGO"},     {"Nombre:", u"NOMBRE"},       {"NIF:", u"NIF"},
    {"Teléfono:", u"TELEFONO"}, {"Dirección:", u"DIRECCION"}, {"Población:", u"POBLACION"},
};

} // namespace

TClientesOficina::TClientesOficina(const dataset::Aliases &aliases, const QString &alias)
    : m_tabla(aliases)
{
    m_tabla.setDatabaseName(alias);
    m_tabla.setTableName(QStringLiteral("CLIENTES"));
    m_tabla.setOpenReadOnly(true);
    m_tabla.addIndexDefinition(QStringLiteral("NOMBRE"), QStringLiteral("UPPER(NOMBRE)"));
    m_tabla.setIndexFieldNames(QStringLiteral("NOMBRE"));
}

void TClientesOficina::Abre()
{
    if (m_tabla.isActive())
        m_tabla.refresh();
    else
        m_tabla.open();
}

void TClientesOficina::TomaActual()
{
    m_codigo = m_tabla.field(u"CODIGO").asInteger();
    m_nombre = m_tabla.field(u"NOMBRE").asText();
}

void TClientesOficina::MuestraFicha(qint64 codigo)
{
    Abre();
    QWidget *const delante = QApplication::activeWindow();
    if (!m_tabla.locate({{"CODIGO", codigo}}, dataset::SearchMode::exact)) {
        QMessageBox aviso(QMessageBox::Warning, QStringLiteral(" ATENCIÓN:"),
                          QStringLiteral("No hay ningún cliente con el código %1").arg(codigo),
                          QMessageBox::NoButton, delante);
        aviso.addButton(QStringLiteral("&Aceptar"), QMessageBox::AcceptRole);
        aviso.exec();
        return;
    }
    TomaActual();
    QDialog ficha(delante);
    ficha.setWindowTitle(QStringLiteral("Ficha del cliente"));
    auto *const orden = new QFormLayout(&ficha);
    for (const auto &[rotulo, campo] : CamposDeFicha) {
        auto *const valor = new QLineEdit(m_tabla.field(campo).asText(), &ficha);
        valor->setReadOnly(true);
        valor->setMinimumWidth(260);
        orden->addRow(QString::fromUtf8(rotulo), valor);
    }
    auto *const cerrar = new QPushButton(QStringLiteral("&Cerrar"), &ficha);
    QObject::connect(cerrar, &QPushButton::clicked, &ficha, &QDialog::accept);
    orden->addRow(cerrar);
    ficha.exec();
}

bool TClientesOficina::Lista(const QString &titulo, const QString &inicial, bool elegir)
{
    Abre();
    QStringList nombres;
    for (int fila = 0; fila < m_tabla.rowCount(); ++fila)
        nombres << m_tabla.textAt(fila, m_tabla.fieldIndex(u"NOMBRE"));
    TDialogoLista dialogo(nombres, inicial, titulo, elegir, QApplication::activeWindow());
    const bool aceptado = dialogo.exec() == QDialog::Accepted && dialogo.Posicion() >= 0;
    if (aceptado) {
        m_tabla.setCurrentRow(dialogo.Posicion());
        TomaActual();
    }
    return aceptado;
}

void TClientesOficina::Explora(const QString &titulo)
{
    Lista(titulo, {}, false);
}

bool TClientesOficina::Elige(const QString &titulo, const QString &textoInicial)
{
    return Lista(titulo, textoInicial, true);
}

bool TClientesOficina::BuscaComienzo(const QString &texto)
{
    if (texto.isEmpty())
        return false;
    Abre();
    m_tabla.locate({{"NOMBRE", texto}}, dataset::SearchMode::nearest);
    if (m_tabla.isEmpty() || !m_tabla.field(u"NOMBRE").asText().startsWith(texto, Qt::CaseInsensitive))
        return false;
    TomaActual();
    return true;
}

void TClientesOficina::KeyUpBusqueda(QLineEdit &edicion, int tecla)
{
    // What the user has typed ends where the completion, selected, begins.
    const QString tecleado =
        edicion.hasSelectedText() ? edicion.text().left(edicion.selectionStart()) : edicion.text();
    const bool borra = tecla == Qt::Key_Backspace || tecla == Qt::Key_Delete;
    if (!BuscaComienzo(tecleado)) {
        edicion.setProperty(Tag, 0);
        return;
    }
    edicion.setProperty(Tag, m_codigo);
    if (borra || tecleado.size() != edicion.cursorPosition())
        return;
    edicion.setText(m_nombre);
    edicion.setSelection(static_cast<int>(m_nombre.size()),
                         static_cast<int>(tecleado.size() - m_nombre.size()));
}

void TClientesOficina::ExitBusqueda(QLineEdit &edicion, bool completar)
{
    const bool encontrado = BuscaComienzo(edicion.text());
    edicion.setProperty(Tag, encontrado ? m_codigo : 0);
    if (encontrado && completar)
        edicion.setText(m_nombre);
}

void TClientesOficina::FinBusqueda()
{
    m_codigo = 0;
    m_nombre.clear();
}
