#include "host/ModeloConjunto.h"

#include "agenda/IAgenda3P.h"
#include "agenda/LineaAgenda.h"

#include <algorithm>

namespace
{

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
    m_filas.clear();
    endResetModel();
}

void TModeloConjunto::LeeTabla(const dataset::DataSet &tabla, int notario, TFilas &filas) const
{
    std::map<QString, int> vistas;
    for (int fila = 0; fila < tabla.rowCount(); ++fila) {
        const TLineaAgenda linea = TLineaAgenda::DeFila(tabla, fila);
        if (!linea.Fecha.isValid()) // every line of a range has its date
            throw dataset::EDatabaseError(
                QStringLiteral("No se puede leer una línea de la agenda de %1.").arg(Nombre(notario)));
        if (linea.Fecha != m_dia)
            continue; // another workstation has moved it meanwhile
        const int orden = vistas[linea.Hora]++;
        TFila &una = filas[{linea.Hora, orden}];
        una.Hora = linea.Hora;
        una.Orden = orden;
        una.Celdas.at(static_cast<std::size_t>(notario - 1)) = TCelda::De(linea);
    }
}

TModeloConjunto::TCelda TModeloConjunto::TCelda::De(const TLineaAgenda &linea)
{
    TCelda celda{linea.Registro(), {}, linea.EsSalida()};
    for (std::size_t campo = 0; campo < celda.Textos.size(); ++campo)
        celda.Textos.at(campo) = linea.Texto(Columnas().at(campo).Campo);
    return celda;
}

std::vector<TModeloConjunto::TFila> TModeloConjunto::LeeTablas()
{
    TFilas filas;
    for (int notario = 1; m_motor && notario <= NumNotarios(); ++notario) {
        const dataset::DataSet *const tabla = m_motor->Tabla(notario);
        // Without its day's range a table shows everything, or another day: nothing is known of this one.
        const bool ilegible = tabla && !tabla->hasRange();
        m_ilegibles.at(static_cast<std::size_t>(notario - 1)) = ilegible;
        if (tabla && !ilegible)
            LeeTabla(*tabla, notario, filas);
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
    std::vector<TFila> nuevas = LeeTablas();
    const auto mismoHueco = [](const TFila &una, const TFila &otra) {
        return una.Hora == otra.Hora && una.Orden == otra.Orden;
    };
    if (!std::equal(m_filas.begin(), m_filas.end(), nuevas.begin(), nuevas.end(), mismoHueco)) {
        if (conservaFilas)
            return;
        beginResetModel();
        m_filas = std::move(nuevas);
        endResetModel();
        return;
    }
    std::swap(m_filas, nuevas);
    for (std::size_t fila = 0; fila < m_filas.size(); ++fila) {
        for (int notario = 1; notario <= NumNotarios(); ++notario) {
            const auto cual = static_cast<std::size_t>(notario - 1);
            if (m_filas.at(fila).Celdas.at(cual) == nuevas.at(fila).Celdas.at(cual))
                continue;
            const int primera = (notario - 1) * CamposPorNotario;
            emit dataChanged(index(static_cast<int>(fila), primera),
                             index(static_cast<int>(fila), primera + CamposPorNotario - 1));
        }
    }
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
    return CeldaDe(fila, notario).Linea;
}

bool TModeloConjunto::EstaOcupada(int fila, int notario) const
{
    const TCelda &celda = CeldaDe(fila, notario);
    return celda.Salida || std::any_of(celda.Textos.begin(), celda.Textos.end(),
                                       [](const QString &texto) { return !texto.isEmpty(); });
}

bool TModeloConjunto::EsComoSeVe(int fila, int notario, dataset::DataSet &tabla) const
{
    const TCelda &celda = CeldaDe(fila, notario);
    const TLineaAgenda linea = TLineaAgenda::Actual(tabla);
    return celda.Linea != 0 && TCelda::De(linea) == celda && linea.Fecha == m_dia && linea.Hora == Hora(fila);
}

bool TModeloConjunto::EsIlegible(int notario) const
{
    return notario >= 1 && notario <= NumNotarios() && m_ilegibles.at(static_cast<std::size_t>(notario - 1));
}

int TModeloConjunto::LineasA(const QString &hora, int notario) const
{
    return static_cast<int>(std::count_if(m_filas.begin(), m_filas.end(), [&](const TFila &fila) {
        return fila.Hora == hora && fila.Celdas.at(static_cast<std::size_t>(notario - 1)).Linea != 0;
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
    return {fila.Hora, fila.Orden, celda.column()};
}

QModelIndex TModeloConjunto::Celda(const TPuestoConjunto &puesto) const
{
    if (m_filas.empty())
        return {};
    const auto sitio = std::find_if(m_filas.begin(), m_filas.end(), [&puesto](const TFila &fila) {
        return std::make_pair(fila.Hora, fila.Orden) >= std::make_pair(puesto.Hora, puesto.Orden);
    });
    const auto fila = std::min<std::ptrdiff_t>(sitio - m_filas.begin(), rowCount() - 1);
    return index(static_cast<int>(fila), std::min(puesto.Columna, columnCount() - 1));
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
    case Qt::ToolTipRole:
        return celda.Textos.at(campo);
    case Qt::BackgroundRole:
        return celda.Salida && m_colorSalida.isValid() ? QVariant(m_colorSalida) : QVariant();
    case Qt::AccessibleTextRole:
        return QStringLiteral("%1, %2%3, %4: %5")
            .arg(Nombre(notario), Hora(indice.row()), celda.Salida ? QStringLiteral(", salida") : QString(),
                 Columnas().at(campo).Titulo,
                 celda.Linea == 0 ? QStringLiteral("sin hueco") : celda.Textos.at(campo));
    case PapelHueco:
        return celda.Linea == 0;
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
