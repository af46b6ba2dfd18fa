#include <KelPay/Testing.h>

#include <QCoreApplication>
#include <QFile>
#include <QJsonDocument>
#include <QMap>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

namespace kelpay::testing {

using namespace Qt::StringLiterals;

namespace {

QString findProgram()
{
    const QString named = qEnvironmentVariable("KELPAY_SANDBOX_PROGRAM");
    return named.isEmpty() ? QStandardPaths::findExecutable(u"kelpay-sandbox"_s) : named;
}

/// One for the process: what was read of it is kept there. Empty where it can't be made.
QString identity(const QString &program)
{
    static const QTemporaryDir folder;
    static const bool isMade = QProcess::execute(program, {u"--make-identity"_s, folder.path()}) == 0;
    return isMade ? folder.path() : QString();
}

/// Variables of this process, put back at the end.
class Environment
{
public:
    ~Environment()
    {
        for (auto entry = m_former.cbegin(); entry != m_former.cend(); ++entry) {
            if (entry->isNull())
                qunsetenv(entry.key().constData());
            else
                qputenv(entry.key().constData(), *entry);
        }
    }
    void set(const QByteArray &name, const QString &value)
    {
        m_former.insert(name, qgetenv(name.constData()));
        qputenv(name.constData(), value.toLocal8Bit());
    }

private:
    QMap<QByteArray, QByteArray> m_former;
};

} // namespace

class Sandbox::Service
{
public:
    explicit Service(const QStringList &arguments)
    {
        const QString program = findProgram();
        if (program.isEmpty()) {
            problem = u"kelpay-sandbox isn't on PATH: name it with KELPAY_SANDBOX_PROGRAM"_s;
            return;
        }
        const QString folder = identity(program);
        if (folder.isEmpty()) {
            problem = u"%1 can't make an identity"_s.arg(program);
            return;
        }
        // The certificate's addresses, from the end that nobody starts at.
        for (int last = 20; last > 1 && host.isEmpty(); --last)
            listen(program, folder, u"127.0.0.%1"_s.arg(last), arguments);
        if (host.isEmpty())
            return;
        environment.set("KELPAY_SERVICE_HOST", host);
        environment.set("KELPAY_IP_ECHO", u"https://%1:1443/"_s.arg(host));
        environment.set("KELPAY_RESOURCES", folder);
    }

    ~Service()
    {
        process.terminate();
        if (process.state() != QProcess::NotRunning && !process.waitForFinished(5000))
            process.kill();
        process.waitForFinished(1000);
    }

    QString journal() const { return m_folder.filePath(u"journal"_s); }

    QProcess process;
    QString host;
    QString problem;
    Environment environment;

private:
    void listen(const QString &program, const QString &folder, const QString &address, const QStringList &arguments)
    {
        process.start(program, QStringList{u"--host"_s, address, u"--identity"_s, folder, u"--journal"_s, journal(),
                                           u"--die-with-parent"_s} +
                                   arguments);
        while (process.state() != QProcess::NotRunning && !process.canReadLine() && process.waitForReadyRead(10'000)) {
        }
        if (process.canReadLine() && process.readLine().contains("listens on")) {
            host = address;
            return;
        }
        process.kill();
        process.waitForFinished(1000);
        problem = QString::fromLocal8Bit(process.readAllStandardError()).trimmed();
    }

    QTemporaryDir m_folder;
};

Sandbox::Sandbox(const QStringList &arguments) : m_service(std::make_unique<Service>(arguments)) {}

Sandbox::~Sandbox() = default;

bool Sandbox::isRunning() const
{
    return !m_service->host.isEmpty() && m_service->process.state() == QProcess::Running;
}

QString Sandbox::problem() const
{
    return isRunning() ? QString() : m_service->problem;
}

QString Sandbox::host() const
{
    return m_service->host;
}

std::vector<Exchange> Sandbox::exchanges(const QString &kind) const
{
    std::vector<Exchange> exchanges;
    QFile journal(m_service->journal());
    if (!journal.open(QIODevice::ReadOnly))
        return exchanges;
    while (!journal.atEnd()) {
        const QJsonObject line = QJsonDocument::fromJson(journal.readLine()).object();
        const QString of = line.value("kind"_L1).toString();
        if (kind.isEmpty() || kind == of)
            exchanges.push_back({.kind = of,
                                 .status = line.value("status"_L1).toInt(),
                                 .violation = line.value("violation"_L1).toString(),
                                 .request = line.value("request"_L1).toObject(),
                                 .line = line});
    }
    return exchanges;
}

} // namespace kelpay::testing
