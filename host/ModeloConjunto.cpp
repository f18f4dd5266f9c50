#include "host/ModeloConjunto.h"

#include "agenda/LineaAgenda.h"
#include "dataset/DatabaseError.h"
#include "dbcontrols/PlainText.h"

#include <QtCore/QLoggingCategory>

#include <algorithm>

namespace
{

Q_LOGGING_CATEGORY(registroModelo, "oficina.conjunta")

struct TColumna {
    TCampoLinea Campo;
    QString Titulo;
};

const std::array<TColumna, CamposPorNotario> &Columnas()
{
    static const std::array<TColumna, CamposPorNotario> columnas = {
        TColumna{TCampoLinea::concepto, QStringLiteral("Cita")},
        TColumna{TCampoLinea::interesado, QStringLiteral("Interesado")},
        TColumna{TCampoLinea::oficial, QStringLiteral("Oficial")},
    };
    return columnas;
}

} // namespace

TModeloConjunto::TModeloConjunto(QObject *padre)
    : QAbstractTableModel(padre)
{
}

void TModeloConjunto::PonMotor(IAgenda3P &motor, const QStringList &nombres)
{
    beginResetModel();
    m_motor = &motor;
    m_nombres = nombres.mid(0, MaxNotarios);
    m_faltan = nombres.size() > MaxNotarios;
    m_filas.clear();
    endResetModel();
}

/// @return false, with nothing added to the rows, when not all of the notary's day can be read.
bool TModeloConjunto::LeeTabla(int notario, TFilas &filas) const
{
    QList<TLineaAgenda> lineas;
    try {
        lineas = LineasQueSeVen(*m_motor->Tabla(notario));
    } catch (const dataset::EDatabaseError &error) {
        qCWarning(registroModelo, "The day of notary %d: %s", notario, error.what());
        return false;
    }
    std::map<QString, int> vistas;
    for (const TLineaAgenda &linea : std::as_const(lineas)) {
        if (linea.Fecha != m_dia)
            continue; // another workstation has moved it meanwhile
        const int orden = vistas[linea.Hora]++;
        TFila &una = filas[{linea.Hora, orden}];
        una.Hora = linea.Hora;
        una.Orden = orden;
        una.Celdas.at(static_cast<std::size_t>(notario - 1)) = TCelda::De(linea);
    }
    return true;
}

TModeloConjunto::TCelda TModeloConjunto::TCelda::De(const TLineaAgenda &linea)
{
    TCelda celda{linea.Vista, {}, linea.EsSalida()};
    for (std::size_t campo = 0; campo < celda.Textos.size(); ++campo)
        celda.Textos.at(campo) = linea.Texto(Columnas().at(campo).Campo);
    return celda;
}

std::vector<TModeloConjunto::TFila> TModeloConjunto::LeeTablas(TIlegibles &ilegibles) const
{
    TFilas filas;
    for (int notario = 1; m_motor && notario <= NumNotarios(); ++notario) {
        // One that shows everything, or another day, could not be brought to this one; what is known of one
        // that can be read no more may be old.
        ilegibles.at(static_cast<std::size_t>(notario - 1)) =
            m_motor->Tabla(notario) && (!m_motor->EsLegible(notario) ||
                                        m_motor->DiaMostrado(notario) != m_dia || !LeeTabla(notario, filas));
    }
    std::vector<TFila> lista;
    lista.reserve(filas.size());
    for (auto &[clave, fila] : filas)
        lista.push_back(std::move(fila));
    return lista;
}

void TModeloConjunto::Relee(QDate dia, bool conservaFilas)
{
    m_dia = dia;
    TIlegibles ilegibles{};
    std::vector<TFila> nuevas = LeeTablas(ilegibles);
    const auto mismoHueco = [](const TFila &una, const TFila &otra) {
        return una.Hora == otra.Hora && una.Orden == otra.Orden;
    };
    const bool mismas = std::equal(m_filas.begin(), m_filas.end(), nuevas.begin(), nuevas.end(), mismoHueco);
    const auto mismasLineas = [](const TFila &una, const TFila &otra) {
        return std::equal(una.Celdas.begin(), una.Celdas.end(), otra.Celdas.begin(),
                          [](const TCelda &esta, const TCelda &esa) {
                              return esta.Vista.bookmark() == esa.Vista.bookmark();
                          });
    };
    if (conservaFilas &&
        (!mismas || !std::equal(m_filas.begin(), m_filas.end(), nuevas.begin(), mismasLineas)))
        return;
    std::swap(m_ilegibles, ilegibles);
    if (!mismas) {
        beginResetModel();
        m_filas = std::move(nuevas);
        endResetModel();
        return;
    }
    std::swap(m_filas, nuevas);
    for (int notario = 1; notario <= NumNotarios(); ++notario) {
        const auto cual = static_cast<std::size_t>(notario - 1);
        CuentaCambios(notario, nuevas, m_ilegibles.at(cual) != ilegibles.at(cual));
    }
}

/// @param todas  all of the notary's cells are painted otherwise, and his title too.
void TModeloConjunto::CuentaCambios(int notario, const std::vector<TFila> &antes, bool todas)
{
    const auto cual = static_cast<std::size_t>(notario - 1);
    const int primera = (notario - 1) * CamposPorNotario;
    const int ultima = primera + CamposPorNotario - 1;
    for (std::size_t fila = 0; fila < m_filas.size(); ++fila) {
        if (todas || m_filas.at(fila).Celdas.at(cual) != antes.at(fila).Celdas.at(cual))
            emit dataChanged(index(static_cast<int>(fila), primera), index(static_cast<int>(fila), ultima));
    }
    if (todas)
        emit headerDataChanged(Qt::Horizontal, primera, ultima);
}

QString TModeloConjunto::NombreDelCampo(TCampoConjunto campo)
{
    return NombreDe(Columnas().at(static_cast<std::size_t>(campo)).Campo);
}

const TModeloConjunto::TCelda &TModeloConjunto::CeldaDe(int fila, int notario) const
{
    static const TCelda ninguna;
    if (fila < 0 || fila >= rowCount() || notario < 1 || notario > NumNotarios())
        return ninguna;
    return m_filas.at(static_cast<std::size_t>(fila)).Celdas.at(static_cast<std::size_t>(notario - 1));
}

QString TModeloConjunto::Hora(int fila) const
{
    return fila < 0 || fila >= rowCount() ? QString() : m_filas.at(static_cast<std::size_t>(fila)).Hora;
}

dataset::Bookmark TModeloConjunto::Linea(int fila, int notario) const
{
    return Vista(fila, notario).bookmark();
}

const dataset::SeenRecord &TModeloConjunto::Vista(int fila, int notario) const
{
    return CeldaDe(fila, notario).Vista;
}

THueco TModeloConjunto::Hueco(int fila) const
{
    THueco hueco;
    for (int notario = 1; notario <= NumNotarios(); ++notario) {
        if (Linea(fila, notario) != 0)
            hueco << TLineaDeHueco{notario, Vista(fila, notario)};
    }
    return hueco;
}

bool TModeloConjunto::EstaOcupada(int fila, int notario) const
{
    const TCelda &celda = CeldaDe(fila, notario);
    return celda.Salida || std::any_of(celda.Textos.begin(), celda.Textos.end(),
                                       [](const QString &texto) { return !texto.isEmpty(); });
}

bool TModeloConjunto::EsIlegible(int notario) const
{
    return notario >= 1 && notario <= NumNotarios() && m_ilegibles.at(static_cast<std::size_t>(notario - 1));
}

bool TModeloConjunto::HayIlegibles() const
{
    return std::any_of(m_ilegibles.begin(), m_ilegibles.end(), [](bool una) { return una; });
}

int TModeloConjunto::LineasA(const QString &hora, int notario) const
{
    return static_cast<int>(std::count_if(m_filas.begin(), m_filas.end(), [&](const TFila &fila) {
        return fila.Hora == hora &&
               fila.Celdas.at(static_cast<std::size_t>(notario - 1)).Vista.bookmark() != 0;
    }));
}

int TModeloConjunto::FilaDeLinea(dataset::Bookmark linea, int notario) const
{
    for (int fila = 0; linea != 0 && fila < rowCount(); ++fila) {
        if (Linea(fila, notario) == linea)
            return fila;
    }
    return -1;
}

bool TModeloConjunto::LeFaltaLaHoja(int notario) const
{
    if (EsIlegible(notario))
        return false;
    for (int fila = 0; fila < rowCount(); ++fila) {
        if (Linea(fila, notario) != 0)
            return false;
    }
    return !m_filas.empty();
}

bool TModeloConjunto::TieneHuecos() const
{
    for (int fila = 0; fila < rowCount(); ++fila) {
        for (int notario = 1; notario <= NumNotarios(); ++notario) {
            if (Linea(fila, notario) == 0 && !EsIlegible(notario))
                return true;
        }
    }
    return false;
}

TPuestoConjunto TModeloConjunto::Puesto(const QModelIndex &celda) const
{
    if (!celda.isValid() || celda.row() >= rowCount())
        return {};
    const TFila &fila = m_filas.at(static_cast<std::size_t>(celda.row()));
    return {fila.Hora, fila.Orden, celda.column(), Linea(celda.row(), NotarioDe(celda.column()))};
}

bool TModeloConjunto::Sigue(const TPuestoConjunto &puesto) const
{
    if (puesto.Linea != 0)
        return FilaDeLinea(puesto.Linea, NotarioDe(puesto.Columna)) >= 0;
    return std::any_of(m_filas.begin(), m_filas.end(), [&puesto](const TFila &fila) {
        return fila.Hora == puesto.Hora && fila.Orden == puesto.Orden;
    });
}

QModelIndex TModeloConjunto::Celda(const TPuestoConjunto &puesto) const
{
    if (m_filas.empty())
        return {};
    const int columna = std::min(puesto.Columna, columnCount() - 1);
    if (const int fila = FilaDeLinea(puesto.Linea, NotarioDe(columna)); fila >= 0)
        return index(fila, columna);
    const auto sitio = std::find_if(m_filas.begin(), m_filas.end(), [&puesto](const TFila &fila) {
        return std::make_pair(fila.Hora, fila.Orden) >= std::make_pair(puesto.Hora, puesto.Orden);
    });
    const auto fila = std::min<std::ptrdiff_t>(sitio - m_filas.begin(), rowCount() - 1);
    return index(static_cast<int>(fila), columna);
}

int TModeloConjunto::FilaDe(const QString &hora) const
{
    const auto sitio = std::find_if(m_filas.begin(), m_filas.end(),
                                    [&hora](const TFila &fila) { return fila.Hora == hora; });
    return sitio == m_filas.end() ? -1 : static_cast<int>(sitio - m_filas.begin());
}

int TModeloConjunto::rowCount(const QModelIndex &padre) const
{
    return padre.isValid() ? 0 : static_cast<int>(m_filas.size());
}

int TModeloConjunto::columnCount(const QModelIndex &padre) const
{
    return padre.isValid() ? 0 : NumNotarios() * CamposPorNotario;
}

QVariant TModeloConjunto::data(const QModelIndex &indice, int papel) const
{
    if (!indice.isValid() || indice.row() >= rowCount())
        return {};
    const int notario = NotarioDe(indice.column());
    const auto campo = static_cast<std::size_t>(CampoDe(indice.column()));
    const TCelda &celda = CeldaDe(indice.row(), notario);
    switch (papel) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return celda.Textos.at(campo);
    case Qt::ToolTipRole:
        return dbcontrols::plainTip(celda.Textos.at(campo));
    case Qt::BackgroundRole:
        return celda.Salida && m_colorSalida.isValid() ? QVariant(m_colorSalida) : QVariant();
    case Qt::AccessibleTextRole:
        return QStringLiteral("%1, %2%3, %4: %5")
            .arg(Nombre(notario), Hora(indice.row()), celda.Salida ? QStringLiteral(", salida") : QString(),
                 Columnas().at(campo).Titulo,
                 EsIlegible(notario)           ? QStringLiteral("no se puede leer")
                 : celda.Vista.bookmark() == 0 ? QStringLiteral("sin hueco")
                                               : celda.Textos.at(campo));
    case PapelHueco:
        return celda.Vista.bookmark() == 0;
    case PapelIlegible:
        return EsIlegible(notario);
    default:
        return {};
    }
}

QVariant TModeloConjunto::headerData(int seccion, Qt::Orientation orientacion, int papel) const
{
    if (papel == Qt::DisplayRole) {
        return orientacion == Qt::Vertical ? Hora(seccion)
                                           : Columnas().at(static_cast<std::size_t>(CampoDe(seccion))).Titulo;
    }
    if (papel == Qt::TextAlignmentRole && orientacion == Qt::Vertical)
        return static_cast<int>(Qt::AlignCenter);
    return {};
}

Qt::ItemFlags TModeloConjunto::flags(const QModelIndex &indice) const
{
    return QAbstractTableModel::flags(indice) | Qt::ItemIsEditable;
}
