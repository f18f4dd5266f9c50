#include "host/FichaDatos.h"

#include "agenda/host/Servicios.h"
#include "dataset/DatabaseError.h"
#include "dbcontrols/DbEdit.h"
#include "dbcontrols/TextMenu.h"
#include "host/Dialogos.h"

#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QFormLayout>

using dataset::DataSet;

TFichaDatos::TFichaDatos(const QString &titulo, DataSet &tabla, const QList<TCampoFicha> &campos,
                         TRevisa revisa, QWidget *padre)
    : QDialog(padre)
    , m_tabla(tabla)
    , m_revisa(std::move(revisa))
{
    setObjectName(QStringLiteral("FichaDatos"));
    setWindowTitle(titulo);
    m_fuente.setDataSet(&tabla);
    m_fuente.setAutoEdit(false);
    CreaCampos(campos);
    static_cast<QFormLayout *>(layout())->addRow(
        CreaBotones(*this, QStringLiteral("&Aceptar"), QStringLiteral("&Cancelar")));
    for (dbcontrols::DbEdit *const edicion : std::as_const(m_ediciones)) {
        if (!edicion->isReadOnly()) {
            edicion->setFocus();
            edicion->selectAll();
            break;
        }
    }
}

TFichaDatos::~TFichaDatos()
{
    m_fuente.setDataSet(nullptr);
    try {
        m_tabla.cancel();
    } catch (const dataset::EDatabaseError &error) {
        qWarning("A change could not be given up: %s", error.what());
    }
}

void TFichaDatos::CreaCampos(const QList<TCampoFicha> &campos)
{
    auto *const orden = new QFormLayout(this);
    orden->setFieldGrowthPolicy(QFormLayout::FieldsStayAtSizeHint);
    for (const TCampoFicha &campo : campos) {
        if (m_tabla.fieldIndex(campo.Campo) < 0)
            continue;
        auto *const edicion = new dbcontrols::DbEdit(this);
        edicion->setObjectName(campo.Campo);
        edicion->setField(campo.Campo);
        edicion->setDataSource(&m_fuente);
        QString nombre = campo.Rotulo;
        edicion->setAccessibleName(nombre.remove(u'&').remove(u':'));
        edicion->setMinimumWidth((campo.Letras + 2) * fontMetrics().averageCharWidth());
        dbcontrols::useTextMenu(*edicion);
        if (campo.SoloLectura) {
            edicion->setReadOnly(true);
            edicion->setFocusPolicy(Qt::NoFocus);
            QPalette apagada = edicion->palette();
            apagada.setColor(QPalette::Base, apagada.color(QPalette::Window));
            edicion->setPalette(apagada);
        }
        connect(edicion, &dbcontrols::DbEdit::failed, this, &AvisaAtencion);
        orden->addRow(campo.Rotulo, edicion);
        m_ediciones << edicion;
    }
}

void TFichaDatos::Senala(const QString &campo)
{
    for (dbcontrols::DbEdit *const edicion : std::as_const(m_ediciones)) {
        if (edicion->field() != campo)
            continue;
        edicion->setFocus();
        edicion->selectAll();
    }
}

void TFichaDatos::accept()
{
    try {
        for (const dbcontrols::DbEdit *const edicion : std::as_const(m_ediciones)) {
            dataset::Field campo = m_tabla.field(edicion->field());
            if (campo.info().kind == dataset::FieldKind::text && campo.asText() != campo.asText().trimmed())
                campo.setText(campo.asText().trimmed());
        }
        if (const auto defecto = m_revisa()) {
            if (!defecto->Aviso.isEmpty())
                AvisaAtencion(defecto->Aviso);
            Senala(defecto->Campo);
            return;
        }
        m_tabla.post();
    } catch (const std::exception &error) {
        AvisaAtencion(QString::fromUtf8(error.what()));
        return;
    }
    QDialog::accept();
}

void TFichaDatos::reject()
{
    if (m_tabla.isModified() &&
        Servicios().Mensaje->Mensaje_NoSi(QStringLiteral("¿Desea cerrar la ficha sin guardar los cambios?"),
                                          {}, windowTitle()) != RespuestaSi)
        return;
    QDialog::reject();
}
