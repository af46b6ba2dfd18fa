#include "tests/security/SecretSession.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusReply>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QStandardPaths>
#include <QThread>

#include <csignal>
#include <sys/prctl.h>

namespace kelpay {

using namespace Qt::StringLiterals;

struct DBusSecret
{
    QDBusObjectPath session;
    QByteArray parameters;
    QByteArray value;
    QString contentType;
};

static QDBusArgument &operator<<(QDBusArgument &argument, const DBusSecret &secret)
{
    argument.beginStructure();
    argument << secret.session << secret.parameters << secret.value << secret.contentType;
    argument.endStructure();
    return argument;
}

static const QDBusArgument &operator>>(const QDBusArgument &argument, DBusSecret &secret)
{
    argument.beginStructure();
    argument >> secret.session >> secret.parameters >> secret.value >> secret.contentType;
    argument.endStructure();
    return argument;
}

} // namespace kelpay

Q_DECLARE_METATYPE(kelpay::DBusSecret)

namespace kelpay {

namespace {

const QString serviceName = u"org.freedesktop.secrets"_s;
const QString servicePath = u"/org/freedesktop/secrets"_s;
const QString serviceInterface = u"org.freedesktop.Secret.Service"_s;

template <typename Condition> bool waitFor(Condition condition)
{
    QElapsedTimer clock;
    clock.start();
    while (!condition()) {
        if (clock.elapsed() > 5000)
            return false;
        QThread::msleep(5);
    }
    return true;
}

// A client of the daemon that knows nothing of the store under test.
class Client
{
public:
    explicit Client(const QString &address) : m_bus(QDBusConnection::connectToBus(address, u"client"_s))
    {
        qDBusRegisterMetaType<DBusSecret>();
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
    stopBus();
}

QString SecretSession::address() const
{
    return u"unix:path="_s + m_folder.filePath(u"bus"_s);
}

std::unique_ptr<QProcess> SecretSession::start(const QString &program, const QStringList &arguments)
{
    auto process = std::make_unique<QProcess>();
    auto environment = QProcessEnvironment::systemEnvironment();
    for (const auto &name : {u"HOME"_s, u"XDG_DATA_HOME"_s, u"XDG_RUNTIME_DIR"_s})
        environment.insert(name, m_folder.path());
    process->setProcessEnvironment(environment);
    process->setStandardOutputFile(QProcess::nullDevice());
    process->setStandardErrorFile(QProcess::nullDevice());
    process->setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
    process->start(program, arguments);
    return process->waitForStarted() ? std::move(process) : nullptr;
}

bool SecretSession::startBus()
{
    QFile config(m_folder.filePath(u"bus.conf"_s));
    if (!config.open(QIODevice::WriteOnly))
        return false;
    config.write("<busconfig><type>session</type><listen>" + address().toUtf8() +
                 "</listen><auth>EXTERNAL</auth>"
                 "<policy context=\"default\"><allow send_destination=\"*\"/><allow receive_sender=\"*\"/><allow "
                 "own=\"*\"/></policy></busconfig>");
    config.close();
    qputenv("DBUS_SESSION_BUS_ADDRESS", address().toUtf8());
    m_bus = start(u"dbus-daemon"_s, {u"--nofork"_s, u"--config-file="_s + config.fileName()});
    return m_bus && waitFor([this] { return QFile::exists(m_folder.filePath(u"bus"_s)); });
}

void SecretSession::stopBus()
{
    if (m_bus) {
        m_bus->kill();
        m_bus->waitForFinished();
    }
    m_bus.reset();
    QFile::remove(m_folder.filePath(u"bus"_s));
}

bool SecretSession::startDaemon()
{
    m_daemon = start(u"gnome-keyring-daemon"_s, {u"--foreground"_s, u"--unlock"_s, u"--components=secrets"_s,
                                                 u"--control-directory="_s + m_folder.filePath(u"control"_s)});
    if (!m_daemon)
        return false;
    m_daemon->write("test");
    m_daemon->closeWriteChannel();
    m_daemon->waitForBytesWritten();
    Client client(address());
    return waitFor([&] { return client.hasDaemon(); });
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
    const auto reply = Client(address()).call(servicePath, serviceInterface, u"Lock"_s, {QVariant::fromValue(paths)});
    return reply.type() == QDBusMessage::ReplyMessage;
}

QByteArray SecretSession::secretOf(const char *account) const
{
    Client client(address());
    const auto reply = client.call(client.itemPath(account), u"org.freedesktop.Secret.Item"_s, u"GetSecret"_s,
                                   {QVariant::fromValue(client.plainSession())});
    return qdbus_cast<DBusSecret>(reply.arguments().value(0)).value;
}

bool SecretSession::setSecretOf(const char *account, const QByteArray &secret) const
{
    Client client(address());
    const DBusSecret wire{client.plainSession(), {}, secret, u"text/plain"_s};
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
