#pragma once

#include <QtWidgets/QTabWidget>

/// The tab control of the agenda: one page per notary, its tabs drawn by the agenda itself.
class TPestanasAgendaN : public QTabWidget
{
    Q_OBJECT
public:
    explicit TPestanasAgendaN(QWidget *padre = nullptr);
    ~TPestanasAgendaN() override;

    /// The caption as it is read; a "&" in a name is part of the name.
    void PonRotulo(int pagina, const QString &rotulo);
    [[nodiscard]] QString Rotulo(int pagina) const;
};
