#pragma once

#include <QtCore/QDate>
#include <QtCore/QStringList>

/// What the demo office is to hold.
struct TDemo {
    QDate Hoy;
    quint32 Semilla = 20261121;                  ///< the same seed and day give the same office
    int Notarios = 3;                            ///< without names
    QStringList NombresNotarios = QStringList(); ///< none: invented
    QStringList Oficiales = QStringList();       ///< none: invented
    int HoraInicio = 9;
    int HoraFin = 20;
    int Intervalo = 30; ///< minutes
    int MesesAntes = 3;
    int MesesDespues = 2;
    bool Convenio = false;   ///< the single-table agenda is of two notaries
    int AnyosDelPrimero = 0; ///< when above 0, the first notary's agenda reaches back so many years
};

/// Makes an office of invented people in a folder: configuration, shared tables and one agenda per notary,
/// through the project's own table code. @throws dataset::EDatabaseError, also when the folder holds an
/// office already.
void CreaDatosDemo(const QString &carpeta, const TDemo &demo);
