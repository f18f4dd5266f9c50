#pragma once

#include "agenda/host/Clacliraiz.h"
#include "dataset/DbfTable.h"

class QWidget;

/// The office's client list, over CLIENTES.DBF.
class TClientesOficina : public TClientesRaiz
{
public:
    /// @param aliases  not owned; outlives this. The table is opened when it is first needed.
    TClientesOficina(const dataset::Aliases &aliases, const QString &alias);

    void MuestraFicha(qint64 codigo) override;
    void Explora(const QString &titulo) override;
    bool Elige(const QString &titulo, const QString &textoInicial) override;
    [[nodiscard]] qint64 Codigo() const override { return m_codigo; }
    [[nodiscard]] QString Nombre() const override { return m_nombre; }
    void KeyUpBusqueda(QLineEdit &edicion, int tecla) override;
    void ExitBusqueda(QLineEdit &edicion, bool completar) override;
    void FinBusqueda() override;

private:
    void Abre();
    /// Goes to the first client whose name begins with a text. @return whether there is one.
    bool BuscaComienzo(const QString &texto);
    bool Lista(const QString &titulo, const QString &inicial, bool elegir);
    void TomaActual();

    dataset::DbfTable m_tabla;
    qint64 m_codigo = 0;
    QString m_nombre;
};
