#include "host/Nif.h"

#include "agenda/Rvarias.h"

namespace
{

bool TieneLetra(const QString &numero, QChar letra)
{
    return QStringLiteral("TRWAGMYFPDXBNJZSQVHLCKE").at(numero.toInt() % 23) == letra;
}

/// The digits at odd places count double, their digits added up.
int ControlDeSociedad(const QString &cifras)
{
    int suma = 0;
    for (int i = 0; i < cifras.size(); ++i) {
        const int cifra = cifras.at(i).digitValue();
        suma += i % 2 == 1 ? cifra : 2 * cifra / 10 + 2 * cifra % 10;
    }
    return (10 - suma % 10) % 10;
}

} // namespace

bool EsNif(const QString &texto)
{
    constexpr int Largo = 9;
    const QString nif = texto.toUpper();
    if (nif.size() != Largo || !EsUnNumero(nif.mid(1, 7)))
        return false;
    const QChar primera = nif.front();
    const QChar ultima = nif.back();
    if (primera >= u'0' && primera <= u'9')
        return TieneLetra(nif.left(8), ultima);
    if (const qsizetype extranjero = QStringLiteral("XYZ").indexOf(primera); extranjero >= 0)
        return TieneLetra(QString::number(extranjero) + nif.mid(1, 7), ultima);
    if (!QStringLiteral("ABCDEFGHJKLMNPQRSUVW").contains(primera))
        return false;
    const int control = ControlDeSociedad(nif.mid(1, 7));
    // Some kinds of company have the letter, some the digit, some either.
    return ultima.digitValue() == control || QStringLiteral("JABCDEFGHI").at(control) == ultima;
}
