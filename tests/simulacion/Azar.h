#pragma once

#include "tests/simulacion/Vocabulario.h"

#include <initializer_list>

namespace simulacion
{

/// Chance that is the same on every machine.
class TAzar
{
public:
    explicit TAzar(quint64 semilla)
        : m_estado(semilla)
    {
    }
    /// 0 to limite - 1.
    int Hasta(int limite);
    bool UnaDe(int veces) { return Hasta(veces) == 0; }

private:
    quint64 Siguiente();
    quint64 m_estado;
};

/// Chooses what happens next: mostly what makes sense on the screens as they are.
class TGuion
{
public:
    TGuion(TCual cual, TAzar &azar)
        : m_cual(cual)
        , m_azar(azar)
    {
    }
    /// @param puestos  what each workstation said last. @param numero  of the step, for texts of its own.
    /// @param bloqueado  the other program keeps a lock.
    TPaso Siguiente(const QList<TRespuesta> &puestos, int numero, bool bloqueado);

private:
    int Sortea(std::initializer_list<int> queYCuanto);
    /// One of several; each of them is followed by how often.
    template <class T, class... TMas> T Elige(T uno, TMas... mas)
    {
        return static_cast<T>(Sortea({static_cast<int>(uno), static_cast<int>(mas)...}));
    }
    TPaso DelOtro(const QList<TRespuesta> &puestos, int numero, bool bloqueado);
    void EnVentana(TPaso &paso, const TPantalla &pantalla, int numero);
    void EnFila(TPaso &paso, qsizetype filas);
    void EnFicha(TPaso &paso, const TPantalla &pantalla, int numero);
    void EnConjunta(TPaso &paso, const TPantalla &pantalla, int numero);
    void EnUnica(TPaso &paso, const TPantalla &pantalla, int numero);
    void Percance(TPaso &paso);
    TCual m_cual;
    TAzar &m_azar;
};

} // namespace simulacion
