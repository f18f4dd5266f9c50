#include "agenda/HoraTexto.h"

#include "agenda/Rnumcad.h"
#include "agenda/Rvarias.h"
#include "dataset/DatabaseError.h"

#include <QtCore/QStringList>

#include <utility>

namespace
{
constexpr qint64 MinutosDelDia = qint64{24} * 60;
constexpr qint64 MinutosMayores = qint64{9999} * 60; // more than any line's hour can hold

int ParteDeHora(const QString &parte)
{
    const QString texto = parte.trimmed();
    if (texto.isEmpty())
        return 0;
    bool vale = false;
    const int numero = texto.toInt(&vale);
    if (!vale)
        throw dataset::EConvertError(QStringLiteral("«%1» no es un número entero").arg(parte));
    return numero;
}

/// Hour and minute.
std::pair<int, int> PartesDeHora(const QString &hora)
{
    const QString malFormada = QStringLiteral("FORMATO DE HORA INCORRECTO");
    const QStringList partes = hora.split(u':', Qt::SkipEmptyParts);
    if (partes.size() != 2)
        throw dataset::EConvertError(malFormada);
    const std::pair<int, int> leida{ParteDeHora(partes.at(0)), ParteDeHora(partes.at(1))};
    if (leida.first < 0 || leida.first > 24 || leida.second < 0 || leida.second > 60)
        throw dataset::EConvertError(malFormada);
    return leida;
}
} // namespace

QString IncrementaHora(const QString &hora, int minutos)
{
    const qsizetype puntos = hora.indexOf(u':');
    const int horas = Cad_Int(hora.left(puntos));
    const int minutosDeLaHora = Cad_Int(StrRight(hora, 2));
    const bool sinPartes = puntos < 0 && !hora.trimmed().isEmpty(); // a day without lines has none at all
    if (sinPartes || horas < 0 || horas >= 24 || minutosDeLaHora < 0 || minutosDeLaHora >= 60)
        throw dataset::EConvertError(QStringLiteral("«%1» no es una hora").arg(hora));
    const qint64 suma = qint64{horas} * 60 + minutosDeLaHora + minutos;
    const auto delDia = static_cast<int>(((suma % MinutosDelDia) + MinutosDelDia) % MinutosDelDia);
    return StrCeros(delDia / 60, 2) + u':' + StrCeros(delDia % 60, 2);
}

int CompararHoras(const QString &a, const QString &b)
{
    if (a == b)
        return 0;
    const auto una = PartesDeHora(a);
    const auto otra = PartesDeHora(b);
    return una > otra ? 1 : una < otra ? -1 : 0;
}

QString NormalizaHora(const QString &tecleado)
{
    QString cifras = QuitaCaracter(tecleado, u' ');
    const qsizetype separador = cifras.replace(u'.', u':').indexOf(u':');
    QString horas =
        separador >= 0 ? cifras.left(separador) : cifras.left(cifras.size() > 2 ? cifras.size() - 2 : 2);
    QString minutos = separador >= 0      ? cifras.mid(separador + 1)
                      : cifras.size() > 2 ? cifras.right(2)
                                          : QString();
    const bool conForma = EsUnNumero(horas) && horas.size() <= 2 && minutos.size() <= 2 &&
                          (minutos.isEmpty() || EsUnNumero(minutos)) && (separador < 0 || !minutos.isEmpty());
    if (!conForma || Cad_Int(horas) > 23 || Cad_Int(minutos) > 59)
        throw dataset::EConvertError(QStringLiteral("«%1» no es una hora").arg(tecleado));
    return StrCeros(horas, 2) + u':' + StrCeros(minutos, 2);
}

std::optional<int> MinutosDeHora(const QString &hora)
{
    const qsizetype puntos = hora.indexOf(u':');
    if (puntos < 0)
        return {};
    const qint64 minutos = qint64{Cad_Int(hora.left(puntos))} * 60 + Cad_Int(hora.mid(puntos + 1));
    if (minutos > MinutosMayores || minutos < -MinutosMayores)
        return {};
    return static_cast<int>(minutos);
}

QString HoraDeMinutos(int minutos)
{
    return StrCeros(minutos / 60, 2) + u':' + StrCeros(minutos % 60, 2);
}

bool SeVeEnSuHoja(const QString &hora)
{
    return hora >= QLatin1String("00:00") && hora <= QLatin1String("23:59");
}
