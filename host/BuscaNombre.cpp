#include "host/BuscaNombre.h"

namespace
{

/// The letter without its mark, a capital.
QChar SinMarca(QChar letra)
{
    return QString(letra).normalized(QString::NormalizationForm_D).front().toUpper();
}

/// The capitals that a person may mean with a letter: itself first, then its relatives with other marks.
QString Parientes(QChar letra)
{
    const QChar mayuscula = letra.toUpper();
    const QChar base = SinMarca(letra);
    QString todos(mayuscula);
    const auto anade = [&](QChar otra) {
        if (SinMarca(otra) == base && !todos.contains(otra))
            todos.append(otra);
    };
    anade(base);
    for (char16_t otra = u'À'; otra <= u'Ý'; ++otra)
        anade(otra);
    return todos;
}

} // namespace

bool TBuscaNombre::Busca(const QString &comienzo)
{
    if (comienzo.isEmpty())
        return false;
    if (Hay(comienzo) || HayConOtraMarca({}, comienzo))
        return true;
    static_cast<void>(Hay(comienzo)); // back to where it would stand
    return false;
}

bool TBuscaNombre::Hay(const QString &comienzo)
{
    m_tabla.locate({{m_campo, comienzo}}, dataset::SearchMode::nearest);
    QString nombre = m_tabla.field(m_campo).asText();
    // The index knows no blanks at the end: before "Banco Sur", "banco " meets every "Banco".
    while (!m_tabla.eof() && nombre.size() < comienzo.size() &&
           nombre.compare(comienzo.trimmed(), Qt::CaseInsensitive) == 0) {
        m_tabla.next();
        nombre = m_tabla.field(m_campo).asText();
    }
    return nombre.startsWith(comienzo, Qt::CaseInsensitive);
}

bool TBuscaNombre::HayConOtraMarca(const QString &hallado, const QString &resto)
{
    if (resto.isEmpty())
        return true;
    for (const QChar letra : Parientes(resto.front())) {
        const QString intento = hallado + letra;
        if (Hay(intento) && HayConOtraMarca(intento, resto.mid(1)))
            return true;
    }
    return false;
}

bool MismoNombre(const QString &uno, const QString &otro)
{
    if (uno.size() != otro.size())
        return false;
    for (qsizetype i = 0; i < uno.size(); ++i) {
        if (SinMarca(uno.at(i)) != SinMarca(otro.at(i)))
            return false;
    }
    return true;
}
