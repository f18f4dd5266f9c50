// The client and clerk lists: what is found, and the dialogs worked with keys.

#include "dataset/DatabaseError.h"
#include "host/VentanaOficina.h"
#include "tests/host/Oficina.h"

#include <QtGui/QKeyEvent>
#include <QtTest/QTest>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QTableView>

namespace
{

using support::Hoy;

/// Clients of known names, by code from 1.
const QStringList Nombres = {"Banco Sur",   "Banco",       "ALVAREZ RUIZ, LUIS", "Álvarez Peña, Ana",
                             "María Pérez", "María Pérez", "Muñoz, Íñigo",       "Zoilo Güell",
                             "Mar Ibáñez",  "Abad, Eva"};

class ListasTest : public support::OficinaTest
{
protected:
    void SetUp() override
    {
        OficinaTest::SetUp();
        oficina = std::make_unique<TOficina>(ruta(), Hoy);
        oficina->Aliases.setLockPatience(std::chrono::milliseconds(100)); // who waits here is to be refused
        dataset::DbfTable clientes(oficina->Aliases);
        clientes.setDatabaseName("ZENTRA");
        clientes.setTableName("CLIENTES");
        clientes.setDurable(false);
        clientes.open();
        while (!clientes.isEmpty())
            clientes.remove();
        for (int i = 0; i < Nombres.size(); ++i) {
            clientes.append();
            clientes.field(u"CODIGO").setInteger(i + 1);
            clientes.field(u"NOMBRE").setText(Nombres.at(i));
            clientes.field(u"TELEFONO").setText(QString::number(600 + i));
            clientes.post();
        }
    }
    std::unique_ptr<TOficina> oficina;
};

TEST_F(ListasTest, TypingFindsTheFirstNameThatBeginsSo)
{
    const struct {
        const char *tecleado;
        const char *hallado; // nothing: none
    } casos[] = {
        {"alvarez", "ALVAREZ RUIZ, LUIS"},
        {"alvarez p", "Álvarez Peña, Ana"},
        {"ÁLV", "Álvarez Peña, Ana"},
        {"munoz", "Muñoz, Íñigo"},
        {"MUÑOZ, I", "Muñoz, Íñigo"},
        {"zoilo guell", "Zoilo Güell"},
        {"banco", "Banco"},
        {"banco ", "Banco Sur"},
        {"bancos", nullptr},
        {"mar", "Mar Ibáñez"},
        {"marí", "María Pérez"},
        {"x", nullptr},
        {"", nullptr},
    };
    for (const auto &caso : casos) {
        QLineEdit edicion;
        edicion.setText(caso.tecleado);
        edicion.setModified(true); // as typing does
        oficina->Clientes.KeyUpBusqueda(edicion, Qt::Key_A);
        EXPECT_EQ(oficina->Clientes.Nombre(), QString(caso.hallado)) << caso.tecleado;
        EXPECT_EQ(edicion.text(), QString(caso.hallado ? caso.hallado : caso.tecleado));
        EXPECT_EQ(edicion.property("Tag").toLongLong(), oficina->Clientes.Codigo());
        EXPECT_EQ(oficina->Clientes.Codigo() != 0, caso.hallado != nullptr) << caso.tecleado;
    }
}

/// An edit box of the agenda: it tells the list of every key let go.
class TEdicion : public QLineEdit
{
public:
    explicit TEdicion(TClientesRaiz &clientes)
        : m_clientes(clientes)
    {
    }
    [[nodiscard]] int tag() const { return property("Tag").toInt(); }

protected:
    void keyReleaseEvent(QKeyEvent *evento) override
    {
        QLineEdit::keyReleaseEvent(evento);
        m_clientes.KeyUpBusqueda(*this, evento->key());
    }

private:
    TClientesRaiz &m_clientes;
};

TEST_F(ListasTest, APartyWhoIsNoClientIsNotTakenForOneNorAClientForHisNamesake)
{
    TEdicion edicion(oficina->Clientes);
    edicion.show();
    QTest::keyClicks(&edicion, "ban");
    EXPECT_EQ(edicion.text(), "Banco");
    EXPECT_EQ(edicion.selectedText(), "co");
    EXPECT_EQ(edicion.tag(), 2);
    QTest::keyClicks(&edicion, "co s");
    EXPECT_EQ(edicion.text(), "Banco Sur");
    EXPECT_EQ(edicion.tag(), 1);
    QTest::keyClick(&edicion, Qt::Key_Delete); // the completion
    EXPECT_EQ(edicion.text(), "Banco S");
    EXPECT_EQ(edicion.tag(), 0);
    oficina->Clientes.ExitBusqueda(edicion, true);
    EXPECT_EQ(edicion.text(), "Banco S") << "a deleted completion stays deleted";
    EXPECT_EQ(edicion.tag(), 0);
    edicion.setText("MARIA PEREZ");
    oficina->Clientes.ExitBusqueda(edicion, false);
    EXPECT_EQ(edicion.text(), "MARIA PEREZ");
    EXPECT_EQ(edicion.tag(), 5);
    oficina->Clientes.ExitBusqueda(edicion, true);
    EXPECT_EQ(edicion.text(), "María Pérez");
    // A line of the second of two namesakes, passed through with Tab.
    oficina->Clientes.FinBusqueda();
    edicion.setProperty("Tag", 6);
    edicion.selectAll();
    for (const Qt::Key sinTexto : {Qt::Key_Tab, Qt::Key_Shift, Qt::Key_Left, Qt::Key_F5, Qt::Key_Return})
        oficina->Clientes.KeyUpBusqueda(edicion, sinTexto);
    QTest::keyClick(&edicion, Qt::Key_End);
    QTest::keyClick(&edicion, Qt::Key_C, Qt::ControlModifier); // types nothing
    QTest::keyClick(&edicion, Qt::Key_Delete);                 // nor does this at the end
    EXPECT_EQ(edicion.tag(), 6);
    edicion.setSelection(0, 1);
    QTest::keyClick(&edicion, 'M'); // the name as it was
    EXPECT_EQ(edicion.text(), "María Pérez");
    EXPECT_EQ(edicion.tag(), 6);
    oficina->Clientes.ExitBusqueda(edicion, true);
    EXPECT_EQ(edicion.tag(), 6);
    EXPECT_EQ(oficina->Clientes.Codigo(), 6);
    EXPECT_EQ(oficina->Clientes.Nombre(), "María Pérez");
    edicion.clear();
    oficina->Clientes.ExitBusqueda(edicion, true);
    EXPECT_EQ(edicion.tag(), 0);
}

TEST_F(ListasTest, AClientIsChosenByTyping)
{
    TClientesOficina &clientes = oficina->Clientes;
    enDialogo([](QWidget *dialogo) {
        EXPECT_EQ(dialogo->windowTitle(), "Lista de clientes");
        EXPECT_EQ(enLista(dialogo), "Abad, Eva") << "the list begins where the text finds nobody";
        teclea(dialogo, "mu");
        EXPECT_EQ(enLista(dialogo), "Muñoz, Íñigo");
        teclea(dialogo, "x");
        EXPECT_EQ(aviso(dialogo), "Ningún cliente empieza por «mux».");
        tecla(dialogo, Qt::Key_Return);
        EXPECT_TRUE(dialogo->isVisible()) << "nobody is taken for another";
        tecla(dialogo, Qt::Key_Up);
        EXPECT_EQ(aviso(dialogo), "");
        EXPECT_EQ(enLista(dialogo), "María Pérez");
        tecla(dialogo, Qt::Key_Return);
    });
    EXPECT_TRUE(clientes.Elige("Lista de clientes", "Ficha de Citas"));
    EXPECT_EQ(clientes.Codigo(), 6);
    EXPECT_EQ(clientes.Nombre(), "María Pérez");
    enDialogo([](QWidget *dialogo) {
        EXPECT_EQ(enLista(dialogo), "Zoilo Güell");
        teclea(dialogo, "b"); // in place of the initial text
        EXPECT_EQ(dialogo->findChild<QLineEdit *>("EBusqueda")->text(), "b");
        tecla(dialogo, Qt::Key_End, Qt::ControlModifier);
        EXPECT_EQ(enLista(dialogo), "Álvarez Peña, Ana");
        tecla(dialogo, Qt::Key_Escape);
    });
    EXPECT_FALSE(clientes.Elige("Lista de clientes", "zoilo"));
}

TEST_F(ListasTest, BrowsingOpensTheCardOfTheLine)
{
    enDialogo([](QWidget *dialogo) {
        teclea(dialogo, "zoi");
        enDialogo([](QWidget *ficha) {
            EXPECT_EQ(ficha->windowTitle(), "Ficha del cliente");
            QStringList valores;
            for (const QLineEdit *const valor : ficha->findChildren<QLineEdit *>())
                valores << valor->text();
            EXPECT_EQ(valores.mid(0, 4), (QStringList{"8", "Zoilo Güell", "", "607"}));
            tecla(ficha, Qt::Key_Escape);
        });
        tecla(dialogo, Qt::Key_Return);
        EXPECT_EQ(enLista(dialogo), "Zoilo Güell");
        tecla(dialogo, Qt::Key_Escape);
    });
    oficina->Clientes.Explora("Lista de clientes");
    enDialogo([](QWidget *aviso) {
        EXPECT_EQ(qobject_cast<QMessageBox *>(aviso)->text(), "No hay ningún cliente con el código 77");
        tecla(aviso, Qt::Key_Return);
    });
    oficina->Clientes.MuestraFicha(77);
}

TEST_F(ListasTest, AListThatChangesMeanwhileKeepsItsLine)
{
    enDialogo([this](QWidget *dialogo) {
        teclea(dialogo, "m");
        tecla(dialogo, Qt::Key_Down);
        EXPECT_EQ(enLista(dialogo), "María Pérez");
        dataset::DbfTable otroPuesto(oficina->Aliases);
        otroPuesto.setDatabaseName("ZENTRA");
        otroPuesto.setTableName("CLIENTES");
        otroPuesto.open();
        otroPuesto.append();
        otroPuesto.field(u"CODIGO").setInteger(11);
        otroPuesto.field(u"NOMBRE").setText("Aarón Vidal");
        otroPuesto.post();
        teclea(dialogo, "u");
        EXPECT_EQ(enLista(dialogo), "Muñoz, Íñigo");
        EXPECT_EQ(dialogo->findChild<QTableView *>("TVLista")->model()->rowCount(), 11);
        tecla(dialogo, Qt::Key_Return);
    });
    EXPECT_TRUE(oficina->Clientes.Elige("Lista de clientes", ""));
    EXPECT_EQ(oficina->Clientes.Codigo(), 7);
}

TEST_F(ListasTest, AClerkIsChosenByTyping)
{
    for (const auto &[tecleado, elegido] : {std::pair("", "Rosa Güemes"), {"ines", "Inés Muñiz"}}) {
        QString oficial = "ro";
        enDialogo([&, texto = QString(tecleado)](QWidget *dialogo) {
            EXPECT_EQ(enLista(dialogo), "Rosa Güemes");
            teclea(dialogo, texto);
            tecla(dialogo, Qt::Key_Return);
        });
        EXPECT_TRUE(oficina->Rut.PreguntaOficial(oficial));
        EXPECT_EQ(oficial, elegido);
    }
}

TEST_F(ListasTest, WithoutAClientTableNobodyIsFoundAndTypingGoesOn)
{
    std::filesystem::remove(carpeta.path() / "ZENTRA" / "CLIENTES.DBF");
    QLineEdit edicion;
    edicion.setText("mar");
    edicion.setModified(true);
    oficina->Clientes.KeyUpBusqueda(edicion, Qt::Key_R);
    oficina->Clientes.ExitBusqueda(edicion, true);
    EXPECT_EQ(edicion.text(), "mar");
    EXPECT_EQ(edicion.property("Tag").toInt(), 0);
    EXPECT_THROW(std::ignore = oficina->Clientes.Elige("Lista de clientes", ""), dataset::EDatabaseError);
    EXPECT_THROW(oficina->Clientes.MuestraFicha(1), dataset::EDatabaseError);
}

} // namespace
