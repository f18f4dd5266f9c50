#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QDataStream>
#include <QtCore/QIODevice>

#include <chrono>

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

} // namespace simulacion
