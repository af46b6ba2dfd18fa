// How what a payment works with grows: card rules, saved cards, answers, the ledger and the log at 1, 10, 100 and 1,000
// times their usual size. Prints a line of CSV for each, measured in a process of its own; scripts/growth draws it.
//
//     subject,times,entries,bytes,microseconds,kilobytes

#include "device/CoreFunctions.h"
#include "device/cards/CardRules.h"
#include "device/cards/SavedCard.h"
#include "protocol/AttemptLedger.h"
#include "protocol/CoreNetworking.h"
#include "security/Base64.h"
#include "security/BlockCipher.h"
#include "security/CoreSecurity.h"
#include "security/Random.h"

#include <QCoreApplication>
#include <QFile>
#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryDir>
#include <QUuid>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <functional>
#include <limits>
#include <malloc.h>
#include <vector>

using namespace Qt::StringLiterals;
using namespace kelpay;

namespace {

/// What is done at one size, and how large that is.
struct Job
{
    qsizetype entries = 0;
    qsizetype bytes = 0;
    std::function<void()> run;
};

QString repeated(qsizetype count, const std::function<QString(qsizetype)> &entry)
{
    QString text;
    for (qsizetype i = 0; i < count; ++i)
        text += entry(i);
    return text;
}

/// A key that is typed: the verdict for a card that the last entry is about.
Job rules(qsizetype times)
{
    const qsizetype count = 20 * times;
    const QString text = repeated(count, [&](qsizetype i) {
        return i + 1 < count ? u"%1;59;1000;2000000|"_s.arg(500000 + i % 100000) : u"636214;5;1000;2000000|"_s;
    });
    return {count, text.size(),
            [text] { static_cast<void>(CardRules(text).verdict(u"6362141234567890"_s, u"150000"_s)); }};
}

Job cards(qsizetype times)
{
    const qsizetype count = 5 * times;
    const QString text = repeated(count, [](qsizetype i) { return u"%1.n.603799******7893.0402;"_s.arg(i); });
    return {count, text.size(), [text] { static_cast<void>(SavedCard::fromList(text)); }};
}

/// A token's answer: opened, read, kept, and read again for the screen. What grows is its rules.
Job answers(qsizetype times)
{
    static UserDefaults defaults{QString()};
    const QByteArray json = R"({"rc":0,"ds":"x","rd":{"t":"T1","bl":")" +
                            QByteArray("636214;59;1000;2000000|").repeated(40 * times) + "\"}}";
    const auto key = generateSymmetricKeyForAlgorithm(CipherAES);
    defaults.setUtf8(u"latest_key"_s, *base64EncodedData(*key));
    const QString text = *base64EncodedString(*doBlockCipherWithAlgorithm(Bytes::fromByteArray(json), CipherAES, key,
                                                                          std::nullopt, CipherEncrypt, true, true));
    return {40 * times, text.size(), [text] {
                const auto plain = CoreSecurity(defaults).decryptRequest(text);
                const CoreFunctions functions(defaults);
                functions.parseTokenBody(QJsonDocument::fromJson(plain->toByteArray()).object());
                static_cast<void>(functions.storedTokenAnswer());
            }};
}

UnsettledAttempt freshAttempt()
{
    UnsettledAttempt attempt;
    attempt.identifier = QUuid::createUuid().toString();
    attempt.begun = QDateTime::currentDateTime();
    return attempt;
}

/// A payment's lines in a ledger of so many others, and the list of those that are unsettled: one in a hundred.
Job ledger(qsizetype times)
{
    static const QTemporaryDir folder;
    const qsizetype count = 20 * times;
    const QString path = folder.filePath(u"ledger"_s);
    AttemptLedger(path).begun(freshAttempt());
    SqliteStore(path, SqliteStore::Durability::SurvivesPowerLoss, "").run([&](SqliteDatabase &database) {
        return database
            .prepare(
                "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < ?1) INSERT INTO attempts "
                "SELECT hex(randomblob(16)), '1001', 'order ' || i, '150000', hex(randomblob(32)), "
                "unixepoch() * 1000, i, i, '0', '0', iif(i % 100, i, NULL) FROM n")
            .bind(1, std::int64_t{count})
            .run();
    });
    auto ledger = std::make_shared<AttemptLedger>(path);
    return {count, QFile(path + u"-wal"_s).size() + QFile(path).size(), [ledger] {
                const UnsettledAttempt attempt = freshAttempt();
                ledger->begun(attempt);
                ledger->aboutToSend(attempt);
                ledger->answered(attempt.identifier, u"0"_s);
                ledger->reported(attempt.identifier, u"0"_s, true);
                static_cast<void>(ledger->unsettled());
            }};
}

qsizetype logged = 0;

/// So many payments that find no service: what says most.
Job log(qsizetype times)
{
    class Facts : public CoreFunctions
    {
        std::optional<QString> ipAddress() const override { return std::nullopt; }
        QString vulnerabilities() const override { return {}; }
    };
    qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext &, const QString &line) { logged += line.toUtf8().size() + 1; });
    CoreKeychain().setString(u"1001"_s, u"mid"_s);
    CoreKeychain().setString(u"an identifier"_s, u"uuid"_s);
    const auto pay = [] {
        Surroundings surroundings;
        surroundings.functions = std::make_shared<Facts>();
        surroundings.post = [](const QUrl &, const QByteArray &, const QByteArray &, const UrlSession::Departure &,
                               const UrlSession::Completion &completion) {
            completion(TransportError{u"Failed to connect to service.example port 1443"_s});
        };
        CoreNetworking::create(surroundings)->sendPaymentRequest(Bytes("x"), {});
    };
    pay();
    logged = 0;
    return {times, 0, [times, pay] {
                for (qsizetype i = 0; i < times; ++i)
                    pay();
            }};
}

struct Subject
{
    const char *name;
    Job (*make)(qsizetype times);
    int repetitions;
};
constexpr std::array subjects{Subject{"rules", rules, 9}, Subject{"cards", cards, 9}, Subject{"answers", answers, 9},
                              Subject{"ledger", ledger, 9}, Subject{"log", log, 1}};

long peakKilobytes(const char *field)
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray text = status.readAll();
    return text.mid(text.indexOf(field) + static_cast<qsizetype>(qstrlen(field))).trimmed().split(' ').first().toLong();
}

double processorMicroseconds()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

/// The fastest repetition by the processor's time, and by how much the first one raised the process's memory.
void measure(const Subject &subject, qsizetype times)
{
    const Job job = subject.make(times);
    malloc_trim(0);
    QFile reset(u"/proc/self/clear_refs"_s); // the peak from here on
    if (reset.open(QIODevice::WriteOnly))
        reset.write("5");
    reset.close();
    const long before = peakKilobytes("VmRSS:");
    double fastest = std::numeric_limits<double>::max();
    long grown = 0;
    for (int i = 0; i < subject.repetitions; ++i) {
        const double start = processorMicroseconds();
        job.run();
        fastest = std::min(fastest, processorMicroseconds() - start);
        if (i == 0)
            grown = peakKilobytes("VmHWM:") - before;
    }
    std::printf("%s,%lld,%lld,%lld,%.1f,%ld\n", subject.name, static_cast<long long>(times),
                static_cast<long long>(job.entries), static_cast<long long>(logged > 0 ? logged : job.bytes), fastest,
                std::max(grown, 0L));
}

} // namespace

int main(int argc, char **argv)
{
    const QTemporaryDir folder;
    if (argc < 3)
        qputenv("XDG_DATA_HOME", QFile::encodeName(folder.path()));
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"kelpay-growth-bench"_s);
    const QStringList arguments = QCoreApplication::arguments();
    if (argc > 2) {
        const auto *const subject = std::find_if(subjects.begin(), subjects.end(), [&](const Subject &known) {
            return arguments[1] == QLatin1StringView(known.name);
        });
        measure(*subject, arguments[2].toLongLong());
        return 0;
    }
    std::puts("subject,times,entries,bytes,microseconds,kilobytes");
    std::fflush(stdout);
    for (const Subject &subject : subjects) {
        for (const char *times : {"1", "10", "100", "1000"}) {
            if (QProcess::execute(QCoreApplication::applicationFilePath(),
                                  {QLatin1StringView(subject.name), QLatin1StringView(times)}) != 0)
                return 1;
        }
    }
    return 0;
}
