#pragma once

class QWidget;

/// The host's input helpers that touch controls.
class IRvarias
{
public:
    virtual ~IRvarias() = default;
    /// Whether a control is a push button; false for none.
    [[nodiscard]] virtual bool EsBoton(const QWidget *control) const = 0;
    /// Marks a control as focused / no longer focused.
    virtual void TomaFocoControl(QWidget &control) = 0;
    virtual void DejaFocoControl(QWidget &control) = 0;
};
