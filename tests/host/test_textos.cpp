// Every text of an office is shown letter by letter, in whichever window, also one that looks like a page
// that loads a picture.

#include "dbase/Table.h"
#include "host/Capturas.h"
#include "host/VentanaOficina.h"
#include "tests/host/Oficina.h"

#include <QtGui/QTextDocument>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QMessageBox>

#include <algorithm>
#include <filesystem>
#include <set>

namespace
{

using support::Hoy;

const QString Trampa = QStringLiteral("<img src=/nada>");

/// Looks at every label, tip and cell that comes to the screen.
class TVigilante : public QObject
{
public:
    TVigilante() { qApp->installEventFilter(this); }

    bool eventFilter(QObject *objeto, QEvent *evento) override
    {
        auto *const control = qobject_cast<QWidget *>(objeto);
        if (control && (evento->type() == QEvent::Show || evento->type() == QEvent::Paint ||
                        evento->type() == QEvent::ToolTipChange))
            Mira(*control);
        return false;
    }

    std::set<QString> Paginas; ///< what would be shown as one
    std::set<QString> Vistos;  ///< the labels and views in which the trap has been seen as letters

private:
    void Mira(QWidget &control)
    {
        MiraPista(control.toolTip(), control);
        if (const auto *const rotulo = qobject_cast<QLabel *>(&control)) {
            if (rotulo->textFormat() != Qt::PlainText && Qt::mightBeRichText(rotulo->text()))
                Paginas.insert(rotulo->objectName() + u' ' + rotulo->text());
            else if (rotulo->text().contains(Trampa))
                Vistos.insert(rotulo->objectName());
        }
        const auto *const vista = qobject_cast<QAbstractItemView *>(&control);
        if (!vista || !vista->model())
            return;
        const QAbstractItemModel &modelo = *vista->model();
        for (int fila = 0; fila < std::min(modelo.rowCount(), 60); ++fila) {
            for (int columna = 0; columna < modelo.columnCount(); ++columna)
                MiraPista(modelo.index(fila, columna).data(Qt::ToolTipRole).toString(), control);
        }
    }

    void MiraPista(const QString &pista, const QWidget &control)
    {
        if (!Qt::mightBeRichText(pista))
            return;
        if (pista.contains(Trampa))
            Paginas.insert(control.objectName() + QStringLiteral(": ") + pista);
        else
            Vistos.insert(control.objectName() + QStringLiteral(" (pista)"));
    }
};

/// Writes the trap into every long text of every table of the office.
void PonTrampas(const std::filesystem::path &carpeta)
{
    using namespace dbase;
    for (const auto &entrada : std::filesystem::recursive_directory_iterator(carpeta)) {
        if (entrada.path().extension() != ".DBF")
            continue;
        const auto abierta = Table::open(entrada.path());
        ASSERT_TRUE(abierta.ok());
        Table &tabla = *abierta.value();
        ASSERT_TRUE(tabla.beginGroup().ok());
        std::vector<std::uint8_t> antes(tabla.recordLength());
        for (RecordNumber linea = 1; linea <= tabla.recordCount(); ++linea) {
            ASSERT_TRUE(tabla.read(linea, antes).ok());
            auto despues = antes;
            for (const FieldDefinition &campo : tabla.fields()) {
                if (campo.type == FieldType::character && campo.width >= 30 &&
                    !readText(antes, campo, tabla.codePage()).empty())
                    writeText(despues, campo, tabla.codePage(), Trampa.toStdU16String());
            }
            ASSERT_TRUE(tabla.update(linea, antes, despues).ok());
        }
        ASSERT_TRUE(tabla.commitGroup().ok());
    }
}

class TextosTest : public support::OficinaTest
{
};

TEST_F(TextosTest, NoTextOfTheOfficeIsAPageInAnyWindow)
{
    PonTrampas(carpeta.path());
    const support::TempFolder retratos;
    TVigilante vigilante;
    TOficina oficina(ruta(), Hoy);
    const QList<TNotario> habia = oficina.Config.Notarios();
    QList<TNotario> notarios = habia;
    for (TNotario &uno : notarios)
        uno.Nombre = Trampa + uno.Nombre;
    oficina.Config.SetNotarios(notarios, habia);
    TVentanaOficina ventana(oficina);
    ventana.show();
    QCoreApplication::processEvents();
    TCapturas capturas(QString::fromStdString(retratos.path().string()), oficina);
    capturas.Empieza();
    EXPECT_TRUE(ventana.AbreAgenda());
    enDialogo([](QWidget *caja) { caja->close(); });
    TMensaje mensaje;
    mensaje.Texto = mensaje.Texto2 = mensaje.Titulo = Trampa;
    oficina.Mensaje.Mensajes(mensaje);
    enDialogo([](QWidget *caja) { caja->close(); });
    EXPECT_EQ(oficina.Mensaje.Mensaje_SiNo(Trampa, Trampa, Trampa), 0);

    for (const QString &pagina : vigilante.Paginas)
        ADD_FAILURE() << pagina.toStdString();
    for (const char *const rotulo : {"LNotarios", "qt_msgbox_label", "qt_msgbox_informativelabel"})
        EXPECT_TRUE(vigilante.Vistos.contains(rotulo)) << rotulo;
    EXPECT_TRUE(std::any_of(vigilante.Vistos.begin(), vigilante.Vistos.end(),
                            [](const QString &visto) { return visto.endsWith(u"(pista)"); }));
}

} // namespace
