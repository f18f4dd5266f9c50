#include "agenda1/Agenda1.h"

#include "agenda/LineaAgenda.h"
#include "agenda/Ruttb.h"
#include "agenda/host/Constanteszen.h"
#include "dbcontrols/ColorPanel.h"
#include "dbcontrols/DataSource.h"
#include "dbcontrols/DbEdit.h"
#include "dbcontrols/DbGrid.h"
#include "dbcontrols/MaskEdit.h"

#include <QtGui/QAction>
#include <QtWidgets/QBoxLayout>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QMenu>
#include <QtWidgets/QPushButton>

using dbcontrols::DbEdit;
using dbcontrols::DbGrid;

namespace
{

constexpr int ColumnaConcepto = 1;
constexpr int ColumnasDeLaRejilla = 5;
constexpr TColor Rojo255 = 255;

QStringList CamposDeCopia()
{
    return {NombreDe(TCampoLinea::concepto), NombreDe(TCampoLinea::interesado),
            NombreDe(TCampoLinea::oficial), NombreDe(TCampoLinea::salida)};
}

dbcontrols::GridColumn Columna(TCampoLinea campo, int ancho, Qt::Alignment alinea = Qt::AlignLeft)
{
    return {NombreDe(campo), NombreDe(campo), ancho, alinea, true, true};
}

} // namespace

TFAgenda::TFAgenda(TAgenda &motor)
    : TVentanaAgenda(motor, QStringLiteral("FAgenda"),
                     {QStringLiteral("Nuevo"), QStringLiteral("Modificar"), QStringLiteral("Borrar"),
                      QStringLiteral("Anterior"), QStringLiteral("Siguiente"), QStringLiteral("Aceptar"),
                      QStringLiteral("Salir")})
{
    const auto marca = [this](bool (TAgenda::*operacion)(int)) {
        return [this, operacion] {
            if (!(m_motor.*operacion)(0))
                Avisa(ProblemasMarca);
        };
    };
    Ausente = CreaComando("Ausente", QStringLiteral("&Ausente"),
                          QStringLiteral("El notario está ausente en esta línea"), marca(&TAgenda::Ausente));
    Salida = CreaComando("Salida", QStringLiteral("&Salida"),
                         QStringLiteral("El notario está fuera en esta línea"), marca(&TAgenda::Salida));
    auto *const informes = new QMenu(this);
    informes->setObjectName(QStringLiteral("PMImprimir"));
    informes->addActions(
        {CreaComando("ImprimirSemana", QStringLiteral("&Agenda semanal"),
                     QStringLiteral("Imprimir la semana de este día"), [this] { m_motor.InformeSemanal(); }),
         CreaComando("ImprimirDia", QStringLiteral("Agenda del día"), QStringLiteral("Imprimir este día"),
                     [this] { m_motor.InformeDia(); })});
    Imprimir = CreaComando("Imprimir", QStringLiteral("&Imprimir"), QStringLiteral("Imprimir la agenda"), {});
    Imprimir->setMenu(informes);
    Copiar = CreaComando(
        "Copiar", QStringLiteral("&Copiar"), QStringLiteral("Copiar la anotación (Ctrl+C)"),
        [this] { CopiarExecute(); }, Qt::CTRL | Qt::Key_C);
    Pegar = CreaComando(
        "Pegar", QStringLiteral("&Pegar"), QStringLiteral("Pegar la anotación copiada (Ctrl+V)"),
        [this] { PegaEnLaLinea(CamposDeCopia(), m_copia); }, Qt::CTRL | Qt::Key_V);
    Pegar->setEnabled(false);

    m_rejilla->setObjectName(QStringLiteral("DBGAgenda"));
    m_fuente->setObjectName(QStringLiteral("DSAgenda"));
    m_rejilla->setMode(DbGrid::Mode::rows);
    m_rejilla->setColumns({Columna(TCampoLinea::hora, 50, Qt::AlignHCenter),
                           Columna(TCampoLinea::concepto, 300), Columna(TCampoLinea::interesado, 260),
                           Columna(TCampoLinea::oficial, 120),
                           Columna(TCampoLinea::salida, 60, Qt::AlignHCenter)});
    m_rejilla->setRowColor([this](int linea) -> std::optional<QColor> {
        const dataset::DataSet &tabla = m_motor.Tabla();
        const int fila = m_rejilla->dataRow(linea);
        if (fila < 0 || TextoDeFila(tabla, fila, TCampoLinea::salida) != EstaFuera)
            return std::nullopt;
        return dbcontrols::screenColor(clAgendaSalida, palette());
    });
    DBEConcepto->setField(NombreDe(TCampoLinea::concepto));
    DBEInteresado->setField(NombreDe(TCampoLinea::interesado));
    DBEOficial->setField(NombreDe(TCampoLinea::oficial));
    CreaSalida();

    m_filaComandos = new QHBoxLayout;
    for (const auto &[nombre, comando] :
         {std::pair("BNuevo", Nuevo), std::pair("BModificar", Modificar), std::pair("BBorrar", Borrar),
          std::pair("BAusente", Ausente), std::pair("BSalida", Salida), std::pair("BImprimir", Imprimir)})
        m_filaComandos->addWidget(CreaBoton(nombre, comando));
    Monta();
}

TFAgenda::~TFAgenda()
{
    Suelta();
}

void TFAgenda::CreaSalida()
{
    DBESalida = CreaEdicion("DBESalida", QStringLiteral("Salida"));
    DBESalida->setField(NombreDe(TCampoLinea::salida));
    DBESalida->hide();
    DBCBSalida = new QCheckBox(PActualiza);
    DBCBSalida->setObjectName(QStringLiteral("DBCBSalida"));
    DBCBSalida->setAccessibleName(QStringLiteral("Salida"));
    DBCBSalida->setStatusTip(QStringLiteral("El notario está fuera en esta línea"));
    PonEnFila(*m_filaDos, QStringLiteral("Salida"), *DBCBSalida);
    connect(DBCBSalida, &QCheckBox::clicked, this,
            [this](bool fuera) { DBESalida->putText(fuera ? EstaFuera : NoEstaFuera); });
    connect(DBESalida, &DbEdit::shown, this, &TFAgenda::DBESalidaChange);
    connect(DBESalida, &QLineEdit::textChanged, this, &TFAgenda::DBESalidaChange);
}

void TFAgenda::DBESalidaChange()
{
    const bool fuera = DBESalida->text() == EstaFuera;
    DBCBSalida->setChecked(fuera);
    const QColor color = fuera ? dbcontrols::screenColor(Rojo255, palette())
                               : palette().color(QPalette::Active, QPalette::Text);
    for (QWidget *const control :
         std::initializer_list<QWidget *>{DBCBSalida, DBEOficial, DBEInteresado, DBEConcepto, MEHora}) {
        QPalette paleta = control->palette();
        paleta.setColor(QPalette::Text, color);
        paleta.setColor(QPalette::WindowText, color);
        control->setPalette(paleta);
    }
}

void TFAgenda::showEvent(QShowEvent *evento)
{
    if (!m_fuente->dataSet()) { // the window may be shown again in the middle of an edit
        TBIndexa(NombreDe(TCampoLinea::fecha), m_motor.Tabla());
        m_fuente->setDataSet(&m_motor.Tabla());
    }
    TVentanaAgenda::showEvent(evento);
    FormResize();
}

void TFAgenda::Recarga()
{
    m_motor.Tabla().refresh();
}

void TFAgenda::FormResize()
{
    int otras = 0;
    for (int columna = 0; columna < ColumnasDeLaRejilla; ++columna)
        otras += columna == ColumnaConcepto ? 0 : m_rejilla->columnWidth(columna);
    // Where there is no room for it the grid scrolls; its title at least is read whole.
    const int minimo = m_rejilla->horizontalHeader()->sectionSizeHint(ColumnaConcepto);
    m_rejilla->setColumnWidth(ColumnaConcepto, qMax(minimo, m_rejilla->viewport()->width() - otras - 5));
}

void TFAgenda::CopiarExecute()
{
    m_copia = Textos(CamposDeCopia());
    Pegar->setEnabled(true);
}
