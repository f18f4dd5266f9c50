#pragma once

#include <QtCore/QObject>
#include <QtCore/QString>

#include <atomic>
#include <functional>
#include <thread>

/// What a work has come to.
struct TFinal {
    QString Mensaje;        ///< for the user
    bool Cancelado = false; ///< it ended because it was stopped
};

/// Runs something long beside the windows, one thing at a time; its news come as signals in the windows'
/// thread.
class TTrabajo : public QObject
{
    Q_OBJECT
public:
    /// Works, asks Sigue() now and then and gives news through the functions below.
    using TCuerpo = std::function<TFinal(TTrabajo &)>;

    TTrabajo() = default;
    /// Stops it and waits.
    ~TTrabajo() override;
    /// @param cuerpo  runs in another thread: it shares nothing with the windows.
    void Empieza(TCuerpo cuerpo);
    void Para() { m_parar = true; }
    [[nodiscard]] bool EnMarcha() const { return m_enMarcha; }

    // For the work itself.
    [[nodiscard]] bool Sigue() const { return !m_parar; }
    void Avanza(int porCiento, const QString &que) { emit avanza(porCiento, que); }
    /// From now on stopping it changes nothing.
    void YaNoSePara() { emit sinVuelta(); }
    /// @param lineas  below 0: not known.
    void Dice(int fila, const QString &estado, qint64 lineas) { emit dice(fila, estado, lineas); }

signals:
    void avanza(int porCiento, const QString &que);
    void dice(int fila, const QString &estado, qint64 lineas);
    void sinVuelta();
    void termina(const QString &mensaje, bool cancelado);

private:
    std::thread m_hilo;
    std::atomic<bool> m_parar = false;
    std::atomic<bool> m_enMarcha = false;
};
