// The day of two notaries: unpacked into memory, packed back into AGENDA.

#include "agenda/Avisos.h"
#include "agenda/LineaAgenda.h"
#include "agenda/Rnumcad.h"
#include "agenda/Ruttb.h"
#include "agenda1/ClasAge.h"

#include <algorithm>

using dataset::Bookmark;
using dataset::DataSet;

namespace
{

constexpr int AnchoInteresado = 50;
constexpr int AnchoOficial = 8;
constexpr int AnchoConcepto = 30;
constexpr int HuecoConcepto = 15; ///< blanks between the two subjects

/// The name of a field of the day in memory.
QString Campo2(std::size_t campo)
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

/// Half of a packed text, without the blanks that only fill it up.
QString Mitad(const QString &campo, int ancho, int todo, bool primera)
{
    const QString entero = Espacios(campo, todo);
    QString mitad = primera ? StrLeft(entero, ancho) : StrRight(entero, ancho);
    while (mitad.endsWith(u' '))
        mitad.chop(1);
    return mitad;
}

TFilaDia Desempaqueta(DataSet &tabla)
{
    const TLineaAgenda linea = TLineaAgenda::Actual(tabla);
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

TFilaDia FilaActual2(DataSet &tabla2)
{
    TFilaDia fila;
    for (std::size_t campo = 0; campo < NumCamposDia; ++campo)
        fila.Valores[campo] = tabla2.field(Campo2(campo)).asText();
    return fila;
}

/// Writes a line's values, packed, into the record being edited or inserted.
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

} // namespace

TFilasDia TAgenda::DiaEnTabla() const
{
    const dataset::ControlsGuard sinAvisos(*FTabla);
    FTabla->refresh();
    TFilasDia filas;
    for (FTabla->first(); !FTabla->eof(); FTabla->next())
        filas.push_back(Desempaqueta(*FTabla));
    return filas;
}

TFilasDia TAgenda::DiaEnMemoria() const
{
    DataSet &tabla2 = Tabla2();
    TFilasDia filas;
    for (int fila = 0; fila < tabla2.rowCount(); ++fila) {
        TFilaDia una{m_registros.value(tabla2.bookmarkAt(fila)), {}};
        for (std::size_t campo = 0; campo < NumCamposDia; ++campo)
            una.Valores[campo] = tabla2.textAt(fila, tabla2.fieldIndex(Campo2(campo)));
        filas.push_back(una);
    }
    return filas;
}

void TAgenda::PonDiaEnMemoria(const TFilasDia &filas)
{
    dataset::MemTable &tabla2 = m_datos->cdsAgenda2;
    const dataset::ControlsGuard sinAvisos(tabla2);
    CancelaSinPreguntar(tabla2);
    tabla2.close();
    tabla2.create(CamposAgenda2());
    m_registros.clear();
    m_sinEscribir = 0;
    TLineaAgenda suDia;
    suDia.Fecha = FFecha;
    for (const TFilaDia &fila : filas) {
        tabla2.append();
        suDia.Escribe(tabla2, TCampoLinea::fecha);
        for (std::size_t campo = 0; campo < NumCamposDia; ++campo)
            tabla2.field(Campo2(campo)).setText(fila.Valores[campo]);
        tabla2.post();
        m_registros.insert(tabla2.bookmark(), fila.Registro);
    }
    tabla2.first();
}

void TAgenda::CargarAgenda2()
{
    m_base = DiaEnTabla();
    PonDiaEnMemoria(m_base);
    m_pisada = false;
}

void TAgenda::RecargaAgenda2()
{
    DataSet &tabla2 = Tabla2();
    const dataset::ControlsGuard sinAvisos(tabla2);
    const TFilaDia donde = LineaActual();
    TFilasDia suyas = DiaEnTabla();
    const TFusionDia fusion = FundeDia(m_base, DiaEnMemoria(), suyas);
    m_base = std::move(suyas);
    PonDiaEnMemoria(fusion.Filas);
    VuelveA(donde);
    AvisaChoques(fusion.Choques);
}

TFilaDia TAgenda::LineaActual() const
{
    TFilaDia fila = FilaActual2(Tabla2());
    fila.Registro = m_registros.value(Tabla2().bookmark());
    return fila;
}

/// Goes to a line by what is left of it: its record, or else its values, or else its hour.
void TAgenda::VuelveA(const TFilaDia &linea)
{
    const TFilasDia filas = DiaEnMemoria();
    const auto busca = [&filas](const auto &es) { return std::find_if(filas.begin(), filas.end(), es); };
    auto sitio = linea.Registro == 0
                     ? filas.end()
                     : busca([&linea](const TFilaDia &una) { return una.Registro == linea.Registro; });
    if (sitio == filas.end())
        sitio = busca([&linea](const TFilaDia &una) { return una.Valores == linea.Valores; });
    if (sitio == filas.end())
        sitio =
            busca([&linea](const TFilaDia &una) { return una.Valores[DiaHora] >= linea.Valores[DiaHora]; });
    if (sitio != filas.end())
        Tabla2().setCurrentRow(static_cast<int>(sitio - filas.begin()));
}

void TAgenda::AvisaChoques(const QStringList &horas)
{
    if (!horas.isEmpty())
        AvisaMotor(QStringLiteral("Otro puesto ha cambiado a la vez la cita de las %1")
                       .arg(horas.join(QStringLiteral(", "))),
                   QStringLiteral("Se han conservado las dos anotaciones. Revíselas."), TituloAtencionPuntos);
}

/// Begins the change of the record that the current line goes to: the first of its hour, or a new one.
/// @return the hour, when another workstation has changed the same line in another way.
QStringList TAgenda::EmpiezaRegistro(TFilaDia &mia)
{
    const Bookmark propio = m_registros.value(Tabla2().bookmark());
    const bool sigue = propio != 0 && FTabla->goToBookmark(propio);
    const bool hay = BuscarPorFecha(TLineaAgenda::Actual(Tabla2()).Fecha, mia.Valores[DiaHora], true);
    const Bookmark hallado = hay ? FTabla->bookmark() : 0;
    const Bookmark otraLinea = m_registros.key(hallado);
    // A line of that hour that another workstation has added since the day was loaded stays as it is.
    const bool ajena = otraLinea == 0 && (propio == 0 || sigue);
    if (!hay || ajena) {
        FTabla->append();
        return {};
    }
    FTabla->edit(dataset::EditOf::fresh); // both versions are brought together below
    if (hallado != propio) {
        // Deliberate: of several lines of one hour the first is written over. The one that it held is still
        // here in memory, and comes back when the day is written whole.
        if (otraLinea != 0)
            m_registros[otraLinea] = 0;
        m_pisada = m_pisada || otraLinea != 0;
        return {};
    }
    const auto antes = std::find_if(m_base.begin(), m_base.end(),
                                    [hallado](const TFilaDia &una) { return una.Registro == hallado; });
    if (antes == m_base.end())
        return {};
    mia.Registro = hallado;
    const TFusionDia fusion = FundeDia({*antes}, {mia}, {Desempaqueta(*FTabla)});
    mia = fusion.Filas.back();
    if (!fusion.Choques.isEmpty()) { // theirs stays; this one becomes a line of its own
        FTabla->cancel();
        FTabla->append();
    }
    return fusion.Choques;
}

bool TAgenda::AceptaDosNotarios()
{
    DataSet &tabla2 = Tabla2();
    if (!tabla2.isModified() && tabla2.bookmark() != m_sinEscribir) {
        tabla2.cancel();
        return true;
    }
    if (tabla2.isEditing())
        tabla2.post();
    m_sinEscribir = tabla2.bookmark(); // accepted again after a failure, it is to be written
    TFilaDia mia = FilaActual2(tabla2);
    const dataset::ControlsGuard sinAvisos(*FTabla);
    const dataset::PendingEditGuard sinResto(*FTabla);
    const QStringList choques = EmpiezaRegistro(mia);
    Empaqueta(mia, FFecha, *FTabla);
    TBPost(*FTabla);
    mia.Registro = FTabla->bookmark();
    m_registros.insert(tabla2.bookmark(), mia.Registro);
    std::erase_if(m_base, [&mia](const TFilaDia &una) { return una.Registro == mia.Registro; });
    m_base.push_back(mia);
    m_sinEscribir = 0;
    AvisaChoques(choques);
    return true;
}

/// Writes a line over its record, or as a new one. Nothing is written where nothing differs.
void TAgenda::EscribeFila(const TFilaDia &fila)
{
    if (fila.Registro == 0) {
        FTabla->append();
    } else {
        FTabla->goToBookmark(fila.Registro);
        if (Desempaqueta(*FTabla).Valores == fila.Valores && TLineaAgenda::Actual(*FTabla).Fecha == FFecha)
            return;
        FTabla->edit(dataset::EditOf::fresh); // what others wrote is part of the line already
    }
    Empaqueta(fila, FFecha, *FTabla);
    TBPost(*FTabla);
}

void TAgenda::EscribeDia(const TFilasDia &filas)
{
    std::vector<Bookmark> sobran;
    for (const TFilaDia &una : DiaEnTabla())
        sobran.push_back(una.Registro);
    QHash<QString, Bookmark> ultimo; // record last used at an hour
    TFilasDia escritas = filas;
    for (TFilaDia &fila : escritas) {
        // Lines of one hour stand in the order of their records: one that would come too early gets a new
        // one.
        Bookmark &anterior = ultimo[fila.Valores[DiaHora]];
        if (fila.Registro < anterior || anterior == ~Bookmark{0})
            fila.Registro = 0;
        anterior = fila.Registro == 0 ? ~Bookmark{0} : fila.Registro;
        std::erase(sobran, fila.Registro);
    }
    for (const Bookmark registro : sobran) {
        if (FTabla->goToBookmark(registro))
            TBDelete(*FTabla);
    }
    for (const TFilaDia &fila : escritas)
        EscribeFila(fila);
}

void TAgenda::ActualizarDesdeAgenda2()
{
    DataSet &tabla2 = Tabla2();
    const dataset::ControlsGuard sinAvisos2(tabla2);
    const dataset::ControlsGuard sinAvisos(*FTabla);
    const TFilaDia donde = LineaActual();
    QStringList choques;
    {
        // Another workstation, a killed process or a full disk sees the old day or the new one, never a part.
        const dataset::PendingEditGuard sinResto(*FTabla);
        dataset::CommitGroup dia(*FTabla);
        const TFusionDia fusion = FundeDia(m_base, DiaEnMemoria(), DiaEnTabla());
        EscribeDia(fusion.Filas);
        dia.commit();
        choques = fusion.Choques;
    }
    DiaActual().Muestra(FFecha);
    CargarAgenda2();
    VuelveA(donde);
    AvisaChoques(choques);
}

/// Puts a notary's mark on the current line of the day in memory, or takes it away.
void TAgenda::AlternaMarcaDeDos(int notario, const QString &texto)
{
    DataSet &tabla2 = Tabla2();
    tabla2.edit();
    TLineaAgenda linea = TLineaAgenda::Actual(tabla2);
    const bool quita = linea.Salida == Int_Cad(notario);
    tabla2.field(NombreDe(TCampoLinea::interesado, notario)).setText(quita ? QString() : texto);
    linea.Salida = quita ? QStringLiteral("0") : Int_Cad(notario);
    linea.Escribe(tabla2, TCampoLinea::salida);
    tabla2.post();
}

bool TAgenda::AusenteDeDos(int notario)
{
    const dataset::ControlsGuard sinAvisos(Tabla2());
    RecorreLineas(Tabla2(), [&] { AlternaMarcaDeDos(notario, QStringLiteral("AUSENCIA")); });
    return true;
}

bool TAgenda::SalidaDeDos(int notario)
{
    AlternaMarcaDeDos(notario, QStringLiteral("Salida"));
    return true;
}
