#include "agenda/ClaseConfAgendaN.h"

#include "agenda/FicheroIni.h"
#include "agenda/Rnumcad.h"
#include "agenda/Ruttb.h"
#include "agenda/host/Servicios.h"

#include <algorithm>
#include <limits>

std::unique_ptr<TClassConfAgendaN> goConfAgendaN;

namespace
{

constexpr TColor ColorSalidaPorDefecto = 0x00C6C6FF;

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
    try {
        using Limites = std::numeric_limits<int>;
        return static_cast<int>(
            std::clamp<qint64>(comun->field(u"VALOR").asInteger(), Limites::min(), Limites::max()));
    } catch (const dataset::EConvertError &error) {
        // Raised, it would shut the user out of the dialog in which the value can be put right.
        qWarning("The setting %s is not a number: %s", qUtf8Printable(nombre), error.what());
        return porDefecto;
    }
}

void EscribeEnComun(const QString &nombre, int valor)
{
    const auto comun = AbreComun();
    if (!BuscaAjuste(*comun, nombre))
        return;
    comun->edit(dataset::EditOf::fresh); // nobody looks at it
    comun->field(u"VALOR").setInteger(valor);
    TBPost(*comun);
}

constexpr int UltimaHoraDeLista = 23; // of the dialog's lists, which begin with hour 1

int IndiceDeHora(int hora)
{
    return hora >= 1 && hora <= UltimaHoraDeLista ? hora - 1 : -1;
}

TFicheroIni Fichero()
{
    return TFicheroIni(Servicios().Config->GetPath() + QStringLiteral("CONFIG/VARIOS.INI"));
}

} // namespace

int TClassConfAgendaN::GetHoraInicio() const
{
    return LeeDeComun(HoraInicio, 9);
}
void TClassConfAgendaN::SetHoraInicio(int hora)
{
    EscribeEnComun(HoraInicio, hora);
}
int TClassConfAgendaN::GetHoraFin() const
{
    return LeeDeComun(HoraFin, 20);
}
void TClassConfAgendaN::SetHoraFin(int hora)
{
    EscribeEnComun(HoraFin, hora);
}
int TClassConfAgendaN::GetIntervalo() const
{
    return LeeDeComun(Intervalo, 30);
}
void TClassConfAgendaN::SetIntervalo(int minutos)
{
    EscribeEnComun(Intervalo, minutos);
}

int TClassConfAgendaN::GetIncrementoMin() const
{
    return Fichero().LeeEntero(SeccionIncremento, ClaveSalida, 1);
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
    ajustes.IndiceHoraComienzo = IndiceDeHora(GetHoraInicio());
    ajustes.IndiceHoraFin = IndiceDeHora(GetHoraFin());
    ajustes.IntervaloHoras = Int_Cad(GetIntervalo());
    ajustes.IncrementoMin = Int_Cad(GetIncrementoMin());
    ajustes.SincronizarDia = GetSincronizarDia();
    ajustes.SincronizarVisible =
        !propietario || qstrcmp(propietario->metaObject()->className(), "TFAgendaZen") != 0;
    if (!m_vista->EditaAjustes(ajustes, propietario))
        return;
    SetColorSalida(ajustes.ColorSalida);
    SetHoraInicio(ajustes.IndiceHoraComienzo + 1);
    SetHoraFin(ajustes.IndiceHoraFin + 1);
    SetIntervalo(Cad_Int(ajustes.IntervaloHoras));
    SetIncrementoMin(Cad_Int(ajustes.IncrementoMin));
    SetSincronizarDia(ajustes.SincronizarDia);
}
