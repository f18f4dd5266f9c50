#include "agenda/Rnumcad.h"

#include "dataset/DatabaseError.h"

#include <QtCore/QLocale>

namespace
{
const QString FormatoFecha = QStringLiteral("dd/MM/yyyy");
} // namespace

QString StrCeros(int numero, int ancho)
{
    if (numero >= 0)
        return StrCeros(QString::number(numero), ancho);
    return u'-' + StrCeros(QString::number(-qint64{numero}), ancho - 1);
}

QString StrCeros(const QString &texto, int ancho)
{
    return texto.rightJustified(ancho, u'0');
}
QString StrLeft(const QString &texto, int cuantos)
{
    return texto.left(qMax(0, cuantos));
}
QString StrRight(const QString &texto, int cuantos)
{
    return texto.right(qMax(0, cuantos));
}
QString Espacios(const QString &texto, int ancho)
{
    return texto.leftJustified(qMax(0, ancho), u' ', true);
}

QString QuitaCaracter(const QString &texto, QChar caracter)
{
    QString resultado = texto;
    return resultado.remove(caracter);
}

int Cad_Int(const QString &texto)
{
    return texto.trimmed().toInt();
}
QString Int_Cad(int numero)
{
    return QString::number(numero);
}

QDate Cad_Date(const QString &texto)
{
    const QDate fecha = QDate::fromString(texto, FormatoFecha);
    if (!fecha.isValid())
        throw dataset::EConvertError(QStringLiteral("«%1» no es una fecha").arg(texto));
    return fecha;
}

QString Date_Cad(QDate fecha)
{
    return fecha.toString(FormatoFecha);
}

QString FechaCorta(QDate fecha)
{
    const QString formato = QLocale::system().dateFormat(QLocale::ShortFormat);
    // A desktop that has been told no country writes months in English: the program's own is better then.
    const bool sinPais = formato == QLocale::c().dateFormat(QLocale::ShortFormat);
    return sinPais ? QLocale().toString(fecha, QLocale::ShortFormat)
                   : QLocale::system().toString(fecha, QLocale::ShortFormat);
}
