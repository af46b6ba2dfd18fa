#include "BusGreeting.h"

#include <QByteArray>
#include <QDeadlineTimer>
#include <QList>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace kelpay {

namespace {

/// The socket's name as the kernel has it: an abstract one begins with a zero byte. Empty for another transport.
QByteArray socketName(const QString &address)
{
    for (const QByteArray &place : address.toUtf8().split(';')) {
        if (!place.startsWith("unix:"))
            continue;
        for (const QByteArray &entry : place.sliced(5).split(',')) {
            QByteArray value = QByteArray::fromPercentEncoding(entry.sliced(entry.indexOf('=') + 1));
            if (entry.startsWith("path="))
                return value;
            if (entry.startsWith("abstract="))
                return '\0' + value;
        }
    }
    return {};
}

class Socket
{
public:
    Socket() : m_file(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {}
    ~Socket()
    {
        if (m_file >= 0)
            ::close(m_file);
    }
    Q_DISABLE_COPY_MOVE(Socket)

    /// A local socket connects at once or not at all.
    bool connectTo(const QByteArray &name)
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        if (name.isEmpty() || static_cast<std::size_t>(name.size()) >= sizeof(address.sun_path))
            return false;
        std::memcpy(address.sun_path, name.constData(), static_cast<std::size_t>(name.size()));
        const auto length = offsetof(sockaddr_un, sun_path) + static_cast<std::size_t>(name.size());
        return ::connect(m_file, reinterpret_cast<const sockaddr *>(&address), static_cast<socklen_t>(length)) == 0;
    }
    bool send(const QByteArray &text)
    {
        return ::send(m_file, text.constData(), static_cast<std::size_t>(text.size()), MSG_NOSIGNAL) == text.size();
    }
    /// The first bytes that come before the deadline; "" for none.
    QByteArray receive(QDeadlineTimer deadline)
    {
        pollfd waiting{m_file, POLLIN, 0};
        while (::poll(&waiting, 1, static_cast<int>(deadline.remainingTime())) < 0 && errno == EINTR) {
        }
        char bytes[16];
        const ssize_t count = ::recv(m_file, bytes, sizeof bytes, 0);
        return count > 0 ? QByteArray(bytes, count) : QByteArray();
    }

private:
    int m_file;
};

} // namespace

bool busGreets(const QString &address, std::chrono::milliseconds limit)
{
    Socket bus;
    const QByteArray greeting = '\0' + QByteArray("AUTH EXTERNAL ") + QByteArray::number(::geteuid()).toHex() + "\r\n";
    return bus.connectTo(socketName(address)) && bus.send(greeting) &&
           bus.receive(QDeadlineTimer(limit)).startsWith("OK ");
}

} // namespace kelpay
