#pragma once

#include <QtCore/QObject>
#include <QtCore/QString>

#include <functional>
#include <vector>

class QWidget;
struct TOficina;

/// Works the agenda as a clerk would and draws each window into a picture, for looking at where there is no
/// display.
class TCapturas : public QObject
{
    Q_OBJECT
public:
    /// @param carpeta  where the pictures go; it is made when missing.
    /// @param oficina  whose dialogs are drawn as well; not owned, outlives this.
    TCapturas(const QString &carpeta, TOficina &oficina);

    /// Begins; to be called before the agenda is opened. The agenda is closed at the end.
    void Empieza();
    /// Draws a window now. @return false when the picture could not be written.
    bool Dibuja(QWidget &ventana, const QString &nombre);
    /// Counts something made by a step.
    void Anota(bool bien);
    [[nodiscard]] bool Completas() const { return !m_fallo && m_hechas > 0; }

private:
    using TPaso = std::function<void()>;

    void Sigue();
    [[nodiscard]] std::vector<TPaso> PasosDeLaAgenda();
    [[nodiscard]] std::vector<TPaso> PasosDeLosDialogos(TOficina &oficina);
    [[nodiscard]] std::vector<TPaso> PasosDeLaUnica(TOficina &oficina);
    [[nodiscard]] std::vector<TPaso> PasosDeLaConjunta(TOficina &oficina);
    [[nodiscard]] std::vector<TPaso> PasosDeLosDatos(TOficina &oficina);
    [[nodiscard]] TPaso CierraDialogo() const;
    /// Opens something modal; the next steps go on from within.
    [[nodiscard]] TPaso Abre(const TPaso &orden);
    /// Clicks the button of that caption in the window in front.
    [[nodiscard]] TPaso Pulsa(const QString &titulo);
    [[nodiscard]] TPaso Retrata(const QString &nombre);
    /// Puts the step off for as long as a button of the window in front is not enabled.
    void EsperaA(const char *boton);
    [[nodiscard]] QWidget *Delante() const;

    QString m_carpeta;
    std::vector<TPaso> m_pasos;
    std::size_t m_siguiente = 0;
    int m_hechas = 0;
    bool m_fallo = false;
};
