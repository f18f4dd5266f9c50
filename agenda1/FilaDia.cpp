#include "agenda1/FilaDia.h"

#include "agenda/Rnumcad.h"

using dataset::DataSet;

namespace
{

constexpr int AnchoInteresado = 50;
constexpr int AnchoOficial = 8;
constexpr int AnchoConcepto = 30;
constexpr int HuecoConcepto = 15; ///< blanks between the two subjects

/// Half of a packed text, without the blanks that only fill it up.
QString Mitad(const QString &campo, int ancho, int todo, bool primera)
{
    const QString entero = Espacios(campo, todo);
    QString mitad = primera ? StrLeft(entero, ancho) : StrRight(entero, ancho);
    while (mitad.endsWith(u' '))
        mitad.chop(1);
    return mitad;
}

} // namespace

QString NombreEnDia(std::size_t campo)
{
    struct TSitio {
        TCampoLinea Campo;
        int Notario;
    };
    static constexpr std::array<TSitio, NumCamposDia> Sitios{{{TCampoLinea::hora, 0},
                                                              {TCampoLinea::interesado, 1},
                                                              {TCampoLinea::oficial, 1},
                                                              {TCampoLinea::concepto, 1},
                                                              {TCampoLinea::interesado, 2},
                                                              {TCampoLinea::oficial, 2},
                                                              {TCampoLinea::concepto, 2},
                                                              {TCampoLinea::salida, 0}}};
    return NombreDe(Sitios.at(campo).Campo, Sitios.at(campo).Notario);
}

TFilaDia Desempaqueta(const TLineaAgenda &linea)
{
    TFilaDia fila{linea.Registro(), {}};
    constexpr int TodoConcepto = 2 * AnchoConcepto + HuecoConcepto;
    fila.Valores[DiaHora] = linea.Hora;
    fila.Valores[DiaInteresado1] = Mitad(linea.Interesado, AnchoInteresado, 2 * AnchoInteresado, true);
    fila.Valores[DiaOficial1] = Mitad(linea.Oficial, AnchoOficial, 2 * AnchoOficial, true);
    fila.Valores[DiaConcepto1] = Mitad(linea.Concepto, AnchoConcepto, TodoConcepto, true);
    fila.Valores[DiaInteresado2] = Mitad(linea.Interesado, AnchoInteresado, 2 * AnchoInteresado, false);
    fila.Valores[DiaOficial2] = Mitad(linea.Oficial, AnchoOficial, 2 * AnchoOficial, false);
    fila.Valores[DiaConcepto2] = Mitad(linea.Concepto, AnchoConcepto, TodoConcepto, false);
    fila.Valores[DiaSalida] = linea.Salida;
    return fila;
}

void Empaqueta(const TFilaDia &fila, QDate fecha, DataSet &tabla)
{
    const auto &valor = fila.Valores;
    TLineaAgenda linea;
    linea.Fecha = fecha;
    linea.Hora = valor[DiaHora];
    linea.Interesado =
        Espacios(valor[DiaInteresado1], AnchoInteresado) + Espacios(valor[DiaInteresado2], AnchoInteresado);
    linea.Oficial = Espacios(valor[DiaOficial1], AnchoOficial) + Espacios(valor[DiaOficial2], AnchoOficial);
    linea.Concepto = Espacios(valor[DiaConcepto1], AnchoConcepto) + QString(HuecoConcepto, u' ') +
                     Espacios(valor[DiaConcepto2], AnchoConcepto);
    linea.Salida = valor[DiaSalida];
    linea.Escribe(tabla, CamposDeUnica);
}
