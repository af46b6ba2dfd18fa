#include "tests/security/SecretSession.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QStandardPaths>
#include <QThread>

#include <csignal>
#include <sys/prctl.h>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

const QString serviceName = u"org.freedesktop.secrets"_s;
const QString servicePath = u"/org/freedesktop/secrets"_s;
const QString serviceInterface = u"org.freedesktop.Secret.Service"_s;

// A client of the daemon that knows nothing of the store under test.
class Client
{
public:
    explicit Client(const QString &address) : m_bus(QDBusConnection::connectToBus(address, u"client"_s))
    {
        qDBusRegisterMetaType<QMap<QString, QString>>();
    }
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;
    ~Client() { QDBusConnection::disconnectFromBus(u"client"_s); }

    QDBusMessage call(const QString &path, const QString &interface, const QString &method, const QVariantList &with)
    {
        auto message = QDBusMessage::createMethodCall(serviceName, path, interface, method);
        message.setArguments(with);
        return m_bus.call(message, QDBus::Block, 5000);
    }

    bool hasDaemon()
    {
        const auto *bus = m_bus.interface();
        return bus && bus->isServiceRegistered(serviceName);
    }

    QDBusObjectPath plainSession()
    {
        const auto reply = call(servicePath, serviceInterface, u"OpenSession"_s,
                                {u"plain"_s, QVariant::fromValue(QDBusVariant(QString(u""_s)))});
        return reply.arguments().value(1).value<QDBusObjectPath>();
    }

    QString itemPath(const char *account)
    {
        const QMap<QString, QString> attributes{{u"account"_s, QString::fromUtf8(account)}};
        const auto reply = call(servicePath, serviceInterface, u"SearchItems"_s, {QVariant::fromValue(attributes)});
        const auto paths = qdbus_cast<QList<QDBusObjectPath>>(reply.arguments().value(0));
        return paths.isEmpty() ? QString() : paths.front().path();
    }

private:
    QDBusConnection m_bus;
};

} // namespace

bool SecretSession::canRunDaemon()
{
    return !QStandardPaths::findExecutable(u"gnome-keyring-daemon"_s).isEmpty() &&
           !QStandardPaths::findExecutable(u"dbus-daemon"_s).isEmpty();
}

SecretSession::SecretSession()
{
    startBus();
}

SecretSession::~SecretSession()
{
    stopDaemon();
}

bool SecretSession::startBus()
{
    m_bus = std::make_unique<PrivateBus>("session");
    qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus->address().toUtf8());
    return m_bus->isRunning();
}

void SecretSession::stopBus()
{
    m_bus->stop();
}

bool SecretSession::startDaemon()
{
    m_daemon = std::make_unique<QProcess>();
    auto environment = QProcessEnvironment::systemEnvironment();
    for (const auto &name : {u"HOME"_s, u"XDG_DATA_HOME"_s, u"XDG_RUNTIME_DIR"_s})
        environment.insert(name, m_folder.path());
    m_daemon->setProcessEnvironment(environment);
    m_daemon->setStandardOutputFile(QProcess::nullDevice());
    m_daemon->setStandardErrorFile(QProcess::nullDevice());
    m_daemon->setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
    m_daemon->start(u"gnome-keyring-daemon"_s, {u"--foreground"_s, u"--unlock"_s, u"--components=secrets"_s,
                                                u"--control-directory="_s + m_folder.filePath(u"control"_s)});
    m_daemon->write("test");
    m_daemon->closeWriteChannel();
    m_daemon->waitForBytesWritten();
    Client client(m_bus->address());
    QElapsedTimer clock;
    clock.start();
    while (!client.hasDaemon() && clock.elapsed() < 5000)
        QThread::msleep(5);
    return client.hasDaemon();
}

void SecretSession::stopDaemon()
{
    if (!m_daemon)
        return;
    m_daemon->kill();
    m_daemon->waitForFinished();
    m_daemon.reset();
}

void SecretSession::freezeDaemon()
{
    ::kill(static_cast<pid_t>(m_daemon->processId()), SIGSTOP);
}

void SecretSession::thawDaemon()
{
    ::kill(static_cast<pid_t>(m_daemon->processId()), SIGCONT);
}

bool SecretSession::lock()
{
    const QList<QDBusObjectPath> paths{QDBusObjectPath(u"/org/freedesktop/secrets/aliases/default"_s)};
    const auto reply =
        Client(m_bus->address()).call(servicePath, serviceInterface, u"Lock"_s, {QVariant::fromValue(paths)});
    return reply.type() == QDBusMessage::ReplyMessage;
}

QByteArray SecretSession::secretOf(const char *account) const
{
    Client client(m_bus->address());
    const auto reply = client.call(client.itemPath(account), u"org.freedesktop.Secret.Item"_s, u"GetSecret"_s,
                                   {QVariant::fromValue(client.plainSession())});
    const auto secret = reply.arguments().value(0).value<QDBusArgument>();
    QDBusObjectPath session;
    QByteArray parameters;
    QByteArray value;
    secret.beginStructure();
    secret >> session >> parameters >> value;
    secret.endStructure();
    return value;
}

bool SecretSession::setSecretOf(const char *account, const QByteArray &secret) const
{
    Client client(m_bus->address());
    QDBusArgument wire;
    wire.beginStructure();
    wire << client.plainSession() << QByteArray() << secret << u"text/plain"_s;
    wire.endStructure();
    const auto reply = client.call(client.itemPath(account), u"org.freedesktop.Secret.Item"_s, u"SetSecret"_s,
                                   {QVariant::fromValue(wire)});
    return reply.type() == QDBusMessage::ReplyMessage;
}

bool SecretSession::filesHold(const QByteArray &bytes) const
{
    QDirIterator files(m_folder.path(), QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        if (file.open(QIODevice::ReadOnly) && file.readAll().contains(bytes))
            return true;
    }
    return false;
}

} // namespace kelpay
