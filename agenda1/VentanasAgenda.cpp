#include "agenda1/VentanasAgenda.h"

#include "agenda1/Agenda1.h"
#include "agenda1/Agenda2.h"
#include "agenda1/ConfAgenda.h"

#include <QtWidgets/QApplication>

void TVistasAgenda::MuestraAgenda(TAgenda &motor)
{
    TFAgenda(motor).ShowModal();
}

void TVistasAgenda::MuestraAgenda2(TAgenda &motor)
{
    TFAgenda2(motor).ShowModal();
}

void TVistasAgenda::MuestraConfAgenda(TAgenda &motor, QObject *propietario)
{
    auto *const ventana = qobject_cast<QWidget *>(propietario);
    TFConfAgenda(ventana ? ventana : QApplication::activeWindow(), motor).exec();
}
