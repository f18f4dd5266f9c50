#pragma once

#include <QtCore/QString>

class QLineEdit;

/// The host's client list, lent to the engine.
class TClientesRaiz
{
public:
    virtual ~TClientesRaiz() = default;
    /// Shows the card of a client and returns when it is closed.
    virtual void MuestraFicha(qint64 codigo) = 0;
    /// Opens the list for browsing.
    virtual void Explora(const QString &titulo) = 0;
    /// Lets the user choose a client; Codigo() and Nombre() then tell which. @return true when one was
    /// chosen.
    virtual bool Elige(const QString &titulo, const QString &textoInicial) = 0;
    [[nodiscard]] virtual qint64 Codigo() const = 0;
    [[nodiscard]] virtual QString Nombre() const = 0;
    /// Incremental search while the user types in `edicion`; its property "Tag" receives the code found, 0
    /// for none.
    virtual void KeyUpBusqueda(QLineEdit &edicion, int tecla) = 0;
    virtual void ExitBusqueda(QLineEdit &edicion, bool completar) = 0;
    /// The lookup is over.
    virtual void FinBusqueda() = 0;
};
