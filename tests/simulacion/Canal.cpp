#include "tests/simulacion/Canal.h"

#include <cerrno>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace simulacion
{

namespace
{

bool LeeTodo(int descriptor, char *bytes, qsizetype cuantos)
{
    while (cuantos > 0) {
        const ssize_t leidos = ::recv(descriptor, bytes, static_cast<std::size_t>(cuantos), 0);
        if (leidos < 0 && errno == EINTR)
            continue;
        if (leidos <= 0)
            return false;
        bytes += leidos;
        cuantos -= leidos;
    }
    return true;
}

} // namespace

bool TCanal::EscribeBytes(const QByteArray &bytes) const
{
    const auto cuantos = static_cast<quint32>(bytes.size());
    QByteArray todo(reinterpret_cast<const char *>(&cuantos), sizeof cuantos);
    todo += bytes;
    const char *resto = todo.constData();
    qsizetype falta = todo.size();
    while (falta > 0) {
        const ssize_t escritos = ::send(m_descriptor, resto, static_cast<std::size_t>(falta), MSG_NOSIGNAL);
        if (escritos < 0 && errno == EINTR)
            continue;
        if (escritos <= 0)
            return false;
        resto += escritos;
        falta -= escritos;
    }
    return true;
}

TCanal::TLectura TCanal::LeeBytes(QByteArray &bytes, std::optional<std::chrono::milliseconds> paciencia) const
{
    if (paciencia) {
        pollfd espera{m_descriptor, POLLIN, 0};
        if (::poll(&espera, 1, static_cast<int>(paciencia->count())) == 0)
            return TLectura::tarde;
    }
    quint32 cuantos = 0;
    if (!LeeTodo(m_descriptor, reinterpret_cast<char *>(&cuantos), sizeof cuantos))
        return TLectura::cerrado;
    bytes.resize(static_cast<qsizetype>(cuantos));
    return LeeTodo(m_descriptor, bytes.data(), bytes.size()) ? TLectura::leido : TLectura::cerrado;
}

} // namespace simulacion
