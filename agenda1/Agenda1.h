#pragma once

#include "agenda1/VentanaAgenda.h"

class QCheckBox;

/// The day of one notary, over the engine's table.
class TFAgenda : public TVentanaAgenda
{
    Q_OBJECT
public:
    /// @param motor  not owned; outlives the window.
    explicit TFAgenda(TAgenda &motor);
    ~TFAgenda() override;

protected:
    void showEvent(QShowEvent *evento) override;
    void FormResize() override;
    void Recarga() override;

private:
    void CreaSalida();
    void DBESalidaChange();
    void CopiarExecute();

    dbcontrols::DbEdit *DBESalida = nullptr; ///< never seen: carries SALIDA to and from the check box
    QCheckBox *DBCBSalida = nullptr;
    QStringList m_copia;
};
