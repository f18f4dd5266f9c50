#pragma once

#include "tests/simulacion/Vocabulario.h"

#include <QtCore/QDataStream>
#include <QtCore/QIODevice>

#include <chrono>

#include <sys/types.h>

namespace simulacion
{

/// One end of a socket between two processes; messages go whole. The descriptor is not owned.
class TCanal
{
public:
    static constexpr std::chrono::milliseconds Siempre{-1};
    explicit TCanal(int descriptor = -1)
        : m_descriptor(descriptor)
    {
    }
    [[nodiscard]] int Descriptor() const { return m_descriptor; }
    /// @return false when nobody listens any more.
    template <class T> bool Escribe(const T &mensaje) const
    {
        QByteArray bytes;
        QDataStream flujo(&bytes, QIODevice::WriteOnly);
        flujo << mensaje;
        return EscribeBytes(bytes);
    }
    enum class TLectura { leido, cerrado, tarde };
    template <class T> TLectura Lee(T &mensaje, std::chrono::milliseconds paciencia = Siempre) const
    {
        QByteArray bytes;
        const TLectura como = LeeBytes(bytes, paciencia);
        QDataStream flujo(bytes);
        if (como == TLectura::leido)
            flujo >> mensaje;
        return como;
    }

private:
    [[nodiscard]] bool EscribeBytes(const QByteArray &bytes) const;
    [[nodiscard]] TLectura LeeBytes(QByteArray &bytes, std::chrono::milliseconds paciencia) const;
    int m_descriptor;
};

/// A workstation as the scheduler has it: a child process that stands still between two steps.
class TProceso
{
public:
    TProceso(TCual cual, QString carpeta);
    ~TProceso();
    TProceso(const TProceso &) = delete;
    TProceso &operator=(const TProceso &) = delete;

    /// Starts the program anew, on a day; the first answer says how it came up.
    void Arranca(int dia);
    /// Does a step, and waits until the workstation stands still again.
    const TRespuesta &Da(const TPaso &paso);
    /// The process goes as by a power cut.
    void Mata();
    [[nodiscard]] const TRespuesta &Ultima() const { return m_ultima; }
    /// How the process ended that was not to end; empty when it lives or was killed.
    [[nodiscard]] const QString &Averia() const { return m_averia; }

private:
    void Recibe(bool puedeMorir);
    TCual m_cual;
    QString m_carpeta;
    TCanal m_canal;
    pid_t m_pid = 0;
    TRespuesta m_ultima;
    QString m_averia;
};

} // namespace simulacion
