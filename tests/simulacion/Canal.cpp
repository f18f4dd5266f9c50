#include "tests/simulacion/Canal.h"

#include <cerrno>

#include <poll.h>
#include <sys/socket.h>

namespace simulacion
{

bool TCanal::EscribeBytes(const QByteArray &bytes) const
{
    const auto cuantos = static_cast<std::size_t>(bytes.size());
    return ::send(m_descriptor, bytes.constData(), cuantos, MSG_NOSIGNAL) == bytes.size();
}

TCanal::TLectura TCanal::LeeBytes(QByteArray &bytes, std::chrono::milliseconds paciencia) const
{
    pollfd espera{m_descriptor, POLLIN, 0};
    int hay = 0;
    do
        hay = ::poll(&espera, 1, static_cast<int>(paciencia.count()));
    while (hay < 0 && errno == EINTR);
    if (hay == 0)
        return TLectura::tarde;
    const ssize_t cuantos = ::recv(m_descriptor, nullptr, 0, MSG_PEEK | MSG_TRUNC);
    if (cuantos <= 0)
        return TLectura::cerrado;
    bytes.resize(cuantos);
    return ::recv(m_descriptor, bytes.data(), static_cast<std::size_t>(cuantos), 0) == cuantos
               ? TLectura::leido
               : TLectura::cerrado;
}

} // namespace simulacion
