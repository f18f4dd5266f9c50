#include "agenda1/Agenda2.h"

#include "agenda/LineaAgenda.h"
#include "agenda/host/Constanteszen.h"
#include "dbcontrols/ColorPanel.h"
#include "dbcontrols/DataSource.h"
#include "dbcontrols/DbEdit.h"
#include "dbcontrols/DbGrid.h"

#include <QtGui/QAction>
#include <QtGui/QKeyEvent>
#include <QtWidgets/QBoxLayout>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QMenu>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QStatusBar>

#include <cmath>

using dataset::DataSet;
using dbcontrols::DbGrid;

namespace
{

constexpr int DuracionNota = 8000; // ms
// Columns: the hour, then party, clerk and subject of each notary.
constexpr int ColumnaHora2 = 0;
constexpr int Interesado1 = 1;
constexpr int Interesado2 = 4;
constexpr int ColumnasPorNotario = 3;

int NotarioDeColumna(int columna)
{
    return columna <= ColumnaHora2 ? 0 : (columna - 1) / ColumnasPorNotario + 1;
}

} // namespace

TFAgenda2::TFAgenda2(TAgenda &motor)
    : TVentanaAgenda(motor, QStringLiteral("FAgenda2"),
                     {QStringLiteral("&Nuevo"), QStringLiteral("&Modificar"), QStringLiteral("&Borrar"),
                      QStringLiteral("Anterior día"), QStringLiteral("Siguiente día"),
                      QStringLiteral("&Aceptar"), QStringLiteral("&Salir")})
{
    CreaMarcas();
    CreaDelDia();
    PreparaRejilla();
    m_filaComandos = new QHBoxLayout;
    for (const auto &[nombre, comando] :
         {std::pair("BNuevo", Nuevo), std::pair("BModificar", Modificar), std::pair("BBorrar", Borrar),
          std::pair("BAusente", Ausente), std::pair("BSalida", Salida), std::pair("BImprimir", Imprimir),
          std::pair("BVolver", AcAceptar)})
        m_filaComandos->addWidget(CreaBoton(nombre, comando));
    Monta();
    m_fuente->setDataSet(&motor.Tabla2());
    AtaPanel(1);
}

TFAgenda2::~TFAgenda2()
{
    Suelta();
}

void TFAgenda2::CreaMarcas()
{
    Ausente = CreaComando("Ausente", QStringLiteral("&Ausencia todo el día"),
                          QStringLiteral("Ausencia de un notario durante todo el día"), {});
    Salida = CreaComando("Salida", QStringLiteral("&Salida"),
                         QStringLiteral("Salida de un notario en esta línea"), {});
    pmAUSENCIA = new QMenu(this);
    pmAUSENCIA->setObjectName(QStringLiteral("pmAUSENCIA"));
    pmSALIDA = new QMenu(this);
    pmSALIDA->setObjectName(QStringLiteral("pmSALIDA"));
    const std::array<const char *, NumNotarios> nombresAusente{"AcAusenteNotario1", "AcAusenteNotario2"};
    const std::array<const char *, NumNotarios> nombresSalida{"AcSalidaNotario1", "AcSalidaNotario2"};
    for (int notario = 1; notario <= NumNotarios; ++notario) {
        const auto i = static_cast<std::size_t>(notario - 1);
        const QString nombre = NombreEnRotulo(notario);
        AcAusenteNotario[i] = CreaComando(nombresAusente[i], nombre, Ausente->statusTip(),
                                          [this, notario] { Marca(&TAgenda::Ausente, notario); });
        AcSalidaNotario[i] = CreaComando(nombresSalida[i], nombre, Salida->statusTip(),
                                         [this, notario] { Marca(&TAgenda::Salida, notario); });
        pmAUSENCIA->addAction(AcAusenteNotario[i]);
        pmSALIDA->addAction(AcSalidaNotario[i]);
    }
    Ausente->setMenu(pmAUSENCIA);
    Salida->setMenu(pmSALIDA);
}

void TFAgenda2::CreaDelDia()
{
    Imprimir = CreaComando("Imprimir", QStringLiteral("&Imprimir"), QStringLiteral("Imprimir este día"),
                           [this] { m_motor.InformeDia(); });
    AcAceptar =
        CreaComando("AcAceptar", QStringLiteral("&Volver"),
                    QStringLiteral("Guardar el día entero en la agenda"), [this] { AcAceptarExecute(); });
    Copiar = CreaComando(
        "Copiar", QStringLiteral("&Copiar"),
        QStringLiteral("Copiar la anotación del notario de esta columna (Ctrl+C)"),
        [this] { CopiarExecute(); }, Qt::CTRL | Qt::Key_C);
    Pegar = CreaComando(
        "Pegar", QStringLiteral("&Pegar"),
        QStringLiteral("Pegar la anotación copiada en la columna de este notario (Ctrl+V)"),
        [this] {
            if (const int notario = Notario())
                PegaEnLaLinea(CamposDe(notario), m_copia);
        },
        Qt::CTRL | Qt::Key_V);
    Pegar->setEnabled(false);
}

void TFAgenda2::PreparaRejilla()
{
    m_rejilla->setObjectName(QStringLiteral("DBGAgenda2"));
    m_fuente->setObjectName(QStringLiteral("dsAgenda2"));
    const auto columna = [](const QString &titulo, const QString &campo,
                            Qt::Alignment alinea = Qt::AlignLeft) {
        return dbcontrols::GridColumn{titulo, campo, 50, alinea, true, true};
    };
    QList<dbcontrols::GridColumn> columnas{
        columna(NombreDe(TCampoLinea::hora), NombreDe(TCampoLinea::hora), Qt::AlignHCenter)};
    for (int notario = 1; notario <= NumNotarios; ++notario) {
        columnas << columna(notario == 1 ? m_motor.Ajustes().FNotario1 : m_motor.Ajustes().FNotario2,
                            NombreDe(TCampoLinea::interesado, notario))
                 << columna(NombreDe(TCampoLinea::oficial), NombreDe(TCampoLinea::oficial, notario))
                 << columna(NombreDe(TCampoLinea::concepto), NombreDe(TCampoLinea::concepto, notario));
    }
    m_rejilla->setColumns(columnas);
    m_rejilla->setCellColor([this](int linea, int col) -> std::optional<QColor> {
        const DataSet &tabla = m_motor.Tabla2();
        const int notario = NotarioDeColumna(col);
        if (notario == 0 || linea >= tabla.rowCount() ||
            TextoDeFila(tabla, linea, TCampoLinea::salida) != QString::number(notario))
            return std::nullopt;
        return dbcontrols::screenColor(clAgendaSalida, palette());
    });
    connect(m_rejilla, &DbGrid::keyDown, this, &TFAgenda2::DBGAgenda2KeyDown);
    connect(m_rejilla->selectionModel(), &QItemSelectionModel::currentChanged, this,
            &TFAgenda2::DBGAgenda2ColEnter);
}

// Commands

void TFAgenda2::TrasBorrar()
{
    statusBar()->showMessage(QStringLiteral("Lo que se borra desaparece de la agenda al pulsar «Volver»."),
                             DuracionNota);
}

void TFAgenda2::Recarga()
{
    m_motor.RecargaAgenda2();
}

void TFAgenda2::AcAceptarExecute()
{
    if (!m_motor.Aceptar()) {
        Avisa(ProblemasCita);
        m_motor.Cancelar();
        return;
    }
    m_motor.ActualizarDesdeAgenda2();
}

void TFAgenda2::Marca(bool (TAgenda::*operacion)(int), int notario)
{
    if (!(m_motor.*operacion)(notario)) {
        Avisa(ProblemasMarca);
        return;
    }
    try {
        AcAceptarExecute();
    } catch (...) {
        m_motor.DeshazAgenda2(); // a mark that AGENDA does not have is not shown
        throw;
    }
}

QStringList TFAgenda2::CamposDe(int notario) const
{
    return {NombreDe(TCampoLinea::concepto, notario), NombreDe(TCampoLinea::interesado, notario),
            NombreDe(TCampoLinea::oficial, notario)};
}

void TFAgenda2::CopiarExecute()
{
    const int notario = Notario();
    if (notario == 0)
        return;
    m_copia = Textos(CamposDe(notario));
    Pegar->setEnabled(true);
}

QString TFAgenda2::NombreEnRotulo(int notario) const
{
    QString nombre = notario == 1 ? m_motor.Ajustes().FNotario1 : m_motor.Ajustes().FNotario2;
    return nombre.replace(u'&', QLatin1String("&&")); // a single one would mark a key
}

// Columns

int TFAgenda2::Notario() const
{
    return NotarioDeColumna(m_rejilla->currentIndex().column());
}

void TFAgenda2::DBGAgenda2ColEnter(const QModelIndex &celda)
{
    if (!celda.isValid())
        return;
    const int columna = celda.column() < Interesado2 ? Interesado1 : Interesado2;
    if (celda.column() != columna) {
        VeA(celda.row(), columna);
        return;
    }
    AtaPanel(NotarioDeColumna(columna));
}

void TFAgenda2::AtaPanel(int notario)
{
    if (DBEInteresado->field().endsWith(QString::number(notario)))
        return;
    const QStringList campos = CamposDe(notario);
    DBEConcepto->setField(campos.at(0));
    DBEInteresado->setField(campos.at(1));
    DBEOficial->setField(campos.at(2));
    PActualiza->setTitle(NombreEnRotulo(notario));
}

void TFAgenda2::VeA(int linea, int columna)
{
    const QAbstractItemModel &modelo = *m_rejilla->model();
    if (modelo.rowCount() > 0)
        m_rejilla->setCurrentIndex(modelo.index(qBound(0, linea, modelo.rowCount() - 1), columna));
}

void TFAgenda2::DBGAgenda2KeyDown(QKeyEvent *tecla)
{
    const int linea = m_rejilla->currentIndex().row();
    const bool primero = m_rejilla->currentIndex().column() < Interesado2;
    const int lineas = m_rejilla->model()->rowCount();
    switch (tecla->key()) {
    case Qt::Key_Right:
        if (primero)
            VeA(linea, Interesado2);
        else if (linea + 1 < lineas)
            VeA(linea + 1, Interesado1);
        break;
    case Qt::Key_Left:
        if (!primero)
            VeA(linea, Interesado1);
        else if (linea > 0)
            VeA(linea - 1, Interesado2);
        break;
    case Qt::Key_Home:
        VeA(0, primero ? Interesado1 : Interesado2);
        break;
    case Qt::Key_End:
        VeA(lineas - 1, primero ? Interesado1 : Interesado2);
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        Modificar->trigger();
        break;
    default:
        return;
    }
    tecla->ignore(); // the grid itself does nothing with it
}

void TFAgenda2::FormResize()
{
    constexpr double ParteInteresado = 0.20;
    constexpr double ParteOficial = 0.12;
    constexpr double ParteConcepto = 0.18;
    const int ancho = m_rejilla->viewport()->width() - m_rejilla->columnWidth(ColumnaHora2) - 5;
    const int medidas[] = {static_cast<int>(std::lround(ancho * ParteInteresado)),
                           static_cast<int>(std::lround(ancho * ParteOficial)),
                           static_cast<int>(std::lround(ancho * ParteConcepto))};
    for (int i = 0; i < ColumnasPorNotario; ++i) {
        m_rejilla->setColumnWidth(Interesado1 + i, medidas[i]);
        m_rejilla->setColumnWidth(Interesado2 + i, medidas[i]);
    }
}
