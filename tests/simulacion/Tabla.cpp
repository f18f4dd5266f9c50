#include "tests/simulacion/Tabla.h"

#include <QtCore/QFile>
#include <QtCore/QtEndian>

#include <algorithm>

namespace simulacion
{

namespace
{

constexpr int CabeceraFija = 32;
constexpr int Descriptor = 32;
constexpr char Borrada = '*';
constexpr int AnchoDelConcepto = 30; ///< of each of two notaries
constexpr QLatin1String DiaDeLosAjustes{"19010101"};

} // namespace

QString TCambio::EnTexto() const
{
    return QStringLiteral("notario %1, línea %2: «%3» → «%4»")
        .arg(Sitio.Notario)
        .arg(Sitio.Marca)
        .arg(Antes ? Antes->EnTexto() : QStringLiteral("nada"),
             Despues ? Despues->EnTexto() : QStringLiteral("nada"));
}

TTablaCruda::TTablaCruda(QString fichero, TCual cual, int notario)
    : m_fichero(std::move(fichero))
    , m_cual(cual)
    , m_notario(notario)
{
}

std::optional<TLinea> TTablaCruda::Descifra(const char *registro) const
{
    if (*registro == Borrada)
        return {};
    const auto trozo = [registro](int desde, int ancho) {
        QString valor = QString::fromLatin1(registro + desde, ancho);
        while (valor.endsWith(u' '))
            valor.chop(1);
        return valor;
    };
    const auto texto = [&](const char *nombre) {
        QByteArray campo(nombre);
        const char final = campo.back();
        if (final != '1' && final != '2')
            return trozo(m_campos.value(campo).Desde, m_campos.value(campo).Ancho);
        campo.chop(1); // a notary's half; two subjects have room between them
        const TCampo donde = m_campos.value(campo);
        const int ancho = campo == "CONCEPTO" ? AnchoDelConcepto : donde.Ancho / 2;
        return trozo(donde.Desde + (final == '1' ? 0 : donde.Ancho - ancho), ancho);
    };
    const QString fecha = texto("FECHA");
    if (EsDeUnaTabla(m_cual) && fecha == DiaDeLosAjustes)
        return {};
    return LineaDe(m_cual, fecha, texto);
}

TCambios TTablaCruda::Lee()
{
    QFile fichero(m_fichero);
    if (!fichero.open(QIODevice::ReadOnly))
        return {};
    const QByteArray bytes = fichero.readAll();
    if (bytes.size() < CabeceraFija || bytes == m_bytes)
        return {};
    const auto dice = [&bytes](int donde) { return qFromLittleEndian<quint16>(bytes.constData() + donde); };
    const auto cabecera = static_cast<qsizetype>(dice(8));
    const auto largo = static_cast<qsizetype>(dice(10));
    const auto cuantos = static_cast<qsizetype>(qFromLittleEndian<quint32>(bytes.constData() + 4));
    int desde = 1;
    for (int donde = CabeceraFija;
         m_campos.size() * Descriptor + 2 * CabeceraFija < cabecera + 1 && bytes.at(donde) != 0x0D;
         donde += Descriptor) {
        const int ancho = static_cast<quint8>(bytes.at(donde + 16));
        m_campos.insert(QByteArray(bytes.constData() + donde), {desde, ancho});
        desde += ancho;
    }
    TCambios cambios;
    for (qsizetype i = 0; i < cuantos && cabecera + (i + 1) * largo <= bytes.size(); ++i) {
        const char *const registro = bytes.constData() + cabecera + i * largo;
        const qsizetype lugar = cabecera + i * largo;
        const bool igual = lugar + largo <= m_bytes.size() &&
                           std::equal(registro, registro + largo, m_bytes.constData() + lugar);
        const auto marca = static_cast<quint32>(i + 1);
        if (igual && m_lineas.contains(marca))
            continue;
        const auto antes = m_lineas.constFind(marca);
        const std::optional<TLinea> despues = Descifra(registro);
        TCambio cambio{{m_notario, marca}, {}, despues};
        if (antes != m_lineas.cend())
            cambio.Antes = *antes;
        if (cambio.Antes == cambio.Despues)
            continue; // a mark alone, or a line that has never been alive
        cambios << cambio;
        if (despues)
            m_lineas.insert(marca, *despues);
        else
            m_lineas.remove(marca);
    }
    m_bytes = bytes;
    return cambios;
}

QList<TFila> TTablaCruda::Dia(const QString &fecha) const
{
    QList<TFila> filas;
    for (auto linea = m_lineas.cbegin(); linea != m_lineas.cend(); ++linea) {
        if (linea->Fecha == fecha && linea->Hora >= u"00:00" && linea->Hora <= u"23:59")
            filas.append({{m_notario, linea.key()}, *linea});
    }
    std::stable_sort(filas.begin(), filas.end(),
                     [](const TFila &a, const TFila &b) { return a.Linea.Hora < b.Linea.Hora; });
    return filas;
}

} // namespace simulacion
