#include "agenda/HoraTexto.h"

#include "agenda/Rnumcad.h"
#include "dataset/DatabaseError.h"

namespace
{
constexpr qint64 MinutosDelDia = qint64{24} * 60;
} // namespace

QString IncrementaHora(const QString &hora, int minutos)
{
    const int horas = Cad_Int(hora.left(hora.indexOf(u':')));
    const int minutosDeLaHora = Cad_Int(StrRight(hora, 2));
    if (horas < 0 || horas >= 24 || minutosDeLaHora < 0 || minutosDeLaHora >= 60)
        throw dataset::EConvertError(QStringLiteral("«%1» no es una hora").arg(hora));
    const qint64 suma = qint64{horas} * 60 + minutosDeLaHora + minutos;
    const auto delDia = static_cast<int>(((suma % MinutosDelDia) + MinutosDelDia) % MinutosDelDia);
    return StrCeros(delDia / 60, 2) + u':' + StrCeros(delDia % 60, 2);
}
