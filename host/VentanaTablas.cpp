#include "host/VentanaTablas.h"

#include "dbcontrols/PlainText.h"
#include "dbcontrols/WindowPlace.h"
#include "host/TablasOficina.h"
#include "host/VentanaOficina.h"
#include "upkeep/OfficeCopy.h"

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QLocale>
#include <QtCore/QSettings>
#include <QtCore/QStandardPaths>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLabel>
#include <QtWidgets/QProgressBar>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QTableWidget>
#include <QtWidgets/QVBoxLayout>

#include <algorithm>
#include <utility>

namespace
{

enum ColumnaApartado { ApartadoAlias, ApartadoNombre, ApartadoTamano, ApartadoFecha, NumColumnasApartado };
enum Columna { ColAlias, ColNombre, ColLineas, ColTamano, ColEstado, NumColumnas };

const QString ClaveCopias = QStringLiteral("Copias/Carpeta");
const QString FiltroCopias = QStringLiteral("Copias de seguridad (*.zip)");

} // namespace

TVentanaTablas::TVentanaTablas(TOficina &oficina, QWidget *padre)
    : QDialog(padre)
    , m_oficina(oficina)
{
    setObjectName(QStringLiteral("VentanaTablas"));
    setWindowTitle(QStringLiteral("Mantenimiento de las tablas"));
    auto *const orden = new QVBoxLayout(this);
    CreaLista();
    LMensaje = dbcontrols::plainLabel({}, this);
    LMensaje->setObjectName(QStringLiteral("LMensaje"));
    LMensaje->setWordWrap(true);
    LMensaje->setMinimumHeight(2 * fontMetrics().lineSpacing());
    LMensaje->setTextInteractionFlags(Qt::TextSelectableByMouse);
    PBAvance = new QProgressBar(this);
    PBAvance->setRange(0, 100);
    BCancelar = new QPushButton(QStringLiteral("Ca&ncelar"), this);
    BCancelar->setObjectName(QStringLiteral("BCancelar"));
    BCancelar->setAutoDefault(false);
    connect(BCancelar, &QPushButton::clicked, this, [this] { m_trabajo.Para(); });
    auto *const avance = new QHBoxLayout;
    avance->addWidget(PBAvance, 1);
    avance->addWidget(BCancelar);
    CreaApartados();
    orden->addWidget(TVTablas, 1);
    orden->addWidget(GBApartados);
    orden->addWidget(LMensaje);
    orden->addLayout(avance);
    CreaBotones();
    connect(&m_trabajo, &TTrabajo::avanza, this, [this](int porCiento, const QString &que) {
        PBAvance->setValue(porCiento);
        if (!que.isEmpty())
            LMensaje->setText(que);
    });
    connect(&m_trabajo, &TTrabajo::dice, this, [this](int fila, const QString &estado, qint64 lineas) {
        TVTablas->item(m_filas.at(fila), ColEstado)->setText(estado);
        TVTablas->item(m_filas.at(fila), ColEstado)->setToolTip(dbcontrols::plainTip(estado));
        if (lineas >= 0)
            TVTablas->item(m_filas.at(fila), ColLineas)->setText(locale().toString(lineas));
    });
    connect(&m_trabajo, &TTrabajo::sinVuelta, this, [this] { BCancelar->setEnabled(false); });
    connect(&m_trabajo, &TTrabajo::termina, this, &TVentanaTablas::Termina);
    if (!dbcontrols::restorePlace(*this, oficina.Config.GetFicheroVentanas()))
        resize(96 * fontMetrics().averageCharWidth(), 30 * fontMetrics().height());
    upkeep::clearLeftovers(std::filesystem::path(CarpetaDeCopias().toStdU16String()));
    Lee();
    LeeApartados();
    TVTablas->selectAll();
    Empieza(MiraTablas(m_tablas));
}

/// What restoring and repairing have kept of before. It has people's names like the tables, and nobody would
/// look for it in the folders.
void TVentanaTablas::CreaApartados()
{
    GBApartados = new QGroupBox(QStringLiteral(" Apartado al restaurar o al reparar "), this);
    TVApartados = new QTableWidget(0, NumColumnasApartado, GBApartados);
    TVApartados->setObjectName(QStringLiteral("TVApartados"));
    TVApartados->setAccessibleName(QStringLiteral("Ficheros apartados"));
    TVApartados->setHorizontalHeaderLabels({QStringLiteral("Alias"), QStringLiteral("Fichero"),
                                            QStringLiteral("Tamaño"), QStringLiteral("Fecha")});
    TVApartados->setSelectionBehavior(QAbstractItemView::SelectRows);
    TVApartados->setEditTriggers(QAbstractItemView::NoEditTriggers);
    TVApartados->setTabKeyNavigation(false);
    TVApartados->setShowGrid(false);
    TVApartados->setStyleSheet(TVTablas->styleSheet());
    TVApartados->verticalHeader()->hide();
    TVApartados->verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
    TVApartados->horizontalHeader()->setHighlightSections(false);
    TVApartados->horizontalHeader()->setStretchLastSection(true);
    constexpr int FilasALaVista = 4;
    TVApartados->setMaximumHeight((FilasALaVista + 1) * (fontMetrics().height() + 8));
    TVApartados->setColumnWidth(ApartadoNombre, 34 * fontMetrics().averageCharWidth());
    BQuitar = new QPushButton(QStringLiteral("&Quitar"), GBApartados);
    BQuitar->setObjectName(QStringLiteral("BQuitar"));
    BQuitar->setToolTip(QStringLiteral("Borrar para siempre los ficheros elegidos de esta lista"));
    BQuitar->setAutoDefault(false);
    connect(BQuitar, &QPushButton::clicked, this, &TVentanaTablas::QuitaElegidos);
    auto *const orden = new QHBoxLayout(GBApartados);
    orden->addWidget(TVApartados, 1);
    orden->addWidget(BQuitar, 0, Qt::AlignTop);
}

void TVentanaTablas::LeeApartados()
{
    m_apartados = ApartadosDeLaOficina(m_oficina.Config);
    GBApartados->setVisible(!m_apartados.isEmpty());
    TVApartados->setRowCount(static_cast<int>(m_apartados.size()));
    for (int fila = 0; fila < m_apartados.size(); ++fila) {
        const TApartado &uno = m_apartados.at(fila);
        const QString textos[NumColumnasApartado] = {uno.Alias, uno.Nombre,
                                                     locale().formattedDataSize(uno.Bytes, 1),
                                                     locale().toString(uno.Fecha, QLocale::ShortFormat)};
        for (int columna = 0; columna < NumColumnasApartado; ++columna)
            TVApartados->setItem(fila, columna, new QTableWidgetItem(textos[columna]));
    }
}

void TVentanaTablas::QuitaElegidos()
{
    QList<TApartado> elegidos;
    for (const QModelIndex &una : TVApartados->selectionModel()->selectedRows())
        elegidos << m_apartados.at(una.row());
    if (elegidos.isEmpty()) {
        LMensaje->setText(QStringLiteral("Elija en la lista de lo apartado un fichero al menos."));
        return;
    }
    const QString cuantos =
        elegidos.size() == 1
            ? QStringLiteral("el fichero apartado que ha elegido")
            : QStringLiteral("los %1 ficheros apartados que ha elegido").arg(elegidos.size());
    if (m_oficina.Mensaje.Mensaje_NoSi(
            QStringLiteral("¿Desea quitar para siempre %1?").arg(cuantos),
            QStringLiteral(
                "Lo que solo esté en ellos no podrá recuperarse. Antes compruebe que en las tablas no "
                "falta nada."),
            QStringLiteral(" ATENCIÓN:")) != RespuestaSi)
        return;
    const QString fallo = QuitaApartados(elegidos);
    LMensaje->setText(fallo.isEmpty() ? QStringLiteral("Lo elegido se ha quitado.") : fallo);
    LeeApartados();
}

void TVentanaTablas::CreaLista()
{
    TVTablas = new QTableWidget(0, NumColumnas, this);
    TVTablas->setObjectName(QStringLiteral("TVTablas"));
    TVTablas->setAccessibleName(QStringLiteral("Tablas de la oficina"));
    TVTablas->setHorizontalHeaderLabels({QStringLiteral("Alias"), QStringLiteral("Tabla"),
                                         QStringLiteral("Líneas"), QStringLiteral("Tamaño"),
                                         QStringLiteral("Estado")});
    TVTablas->setSelectionBehavior(QAbstractItemView::SelectRows);
    TVTablas->setEditTriggers(QAbstractItemView::NoEditTriggers);
    TVTablas->setTabKeyNavigation(false);
    TVTablas->setShowGrid(false);
    TVTablas->setStyleSheet(QStringLiteral("QTableView::item { padding: 0 6px; }"));
    TVTablas->setAlternatingRowColors(true);
    TVTablas->verticalHeader()->hide();
    TVTablas->verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
    TVTablas->horizontalHeader()->setHighlightSections(false);
    TVTablas->horizontalHeader()->setStretchLastSection(true);
    const int letra = fontMetrics().averageCharWidth();
    TVTablas->setColumnWidth(ColAlias, 13 * letra);
    TVTablas->setColumnWidth(ColNombre, 13 * letra);
    TVTablas->setColumnWidth(ColLineas, 10 * letra);
    TVTablas->setColumnWidth(ColTamano, 11 * letra);
}

void TVentanaTablas::Boton(const QString &titulo, const char *nombre, const QString &pista,
                           const std::function<void()> &orden)
{
    auto *const boton = new QPushButton(titulo, this);
    boton->setObjectName(QLatin1String(nombre));
    boton->setToolTip(dbcontrols::plainTip(pista));
    boton->setAutoDefault(false);
    connect(boton, &QPushButton::clicked, this, orden);
    m_botones << boton;
}

void TVentanaTablas::CreaBotones()
{
    Boton(QStringLiteral("&Comprobar"), "BComprobar",
          QStringLiteral("Comparar las líneas con los índices y leer todos los datos"),
          [this] { Empieza(CompruebaTablas(Elegidas())); });
    Boton(QStringLiteral("&Reparar"), "BReparar",
          QStringLiteral("Terminar lo que quedó a medias y rehacer los índices que no coincidan"),
          [this] { Empieza(ReparaTablas(Elegidas())); });
    Boton(QStringLiteral("C&ompactar"), "BCompactar",
          QStringLiteral("Quitar para siempre las líneas borradas; nadie más puede tener abierta la tabla"),
          [this] { Empieza(CompactaTablas(Elegidas())); });
    Boton(QStringLiteral("Copia de &seguridad..."), "BCopia",
          QStringLiteral("Guardar las tablas en un fichero, mientras los demás trabajan"),
          [this] { PreguntaCopia(); });
    Boton(QStringLiteral("Res&taurar..."), "BRestaurar",
          QStringLiteral("Traer las líneas de una copia; nadie más puede tener abiertas las tablas"),
          [this] { PreguntaRestaurar(); });
    auto *const fila = new QHBoxLayout;
    for (QPushButton *const boton : std::as_const(m_botones))
        fila->addWidget(boton);
    fila->addStretch();
    auto *const cerrar = new QPushButton(QStringLiteral("C&errar"), this);
    cerrar->setAutoDefault(false);
    connect(cerrar, &QPushButton::clicked, this, &TVentanaTablas::reject);
    fila->addWidget(cerrar);
    static_cast<QVBoxLayout *>(layout())->addLayout(fila);
}

void TVentanaTablas::Lee()
{
    m_tablas = TablasDeLaOficina(m_oficina.Config);
    TVTablas->setRowCount(static_cast<int>(m_tablas.size()));
    for (int fila = 0; fila < m_tablas.size(); ++fila) {
        const TTablaOficina &tabla = m_tablas.at(fila);
        std::error_code error;
        const auto bytes = std::filesystem::file_size(tabla.Fichero, error);
        const QString tamano =
            error ? QStringLiteral("—") : locale().formattedDataSize(static_cast<qint64>(bytes), 1);
        const QString textos[NumColumnas] = {tabla.Alias, tabla.Nombre, QString(), tamano, QString()};
        for (int columna = 0; columna < NumColumnas; ++columna) {
            auto *const celda = new QTableWidgetItem(textos[columna]);
            if (columna == ColLineas || columna == ColTamano)
                celda->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
            TVTablas->setItem(fila, columna, celda);
        }
    }
}

QList<TTablaOficina> TVentanaTablas::Elegidas()
{
    m_filas.clear();
    for (const QModelIndex &una : TVTablas->selectionModel()->selectedRows())
        m_filas << una.row();
    std::sort(m_filas.begin(), m_filas.end());
    QList<TTablaOficina> elegidas;
    for (const int fila : std::as_const(m_filas))
        elegidas << m_tablas.at(fila);
    return elegidas;
}

void TVentanaTablas::Empieza(const TTrabajo::TCuerpo &cuerpo)
{
    if (Elegidas().isEmpty()) {
        LMensaje->setText(QStringLiteral("Elija en la lista una tabla al menos."));
        return;
    }
    for (const int fila : std::as_const(m_filas))
        TVTablas->item(fila, ColEstado)->setText({});
    m_oficina.Clientes.Cierra(); // what this very program has open would be in the way
    PonEnMarcha(true);
    m_trabajo.Empieza(cuerpo);
}

void TVentanaTablas::Termina(const QString &mensaje, bool cancelado)
{
    PonEnMarcha(false);
    LMensaje->setText(mensaje);
    LeeApartados(); // what has just been done may have set something aside
    std::error_code error;
    for (int fila = 0; fila < m_tablas.size(); ++fila) {
        const auto bytes = std::filesystem::file_size(m_tablas.at(fila).Fichero, error);
        if (!error)
            TVTablas->item(fila, ColTamano)
                ->setText(locale().formattedDataSize(static_cast<qint64>(bytes), 1));
    }
    const bool cerrar = std::exchange(m_cerrar, false);
    if (cerrar && (cancelado || mensaje.isEmpty()))
        reject();
}

void TVentanaTablas::PonEnMarcha(bool enMarcha)
{
    for (QPushButton *const boton : std::as_const(m_botones))
        boton->setEnabled(!enMarcha);
    TVTablas->setEnabled(!enMarcha);
    BQuitar->setEnabled(!enMarcha); // a restoring may need them still
    BCancelar->setEnabled(enMarcha);
    PBAvance->setValue(0);
    PBAvance->setTextVisible(enMarcha);
    if (!enMarcha)
        TVTablas->setFocus();
}

void TVentanaTablas::HazCopia(const QString &fichero)
{
    Empieza(CopiaTablas(Elegidas(), m_oficina.Config.GetPath(), fichero));
}

QString TVentanaTablas::Diferencia(const QList<TNotario> &deLaCopia) const
{
    const QList<TNotario> nuestros = m_oficina.Config.Notarios();
    QStringList diferencias;
    for (const TNotario &suyo : deLaCopia) {
        const auto mismo = std::find_if(nuestros.begin(), nuestros.end(), [&](const TNotario &uno) {
            return uno.Alias.compare(suyo.Alias, Qt::CaseInsensitive) == 0;
        });
        if (mismo == nuestros.end())
            diferencias << QStringLiteral("%1 es allí «%2» y aquí no está").arg(suyo.Alias, suyo.Nombre);
        else if (mismo->Nombre != suyo.Nombre)
            diferencias
                << QStringLiteral("%1 es allí «%2» y aquí «%3»").arg(suyo.Alias, suyo.Nombre, mismo->Nombre);
    }
    return diferencias.join(QStringLiteral("; "));
}

/// Those of this office whom the copy does not know stay, behind the copy's.
void TVentanaTablas::OfreceNotarios(const QList<TNotario> &deLaCopia)
{
    const QList<TNotario> nuestros = m_oficina.Config.Notarios();
    QList<TNotario> juntos = deLaCopia;
    const auto esta = [](const QList<TNotario> &lista, const QString &alias) {
        return std::any_of(lista.begin(), lista.end(), [&](const TNotario &uno) {
            return uno.Alias.compare(alias, Qt::CaseInsensitive) == 0;
        });
    };
    for (const TNotario &nuestro : nuestros) {
        if (!esta(deLaCopia, nuestro.Alias))
            juntos << nuestro;
    }
    QStringList serian;
    for (const TNotario &uno : std::as_const(juntos)) {
        serian << QStringLiteral("%1 (%2)").arg(uno.Nombre, uno.Alias);
        // A name out of a file that anybody may have made becomes a folder's.
        if (!esta(nuestros, uno.Alias) &&
            (m_oficina.Aliases.contains(uno.Alias) || !PorQueNoSirveElAlias(uno.Alias.toUpper()).isEmpty()))
            return;
    }
    if (juntos.size() > TConfiguracion::MaxNotarios ||
        m_oficina.Mensaje.Mensaje_NoSi(
            QStringLiteral("¿Desea que la oficina tenga los notarios de la copia?"),
            QStringLiteral("Serán: %1.\n\nSi contesta que no, las agendas que la oficina no conoce se quedan "
                           "en la copia.")
                .arg(serian.join(QStringLiteral(", "))),
            QStringLiteral(" ATENCIÓN:")) != RespuestaSi)
        return;
    for (const TNotario &uno : std::as_const(juntos))
        CreaAgendaDeNotario(m_oficina.Config, uno.Alias);
    m_oficina.Config.SetNotarios(juntos, nuestros);
    m_oficina.LeeAliases();
    Lee();
    TVTablas->selectAll();
}

void TVentanaTablas::Restaura(const QString &fichero)
{
    try {
        const QList<TNotario> suyos = NotariosDeLaCopia(fichero);
        const QString diferencia = Diferencia(suyos);
        QString aviso = QStringLiteral("Lo que se haya escrito en ellas después de esa copia se perderá.");
        if (!diferencia.isEmpty())
            aviso += QStringLiteral("\n\nPuede ser la copia de otra oficina: %1.").arg(diferencia);
        const quint64 mayor = MayorTablaDeLaCopia(fichero, m_tablas);
        if (mayor > upkeep::mostTableBytes)
            aviso += QStringLiteral(
                         "\n\nUna de sus tablas ocupa %1 una vez desempaquetada. Si la oficina no es tan "
                         "grande, la copia no es de fiar.")
                         .arg(locale().formattedDataSize(static_cast<qint64>(mayor), 1));
        if (m_oficina.Mensaje.Mensaje_NoSi(
                QStringLiteral("¿Desea restaurar las tablas elegidas con la copia «%1»?")
                    .arg(QFileInfo(fichero).fileName()),
                aviso, QStringLiteral(" ATENCIÓN:")) != RespuestaSi)
            return;
        if (!diferencia.isEmpty() && Elegidas().size() == m_tablas.size())
            OfreceNotarios(suyos);
        // The question has been answered for as much as it told of.
        Empieza(
            RestauraTablas(Elegidas(), m_tablas, fichero, std::max<quint64>(mayor, upkeep::mostTableBytes)));
    } catch (const std::exception &error) {
        LMensaje->setText(QString::fromUtf8(error.what()));
    }
}

QString TVentanaTablas::CarpetaDeCopias() const
{
    const QString memoria = m_oficina.Config.GetFicheroVentanas();
    const QString recordada = memoria.isEmpty()
                                  ? QString()
                                  : QSettings(memoria, QSettings::IniFormat).value(ClaveCopias).toString();
    return QFileInfo(recordada).isDir() ? recordada
                                        : QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
}

void TVentanaTablas::RecuerdaCarpeta(const QString &fichero)
{
    if (const QString memoria = m_oficina.Config.GetFicheroVentanas(); !memoria.isEmpty())
        QSettings(memoria, QSettings::IniFormat).setValue(ClaveCopias, QFileInfo(fichero).absolutePath());
}

void TVentanaTablas::PreguntaCopia()
{
    const QString nombre =
        QStringLiteral("oficina-") +
        QDateTime(m_oficina.Reloj.Hoy(), QTime::currentTime()).toString(QStringLiteral("yyyy-MM-dd-HHmm")) +
        QStringLiteral(".zip");
    QFileDialog dialogo(this, QStringLiteral("Copia de seguridad"), CarpetaDeCopias(), FiltroCopias);
    dialogo.setAcceptMode(QFileDialog::AcceptSave);
    dialogo.setDefaultSuffix(QStringLiteral("zip")); // or restoring would not show the copy
    dialogo.selectFile(nombre);
    if (dialogo.exec() != QDialog::Accepted)
        return;
    const QString fichero = dialogo.selectedFiles().constFirst();
    RecuerdaCarpeta(fichero);
    HazCopia(fichero);
}

void TVentanaTablas::PreguntaRestaurar()
{
    const QString fichero = QFileDialog::getOpenFileName(this, QStringLiteral("Restaurar una copia"),
                                                         CarpetaDeCopias(), FiltroCopias);
    if (!fichero.isEmpty())
        Restaura(fichero);
}

void TVentanaTablas::reject()
{
    if (m_trabajo.EnMarcha()) {
        m_cerrar = true;
        m_trabajo.Para();
        LMensaje->setText(QStringLiteral("Terminando..."));
        return;
    }
    dbcontrols::rememberPlace(*this, m_oficina.Config.GetFicheroVentanas());
    QDialog::reject();
}
