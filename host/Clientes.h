#pragma once

#include "agenda/host/Clacliraiz.h"
#include "dataset/DbfTable.h"

struct TColumnaLista;

/// The columns of a list of clients.
[[nodiscard]] QList<TColumnaLista> ColumnasClientes();

/// The office's client list, over CLIENTES.DBF.
///
/// While a name is being typed the first client that begins so is found and the edit completed, what was
/// added being selected. A deleted completion stays deleted: from then on only a name typed whole counts. On
/// leaving the edit, too, only a whole name counts, and one whose client the edit's Tag already tells keeps
/// it. So a party that is no client is never taken for one, nor a client for his namesake. A list that cannot
/// be read finds nobody.
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
    /// Opens the list, or takes in what others have written.
    void Abre();
    /// Goes to the first client whose name begins with a text. @return whether there is one.
    bool BuscaComienzo(const QString &texto);
    /// Goes to a client of that name, the one of the given code if it is his.
    bool BuscaNombre(const QString &nombre, qint64 codigoConocido);
    bool BuscaCodigo(qint64 codigo);
    bool Lista(const QString &titulo, const QString &inicial, bool elegir);
    void TomaActual(dataset::DataSet &tabla);
    void Pon(QLineEdit &edicion, bool encontrado);

    dataset::DbfTable m_tabla;     ///< by name
    dataset::DbfTable m_porCodigo; ///< a second cursor, so that a card does not move the list
    qint64 m_codigo = 0;
    QString m_nombre;
};
