#include "agenda/ClaseConfAgendaN.h"

#include "agenda/FicheroIni.h"
#include "agenda/GuardaVentana.h"
#include "agenda/Rnumcad.h"
#include "agenda/Ruttb.h"
#include "agenda/host/Servicios.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

std::unique_ptr<TClassConfAgendaN> goConfAgendaN;

namespace
{

constexpr TColor ColorSalidaPorDefecto = 0x00C6C6FF;
constexpr int InicioPorDefecto = 9;
constexpr int FinPorDefecto = 20;
constexpr int IntervaloPorDefecto = 30;

const QString Programa = QStringLiteral("AGENDA");
const QString HoraInicio = QStringLiteral("HoraInicio");
const QString HoraFin = QStringLiteral("HoraFin");
const QString Intervalo = QStringLiteral("intervalo");

// Section and key of these two are the wrong way round in every office's file; they stay so.
const QString SeccionIncremento = QStringLiteral("IncrementoMin");
const QString SeccionColor = QStringLiteral("COLOR");
const QString ClaveSalida = QStringLiteral("AGENDASALIDA");
const QString SeccionAgenda = QStringLiteral("AGENDA");
const QString ClaveSincronizar = QStringLiteral("SincronizarDia");

std::unique_ptr<dataset::DbfTable> AbreComun()
{
    return CreaTabla(Servicios().Config->GetAliasZentra(), QStringLiteral("VA_COMUN"),
                     QStringLiteral("PROGRAMA"), true, false);
}

bool BuscaAjuste(dataset::DbfTable &comun, const QString &nombre)
{
    return TBBusca(comun, {{"PROGRAMA", Programa}, {"NOMBRE", nombre}}, true);
}

int LeeDeComun(const QString &nombre, int porDefecto)
{
    const auto comun = AbreComun();
    if (!BuscaAjuste(*comun, nombre))
        return porDefecto;
    const dataset::Field valor = comun->field(u"VALOR");
    if (valor.asText().trimmed().isEmpty()) {
        qWarning("The setting %s is blank", qUtf8Printable(nombre));
        return porDefecto;
    }
    try {
        using Limites = std::numeric_limits<int>;
        return static_cast<int>(std::clamp<qint64>(valor.asInteger(), Limites::min(), Limites::max()));
    } catch (const dataset::EConvertError &error) {
        // Raised, it would shut the user out of the dialog in which the value can be put right.
        qWarning("The setting %s is not a number: %s", qUtf8Printable(nombre), error.what());
        return porDefecto;
    }
}

/// The same within bounds: a number that no sheet could be made with counts as the nearest that one can. The
/// settings dialog shows what is there.
int LeeEntre(int menor, int mayor, const QString &nombre, int porDefecto)
{
    const int valor = LeeDeComun(nombre, porDefecto);
    if (valor < menor || valor > mayor)
        qWarning("The setting %s is %d; what counts is between %d and %d", qUtf8Printable(nombre), valor,
                 menor, mayor);
    return std::clamp(valor, menor, mayor);
}

constexpr int UltimaHora = 23;
constexpr int MinutosDelDia = 24 * 60;

/// Into the record on which the search has left the table.
void PonValor(dataset::DbfTable &comun, int valor)
{
    comun.edit(dataset::EditOf::fresh); // nobody looks at it
    comun.field(u"VALOR").setInteger(valor);
    TBPost(comun);
}

void EscribeEnComun(const QString &nombre, int valor)
{
    const auto comun = AbreComun();
    if (!BuscaAjuste(*comun, nombre))
        return;
    PonValor(*comun, valor);
}

/// In the dialog's lists, which begin with hour 1.
int IndiceDeHora(int hora)
{
    return hora >= 1 && hora <= UltimaHora ? hora - 1 : -1;
}

TFicheroIni Fichero()
{
    return TFicheroIni(Servicios().Config->GetPath() + QStringLiteral("CONFIG/VARIOS.INI"));
}

int IncrementoQueConsta()
{
    return Fichero().LeeEntero(SeccionIncremento, ClaveSalida, 1);
}

/// The settings of the file, in the order in which they are written.
QList<TValorIni> DelFichero(TColor salida, int incremento, bool sincronizar)
{
    return {{SeccionColor, ClaveSalida, ColorATexto(salida)},
            {SeccionIncremento, ClaveSalida, Int_Cad(incremento)},
            {SeccionAgenda, ClaveSincronizar, Int_Cad(sincronizar ? 1 : 0)}};
}

} // namespace

int TClassConfAgendaN::GetHoraInicio() const
{
    return LeeEntre(0, UltimaHora, HoraInicio, InicioPorDefecto);
}
void TClassConfAgendaN::SetHoraInicio(int hora)
{
    EscribeEnComun(HoraInicio, hora);
}
int TClassConfAgendaN::GetHoraFin() const
{
    return LeeEntre(0, UltimaHora, HoraFin, FinPorDefecto);
}
void TClassConfAgendaN::SetHoraFin(int hora)
{
    EscribeEnComun(HoraFin, hora);
}
int TClassConfAgendaN::GetIntervalo() const
{
    return LeeEntre(0, MinutosDelDia, Intervalo, IntervaloPorDefecto);
}
void TClassConfAgendaN::SetIntervalo(int minutos)
{
    EscribeEnComun(Intervalo, minutos);
}

int TClassConfAgendaN::GetIncrementoMin() const
{
    return std::clamp(IncrementoQueConsta(), -MinutosDelDia, MinutosDelDia);
}

void TClassConfAgendaN::SetIncrementoMin(int minutos)
{
    Fichero().EscribeEntero(SeccionIncremento, ClaveSalida, minutos);
}

bool TClassConfAgendaN::GetSincronizarDia() const
{
    return Fichero().LeeLogico(SeccionAgenda, ClaveSincronizar, true);
}

void TClassConfAgendaN::SetSincronizarDia(bool sincronizar)
{
    Fichero().EscribeLogico(SeccionAgenda, ClaveSincronizar, sincronizar);
}

TColor TClassConfAgendaN::GetColorSalida() const
{
    const auto texto = Fichero().Lee(SeccionColor, ClaveSalida);
    return texto ? TextoAColor(*texto).value_or(ColorSalidaPorDefecto) : ColorSalidaPorDefecto;
}

void TClassConfAgendaN::SetColorSalida(TColor color)
{
    Fichero().Escribe(SeccionColor, ClaveSalida, ColorATexto(color));
}

void TClassConfAgendaN::FichaConfiguracion(QObject *propietario)
{
    if (!m_vista)
        return;
    TAjustesEnPantalla ajustes;
    ajustes.ColorSalida = GetColorSalida();
    ajustes.IndiceHoraComienzo = IndiceDeHora(LeeDeComun(HoraInicio, InicioPorDefecto));
    ajustes.IndiceHoraFin = IndiceDeHora(LeeDeComun(HoraFin, FinPorDefecto));
    ajustes.IntervaloHoras = Int_Cad(LeeDeComun(Intervalo, IntervaloPorDefecto));
    ajustes.IncrementoMin = Int_Cad(IncrementoQueConsta());
    ajustes.SincronizarDia = GetSincronizarDia();
    ajustes.SincronizarVisible =
        !propietario || qstrcmp(propietario->metaObject()->className(), "TFAgendaZen") != 0;
    // What cannot be stored stays in the dialog, until it can be or the user gives it up.
    while (m_vista->EditaAjustes(ajustes, propietario)) {
        if (EjecutaConGuarda([&] { Guarda(ajustes); }))
            return;
    }
}

void TClassConfAgendaN::Guarda(const TAjustesEnPantalla &ajustes)
{
    const auto comun = AbreComun();
    const std::pair<QString, int> deTabla[] = {{HoraInicio, ajustes.IndiceHoraComienzo + 1},
                                               {HoraFin, ajustes.IndiceHoraFin + 1},
                                               {Intervalo, Cad_Int(ajustes.IntervaloHoras)}};
    // A value that stands there already needs no lock of the host's table.
    std::optional<dataset::CommitGroup> grupo;
    for (const auto &[nombre, valor] : deTabla) {
        if (!BuscaAjuste(*comun, nombre) || comun->field(u"VALOR").asText().trimmed() == Int_Cad(valor))
            continue;
        if (!grupo)
            grupo.emplace(*comun);
        PonValor(*comun, valor);
    }
    TFicheroIni fichero = Fichero();
    const QList<TValorIni> anteriores =
        DelFichero(GetColorSalida(), IncrementoQueConsta(), GetSincronizarDia());
    fichero.Escribe(DelFichero(ajustes.ColorSalida, Cad_Int(ajustes.IncrementoMin), ajustes.SincronizarDia));
    if (!grupo)
        return;
    try {
        grupo->commit();
    } catch (...) {
        fichero.Escribe(anteriores);
        throw;
    }
}
