#include "tests/simulacion/Proceso.h"

#include "tests/simulacion/Puesto.h"

#include <cerrno>
#include <csignal>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace simulacion
{

namespace
{

/// A step takes milliseconds; who needs so long does not come back.
constexpr std::chrono::seconds Plazo{20};

/// The first descriptor that is not the toolkit's own: what is open from there on belongs to the scheduler.
int PrimerDescriptor()
{
    static const int primero = [] {
        const int libre = ::fcntl(0, F_DUPFD, 3);
        ::close(libre);
        return libre;
    }();
    return primero;
}

} // namespace

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

TProceso::TProceso(TCual cual, QString carpeta)
    : m_cual(cual)
    , m_carpeta(std::move(carpeta))
{
    static_cast<void>(PrimerDescriptor());
    m_ultima.Estado = TEstado::muerto;
}

TProceso::~TProceso()
{
    Mata();
}

void TProceso::Arranca(int dia)
{
    Mata();
    m_averia.clear();
    int par[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, par) != 0)
        throw std::system_error(errno, std::generic_category(), "socketpair");
    m_pid = ::fork();
    if (m_pid < 0)
        throw std::system_error(errno, std::generic_category(), "fork");
    if (m_pid == 0) {
        // Locks and presence belong to what is open: nothing of the scheduler or of the others may stay open.
        const int mio = PrimerDescriptor();
        if (par[1] != mio)
            ::dup2(par[1], mio);
        ::close_range(static_cast<unsigned>(mio + 1), ~0U, 0);
        EjecutaPuesto(m_cual, m_carpeta, mio, dia);
    }
    ::close(par[1]);
    m_canal = TCanal(par[0]);
    Recibe(false);
}

const TRespuesta &TProceso::Da(const TPaso &paso)
{
    if (m_pid == 0)
        return m_ultima;
    m_canal.Escribe(paso);
    Recibe(paso.Percance == TPercance::muere);
    return m_ultima;
}

void TProceso::Recibe(bool puedeMorir)
{
    const TCanal::TLectura como = m_canal.Lee(m_ultima, Plazo);
    if (como == TCanal::TLectura::leido)
        return;
    if (como == TCanal::TLectura::tarde)
        ::kill(m_pid, SIGKILL);
    int fin = 0;
    ::waitpid(m_pid, &fin, 0);
    m_pid = 0;
    if (como == TCanal::TLectura::tarde)
        m_averia = QStringLiteral("no ha vuelto en %1 s").arg(Plazo.count());
    else if (!puedeMorir || !WIFSIGNALED(fin) || WTERMSIG(fin) != SIGKILL)
        m_averia = WIFSIGNALED(fin) ? QStringLiteral("murió por la señal %1").arg(WTERMSIG(fin))
                                    : QStringLiteral("terminó con %1").arg(WEXITSTATUS(fin));
    Mata();
}

void TProceso::Mata()
{
    if (m_pid != 0) {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
        m_pid = 0;
    }
    if (m_canal.Descriptor() >= 0)
        ::close(m_canal.Descriptor());
    m_canal = TCanal();
    m_ultima = {};
    m_ultima.Estado = TEstado::muerto;
}

} // namespace simulacion
