#include "agenda/Rvarias.h"

#include "agenda/Rnumcad.h"
#include "agenda/host/Servicios.h"

#include <QtCore/QStringList>

#include <algorithm>
#include <array>
#include <optional>

namespace
{

/// A two-digit year belongs to the hundred years that begin this long before the current one.
constexpr int AnyosHaciaAtras = 80;

bool EsSeparador(QChar caracter)
{
    return caracter == u'/' || caracter == u'-' || caracter == u'.' || caracter == u' ';
}

/// Groups of digits of a text; nothing when it holds anything else than digits and separators.
std::optional<QStringList> GruposDeCifras(const QString &texto)
{
    QStringList grupos;
    bool abierto = false;
    for (const QChar caracter : texto) {
        if (EsUnNumero(caracter)) {
            if (!abierto)
                grupos.append(QString());
            grupos.back().append(caracter);
            abierto = true;
        } else if (EsSeparador(caracter)) {
            abierto = false;
        } else {
            return {};
        }
    }
    return grupos;
}

/// A mask leaves blanks inside its parts (" 5/ 3/2024", "5 /3 /2024"): with both slashes there, they alone
/// separate.
std::optional<QStringList> PartesDeFecha(const QString &texto)
{
    if (texto.count(u'/') == 2) {
        QStringList partes = texto.split(u'/');
        for (QString &parte : partes) {
            parte = QuitaCaracter(parte, u' ');
            if (!EsUnNumero(parte))
                return {};
        }
        return partes;
    }
    const auto grupos = GruposDeCifras(texto);
    if (!grupos || grupos->size() != 1)
        return grupos;
    const QString &cifras = grupos->front();
    if (cifras.size() == 6 || cifras.size() == 8)
        return QStringList{cifras.left(2), cifras.mid(2, 2), cifras.mid(4)};
    if (cifras.size() == 4)
        return QStringList{cifras.left(2), cifras.mid(2)};
    return {};
}

int AnyoCompleto(const QString &cifras, int anyoActual)
{
    const int anyo = cifras.toInt();
    if (cifras.size() == 4)
        return anyo;
    if (cifras.size() != 2)
        return 0; // half typed: taken for a year, it would have a sheet built there
    const int primero = anyoActual - AnyosHaciaAtras;
    return primero + (((anyo - primero) % 100) + 100) % 100;
}

} // namespace

bool EsUnNumero(const QString &texto)
{
    return !texto.isEmpty() &&
           std::ranges::all_of(texto, [](QChar caracter) { return EsUnNumero(caracter); });
}

bool EsUnNumero(QChar caracter)
{
    return caracter >= u'0' && caracter <= u'9';
}

bool VerificaFecha(QString &fecha, bool admiteVacia, bool admiteSinAnyo)
{
    if (QuitaCaracter(QuitaCaracter(fecha, u' '), u'/').isEmpty()) {
        if (admiteVacia)
            fecha.clear();
        return admiteVacia;
    }
    const auto partes = PartesDeFecha(fecha);
    if (!partes || partes->size() > 3 || partes->size() < (admiteSinAnyo ? 2 : 3))
        return false;
    if (partes->at(0).size() > 2 || partes->at(1).size() > 2)
        return false;
    const int anyoActual = Servicios().Reloj->Hoy().year();
    const int anyo = partes->size() == 3 ? AnyoCompleto(partes->at(2), anyoActual) : anyoActual;
    const QDate leida(anyo, partes->at(1).toInt(), partes->at(0).toInt());
    // Year 0 does not exist and QDate would take it for none given.
    if (anyo < 1 || !leida.isValid())
        return false;
    fecha = Date_Cad(leida);
    return true;
}
