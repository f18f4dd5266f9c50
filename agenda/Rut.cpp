#include "agenda/Rut.h"

QString AlineaIzda(const QString &texto, int ancho)
{
    return texto.leftJustified(qMax(0, ancho), u' ', true);
}
QString AlineaDecha(const QString &texto, int ancho)
{
    return texto.rightJustified(qMax(0, ancho), u' ', true);
}
