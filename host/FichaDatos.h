#pragma once

#include "dataset/DataSet.h"
#include "dbcontrols/DataSource.h"

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtWidgets/QDialog>

#include <functional>
#include <optional>

namespace dbcontrols
{
class DbEdit;
}

/// One line of a card.
struct TCampoFicha {
    QString Rotulo;
    QString Campo;
    int Letras = 40; ///< width in characters
    bool SoloLectura = false;
};

/// What keeps a card from being accepted.
struct TDefecto {
    QString Campo; ///< where the focus goes
    QString Aviso; ///< for the user; empty when he has been asked already
};

/// The card of one line of a table that is being added or changed; accepting posts it. Fields that the table
/// lacks are left out.
class TFichaDatos : public QDialog
{
    Q_OBJECT
public:
    /// Looks at what was typed, may ask the user, and says what is wrong with it.
    using TRevisa = std::function<std::optional<TDefecto>()>;

    /// @param tabla  in the edit or insert state; not owned, outlives this. Closing without accepting cancels
    /// the change.
    TFichaDatos(const QString &titulo, dataset::DataSet &tabla, const QList<TCampoFicha> &campos,
                TRevisa revisa, QWidget *padre);
    ~TFichaDatos() override;
    /// Stays open, with what was typed, when something is wrong or the line cannot be written.
    void accept() override;
    /// Asks first when something has been typed.
    void reject() override;

private:
    void CreaCampos(const QList<TCampoFicha> &campos);
    void Senala(const QString &campo);

    dataset::DataSet &m_tabla;
    TRevisa m_revisa;
    dbcontrols::DataSource m_fuente;
    QList<dbcontrols::DbEdit *> m_ediciones;
};
