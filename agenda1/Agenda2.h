#pragma once

#include "agenda1/VentanaAgenda.h"

#include <array>

class QKeyEvent;

/// The day of two notaries side by side, over the engine's table in memory. What is accepted is written line
/// by line; deleted lines reach the agenda with the return command, which writes the day whole.
class TFAgenda2 : public TVentanaAgenda
{
    Q_OBJECT
public:
    /// @param motor  not owned; outlives the window.
    explicit TFAgenda2(TAgenda &motor);
    ~TFAgenda2() override;

protected:
    void FormResize() override;
    void Recarga() override;
    void TrasBorrar() override;

private:
    static constexpr int NumNotarios = 2;

    void CreaMarcas();
    void CreaDelDia();
    void PreparaRejilla();
    void AcAceptarExecute();
    void Marca(bool (TAgenda::*operacion)(int), int notario);
    void DBGAgenda2ColEnter(const QModelIndex &celda);
    void DBGAgenda2KeyDown(QKeyEvent *tecla);
    void VeA(int linea, int columna);
    void AtaPanel(int notario);
    /// 1 or 2, by the selected column; 0 in the column of the hours.
    [[nodiscard]] int Notario() const;
    [[nodiscard]] QStringList CamposDe(int notario) const;
    void CopiarExecute();
    /// A notary's name for a caption.
    [[nodiscard]] QString NombreEnRotulo(int notario) const;

    QAction *AcAceptar = nullptr;
    std::array<QAction *, NumNotarios> AcAusenteNotario{};
    std::array<QAction *, NumNotarios> AcSalidaNotario{};
    QMenu *pmAUSENCIA = nullptr;
    QMenu *pmSALIDA = nullptr;
    QStringList m_copia;
};
