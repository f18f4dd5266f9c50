#include "agendan/VentanasAgendaN.h"

#include "agendan/FichaAgendaN.h"
#include "agendan/FichaCita.h"

std::unique_ptr<IFichaAgendaN> TVistasAgendaN::CreaFichaAgendaN(QObject *propietario)
{
    return std::make_unique<TFFichaAgendaN>(qobject_cast<QWidget *>(propietario));
}

void TVistasAgendaN::MuestraFichaCitas(TClassAgendaN &motor, TOperacion operacion, QObject *propietario)
{
    TFFichaCitas ficha(qobject_cast<QWidget *>(propietario));
    ficha.PonMotor(motor);
    ficha.PonOperacion(operacion);
    ficha.ShowModal();
}
