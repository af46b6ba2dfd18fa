#include "IdentityGenerator.h"
#include "Service.h"
#include "Terminal.h"

#include "platform/Files.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSaveFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QUrl>

#include <arpa/inet.h>
#include <malloc.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

using namespace Qt::StringLiterals;
using namespace kelpay::sandbox;

namespace {

enum ExitCode { Ok = 0, Failed = 1, BadUsage = 2 };

const QCommandLineOption hostOption(u"host"_s, u"Loopback address to listen on (127.0.0.1)."_s, u"address"_s,
                                    u"127.0.0.1"_s);
const QCommandLineOption
    identityOption(u"identity"_s,
                   u"Folder that --make-identity made; otherwise one of this user's own, made when it is missing."_s,
                   u"folder"_s);
const QCommandLineOption ledgerOption(u"ledger"_s, u"SQLite file of tokens and payments; otherwise a temporary one."_s,
                                      u"file"_s);
const QCommandLineOption journalOption(u"journal"_s, u"Append one JSON line for each exchange to this file."_s,
                                       u"file"_s);
const QCommandLineOption readyOption(u"ready-file"_s, u"Write \"address:port\" to this file as soon as it listens."_s,
                                     u"file"_s);
const QCommandLineOption scenarioOption(
    u"scenario"_s,
    u"Let every answer follow one scenario, by the names of --list-scenarios; token:NAME or payment:NAME "
    "where it can happen to both."_s,
    u"name"_s);
const QCommandLineOption recordOption(u"record"_s, u"Append each exchange, masked, as a JSON line to this file."_s,
                                      u"file"_s);
const QCommandLineOption replayOption(u"replay"_s, u"Answer as it stands in a file that --record wrote."_s, u"file"_s);
const QCommandLineOption
    inspectorOption(u"inspector"_s, u"Serve /inspector without TLS as well, on this port of the address."_s, u"port"_s);
const QCommandLineOption verboseOption(u"verbose"_s, u"Print a line for each exchange though no terminal watches."_s);
const QCommandLineOption exitOption(u"exit-after"_s, u"Stop after so many seconds."_s, u"seconds"_s);
const QCommandLineOption hangOption(u"hang"_s, u"How long unanswered connections are held (75)."_s, u"seconds"_s,
                                    u"75"_s);
const QCommandLineOption parentOption(u"die-with-parent"_s, u"Stop when the parent process ends."_s);
const QCommandLineOption makeOption(u"make-identity"_s, u"Make keys and certificates in this folder, and stop."_s,
                                    u"folder"_s);
const QCommandLineOption
    legacyOption(u"legacy"_s, u"Protect IOSNewCert.pfx as desktop keychains do (RC2-40, Triple DES); the default."_s);
const QCommandLineOption modernOption(u"modern"_s, u"Protect IOSNewCert.pfx with AES-256 instead."_s);
const QCommandLineOption scenariosOption(u"list-scenarios"_s, u"Print the magic numbers, and stop."_s);

int complain(const QString &problem, ExitCode code)
{
    std::fprintf(stderr, "kelpay-sandbox: %s\n", qUtf8Printable(problem));
    return code;
}

bool isLoopback(const QString &host)
{
    in_addr address{};
    return host == "localhost"_L1 || host == "::1"_L1 ||
           (inet_pton(AF_INET, host.toLatin1().constData(), &address) == 1 && (ntohl(address.s_addr) >> 24) == 127);
}

/// The seconds that an option gives, -1 where they are no whole number from 1 up; `absent` without the option.
int secondsOf(const QCommandLineParser &parser, const QCommandLineOption &option, int absent)
{
    bool isNumber = false;
    const int seconds = parser.value(option).toInt(&isNumber);
    return !parser.isSet(option) ? absent : isNumber && seconds > 0 ? seconds : -1;
}

sigset_t blockStopSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

/// Until a stop signal, or for so many seconds; 0 for as long as it takes.
void waitForEnd(const sigset_t &signals, int seconds)
{
    const timespec limit{.tv_sec = seconds, .tv_nsec = 0};
    if (seconds > 0)
        sigtimedwait(&signals, nullptr, &limit);
    else
        sigwaitinfo(&signals, nullptr);
}

QString identityFolder(const QCommandLineParser &parser)
{
    return parser.isSet(identityOption)
               ? QDir::current().absoluteFilePath(parser.value(identityOption))
               : QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + u"/kelpay-sandbox/identity"_s;
}

/// Prints and records what the journal hears. `record` may be closed, and outlives the journal's use.
void listen(Journal &journal, QFile &record, bool isVerbose, const QString &folder)
{
    const bool isTerminal = isatty(STDOUT_FILENO) == 1;
    const bool isColoured = isTerminal && qEnvironmentVariableIsEmpty("NO_COLOR");
    journal.addListener([=, &record](const QJsonObject &entry, const QJsonObject &answer) {
        if (isTerminal || isVerbose) {
            std::printf("%s\n", qUtf8Printable(readableLine(entry, isColoured)));
            std::fflush(stdout);
        }
        if (entry.contains("deviation"_L1))
            complain(u"the replay deviates: "_s + entry.value("deviation"_L1).toString(), Ok);
        if (entry.contains("tls"_L1))
            complain(entry.value("tls"_L1).toString() +
                         u"; a host that shall trust it needs: export KELPAY_RESOURCES='%1'"_s.arg(folder),
                     Ok);
        if (!record.isOpen() || !entry.contains("request"_L1))
            return;
        QJsonObject line = entry;
        if (!answer.isEmpty())
            line.insert("answer"_L1, answer);
        record.write(QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n');
        record.flush();
    });
}

bool writeReady(const QString &path, const QString &url)
{
    QSaveFile file(path);
    const QByteArray address = QUrl(url).authority().toLatin1() + '\n';
    return file.open(QIODevice::WriteOnly) && file.write(address) == address.size() && file.commit();
}

void greet(const Service &service, const QString &host, const QString &folder, int inspectorPort)
{
    QUrl inspector(service.url() + u"inspector"_s);
    if (inspectorPort > 0) {
        inspector.setScheme(u"http"_s);
        inspector.setPort(inspectorPort);
    }
    std::printf("kelpay-sandbox listens on %s\n", qUtf8Printable(service.url()));
    std::printf("Look inside: %s\n", qUtf8Printable(inspector.toString()));
    std::printf("Pay from your own host, a sandbox build of KelPay:\n%s",
                qUtf8Printable(exportLines(host, service.url(), folder)));
    std::fflush(stdout);
}

int serve(const QCommandLineParser &parser, const sigset_t &signals)
{
    const QString host = parser.value(hostOption);
    const int exitAfter = secondsOf(parser, exitOption, 0);
    const int hang = secondsOf(parser, hangOption, 75);
    if (!isLoopback(host))
        return complain(
            u"%1 is no loopback address: this service is for development and takes 127.x.x.x, ::1 or localhost"_s.arg(
                host),
            BadUsage);
    if (exitAfter < 0 || hang < 0)
        return complain(u"--exit-after and --hang take whole seconds, from 1 up"_s, BadUsage);
    bool isNumber = false;
    const int inspectorPort = parser.value(inspectorOption).toInt(&isNumber);
    if (parser.isSet(inspectorOption) && (!isNumber || inspectorPort < 1 || inspectorPort > 65535))
        return complain(u"--inspector takes a port, 1 to 65535"_s, BadUsage);

    QString problem;
    std::optional<Rule> always;
    if (parser.isSet(scenarioOption) && !(always = Rule::parse(parser.value(scenarioOption), problem)))
        return complain(problem, BadUsage);
    const QString folder = identityFolder(parser);
    if (!parser.isSet(identityOption)) {
        QDir().mkpath(QFileInfo(folder).path());
        if (const auto failure = makeIdentity(folder, PfxFormat::Legacy))
            return complain(*failure, Failed);
    }
    const auto identity = Identity::load(folder, problem);
    if (!identity)
        return complain(u"%1; kelpay-sandbox --make-identity %2 makes it"_s.arg(problem, folder), Failed);
    const QTemporaryDir temporary;
    const auto ledger =
        Ledger::open(parser.isSet(ledgerOption) ? parser.value(ledgerOption) : temporary.filePath(u"ledger.sqlite"_s));
    if (!ledger)
        return complain(u"the ledger can't be opened: give --ledger a file that this user may write"_s, Failed);
    Journal journal;
    if (!journal.open(parser.value(journalOption)))
        return complain(u"the journal %1 can't be written"_s.arg(parser.value(journalOption)), Failed);
    QFile record(parser.value(recordOption));
    if (parser.isSet(recordOption) &&
        !(kelpay::Files::makePrivateFile(record.fileName()) && record.open(QIODevice::WriteOnly | QIODevice::Append)))
        return complain(u"the recording %1 can't be written"_s.arg(record.fileName()), Failed);
    listen(journal, record, parser.isSet(verboseOption), folder);
    Service service(*identity, *ledger, journal, host, hang);
    if (always)
        service.director().setAlways(*always);
    if (parser.isSet(replayOption) && !service.director().replay(parser.value(replayOption), problem))
        return complain(problem, Failed);
    const QString ready = parser.value(readyOption);
    if (!ready.isEmpty())
        QFile::remove(ready);
    if (!service.start(problem) || (inspectorPort > 0 && !service.startInspector(inspectorPort, problem)))
        return complain(problem, Failed);
    greet(service, host, folder, inspectorPort);
    if (!ready.isEmpty() && !writeReady(ready, service.url()))
        return complain(u"%1 can't be written"_s.arg(ready), Failed);
    waitForEnd(signals, exitAfter);
    if (!ready.isEmpty())
        QFile::remove(ready);
    return Ok;
}

} // namespace

int main(int argc, char *argv[])
{
    const pid_t parent = getppid();
    // More heaps grow with the exchanges, by what lies between the blocks in use; one has the threads wait.
    mallopt(M_ARENA_MAX, 2);
    const sigset_t signals = blockStopSignals();
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(u"The payment service for development, on port 1443 of a loopback address."_s);
    const QCommandLineOption helpOption = parser.addHelpOption();
    parser.addOptions({hostOption, identityOption, ledgerOption, journalOption, readyOption, scenarioOption,
                       recordOption, replayOption, inspectorOption, verboseOption, exitOption, hangOption, parentOption,
                       makeOption, legacyOption, modernOption, scenariosOption});
    if (!parser.parse(QCoreApplication::arguments()))
        return complain(parser.errorText(), BadUsage);
    if (parser.isSet(helpOption))
        parser.showHelp(Ok);
    if (!parser.positionalArguments().isEmpty())
        return complain(u"what is %1? See --help"_s.arg(parser.positionalArguments().first()), BadUsage);
    if (parser.isSet(scenariosOption)) {
        std::fputs(qUtf8Printable(scenarioTables()), stdout);
        return Ok;
    }
    if (parser.isSet(legacyOption) && parser.isSet(modernOption))
        return complain(u"--legacy and --modern exclude each other"_s, BadUsage);
    if (parser.isSet(makeOption)) {
        const auto format = parser.isSet(modernOption) ? PfxFormat::Modern : PfxFormat::Legacy;
        const auto problem = makeIdentity(parser.value(makeOption), format);
        return problem ? complain(*problem, Failed) : Ok;
    }
    if (parser.isSet(parentOption)) {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (getppid() != parent)
            return Ok;
    }
    return serve(parser, signals);
}
