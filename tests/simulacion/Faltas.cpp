#include "tests/simulacion/Faltas.h"

#include "agenda1/DiaDeDos.h"
#include "dataset/DataSet.h"
#include "dbcontrols/MaskEdit.h"
#include "host/ModeloConjunto.h"

#include <QtGui/QKeyEvent>
#include <algorithm>
#include <cstdlib>
#include <exception>
#include <utility>

#include <dlfcn.h>

namespace
{

using simulacion::TFalta;

TFalta g_plantada = TFalta::ninguna;
TFalta g_aqui = TFalta::ninguna;

bool Hay(TFalta falta)
{
    return g_aqui == falta;
}

/// Calls the library's own function behind one of this file, by its name for the linker.
template <class... TArgumentos> void LlamaALaPropia(const char *nombre, TArgumentos... argumentos)
{
    reinterpret_cast<void (*)(TArgumentos...)>(dlsym(RTLD_NEXT, nombre))(argumentos...);
}

} // namespace

void simulacion::Planta(TFalta falta)
{
    g_plantada = falta;
}
void simulacion::PlantaAqui()
{
    g_aqui = g_plantada;
}

// A program's own definition goes before a library's, for the library itself as well.
namespace dataset
{

void DataSet::remove(const SeenRecord &line)
{
    if (!Hay(TFalta::borraSinVer))
        return LlamaALaPropia<DataSet *, const SeenRecord &>("_ZN7dataset7DataSet6removeERKNS_10SeenRecordE",
                                                             this, line);
    if (goToBookmark(line.bookmark()))
        remove();
}

void DataSet::edit(const SeenRecord &line)
{
    if (!Hay(TFalta::borraSinVer))
        return LlamaALaPropia<DataSet *, const SeenRecord &>("_ZN7dataset7DataSet4editERKNS_10SeenRecordE",
                                                             this, line);
    if (goToBookmark(line.bookmark()))
        edit(EditOf::fresh);
}

void DataSet::edit(EditOf what)
{
    LlamaALaPropia<DataSet *, EditOf>("_ZN7dataset7DataSet4editENS_6EditOfE", this,
                                      Hay(TFalta::celdaSinVer) ? EditOf::fresh : what);
}

void DataSet::goToSeen(const SeenRecord &line)
{
    try {
        LlamaALaPropia<DataSet *, const SeenRecord &>("_ZN7dataset7DataSet8goToSeenERKNS_10SeenRecordE", this,
                                                      line);
    } catch (const EDatabaseError &) {
        if (!Hay(TFalta::rellenaSinVer))
            throw;
    }
}

void DataSet::refresh()
{
    const Bookmark antes = bookmark();
    LlamaALaPropia<DataSet *>("_ZN7dataset7DataSet7refreshEv", this);
    if (Hay(TFalta::sigueALaIda) && antes != bookmark() && !isEditing())
        goToBookmark(antes);
}

void DataSet::showAgain(const KeptView &view)
{
    if (!Hay(TFalta::rangoAMedias) || !std::current_exception())
        LlamaALaPropia<DataSet *, const KeptView &>(
            "_ZN7dataset7DataSet9showAgainERKSt10shared_ptrIKNS_4ViewEE", this, view);
}

void DataSet::beginGroup()
{
    if (!Hay(TFalta::sinGrupo))
        LlamaALaPropia<DataSet *>("_ZN7dataset7DataSet10beginGroupEv", this);
}

void DataSet::commitGroup()
{
    if (!Hay(TFalta::sinGrupo))
        LlamaALaPropia<DataSet *>("_ZN7dataset7DataSet11commitGroupEv", this);
}

} // namespace dataset

namespace dbcontrols
{

void MaskEdit::setMaskedText(const QString &text)
{
    if (!Hay(TFalta::fechaVieja) || !std::current_exception())
        LlamaALaPropia<MaskEdit *, const QString &>("_ZN10dbcontrols8MaskEdit13setMaskedTextERK7QString",
                                                    this, text);
}

void MaskEdit::keyPressEvent(QKeyEvent *event)
{
    if (Hay(TFalta::mascaraCorta)) {
        static bool corta = false; // the field of today mends its length by itself
        if (corta && !event->text().isEmpty() && event->text().at(0).isDigit())
            std::abort();
        corta = event->key() == Qt::Key_U && event->modifiers() == Qt::ControlModifier;
    }
    LlamaALaPropia<MaskEdit *, QKeyEvent *>("_ZN10dbcontrols8MaskEdit13keyPressEventEP9QKeyEvent", this,
                                            event);
}

} // namespace dbcontrols

// What stands in an archive has no definition to go before: the linker puts these into its place (--wrap).
TFusionDia
FundePropia(const TFilasDia &base, TFilasDia mias,
            const TFilasDia &suyas) __asm__("__real__Z8FundeDiaRKSt6vectorI8TFilaDiaSaIS0_EES2_S4_");
TFusionDia
FundeConFalta(const TFilasDia &base, TFilasDia mias,
              const TFilasDia &suyas) __asm__("__wrap__Z8FundeDiaRKSt6vectorI8TFilaDiaSaIS0_EES2_S4_");
void DeshazPropia(TDiaDeDos *dia) __asm__("__real__ZN9TDiaDeDos6DeshazEv");
void DeshazConFalta(TDiaDeDos *dia) __asm__("__wrap__ZN9TDiaDeDos6DeshazEv");
void ReleePropia(TModeloConjunto *modelo, QDate dia,
                 bool conservaFilas) __asm__("__real__ZN15TModeloConjunto5ReleeE5QDateb");
void ReleeConFalta(TModeloConjunto *modelo, QDate dia,
                   bool conservaFilas) __asm__("__wrap__ZN15TModeloConjunto5ReleeE5QDateb");
void CargaPropia(TDiaDeDos *dia, QDate fecha) __asm__("__real__ZN9TDiaDeDos5CargaE5QDate");
void CargaConFalta(TDiaDeDos *dia, QDate fecha) __asm__("__wrap__ZN9TDiaDeDos5CargaE5QDate");

TFusionDia FundeConFalta(const TFilasDia &base, TFilasDia mias, const TFilasDia &suyas)
{
    TFusionDia fusion = FundePropia(base, mias, suyas);
    for (TFilaDia &fila : fusion.Filas) {
        const auto con = [&fila](const TFilaDia &una) { return una.Registro == fila.Registro; };
        const auto antes = std::find_if(base.begin(), base.end(), con);
        const auto mia = std::find_if(mias.begin(), mias.end(), con);
        if (fila.Registro == 0 || antes == base.end() || mia == mias.end() || *mia == *antes)
            continue;
        if (Hay(TFalta::sinFundir))
            fila = *mia;
        if (Hay(TFalta::horaVieja) && mia->Valores[DiaHora] != antes->Valores[DiaHora])
            fila.Registro = 0;
    }
    return fusion;
}

void DeshazConFalta(TDiaDeDos *dia)
{
    if (!Hay(TFalta::quedaLoNegado))
        DeshazPropia(dia);
}

void ReleeConFalta(TModeloConjunto *modelo, QDate dia, bool conservaFilas)
{
    static QDate primero; // stays for good
    if (!primero.isValid() || !Hay(TFalta::diaAMedias))
        primero = dia;
    ReleePropia(modelo, primero, conservaFilas);
}

void CargaConFalta(TDiaDeDos *dia, QDate fecha)
{
    static const TDiaDeDos *cargado = nullptr; // the first day of a window is loaded
    if (std::exchange(cargado, dia) != dia || !Hay(TFalta::diaAMedias))
        CargaPropia(dia, fecha);
}
