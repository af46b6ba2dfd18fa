// What an exchange costs kelpay-sandbox, by its own processor time, beside one RSA-2048 signature on the same machine:
// over kept connections and over a fresh one each; and whether its memory stays where it was.
#include "sandbox/Identity.h"
#include "sandbox/Scenarios.h"
#include "tests/sandbox/Requests.h"

#include <QCoreApplication>
#include <QFile>
#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryDir>

#include <curl/curl.h>
#include <openssl/rsa.h>

#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <ctime>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;
using namespace kelpay::sandbox;

namespace {

const QString host = u"127.0.0.18"_s;
constexpr int connections = 4;
/// Until SQLite's cache of pages is full and every thread is there.
constexpr int warmUp = 8000;
const QByteArray sessionKey(32, 'k');

using CurlHandle = std::unique_ptr<CURL, FreeWith<&curl_easy_cleanup>>;
using HeadersHandle = std::unique_ptr<curl_slist, FreeWith<&curl_slist_free_all>>;

std::size_t collect(char *data, std::size_t size, std::size_t count, void *body)
{
    static_cast<QByteArray *>(body)->append(data, static_cast<qsizetype>(size * count));
    return size * count;
}

/// One payer after another on a connection of their own, or on one each exchange.
class Client
{
public:
    explicit Client(bool keeps) : m_curl(curl_easy_init())
    {
        const QByteArray anchors = QFile::encodeName(test::identityFolder() + u'/' + Identity::anchorsFile);
        m_headers.reset(curl_slist_append(nullptr, "Content-Type: application/json"));
        curl_easy_setopt(m_curl.get(), CURLOPT_URL, ("https://" + host.toLatin1() + ":1443/8/request").constData());
        curl_easy_setopt(m_curl.get(), CURLOPT_CAINFO, anchors.constData());
        curl_easy_setopt(m_curl.get(), CURLOPT_NOPROXY, "*");
        curl_easy_setopt(m_curl.get(), CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(m_curl.get(), CURLOPT_TIMEOUT, 20L);
        curl_easy_setopt(m_curl.get(), CURLOPT_HTTPHEADER, m_headers.get());
        curl_easy_setopt(m_curl.get(), CURLOPT_WRITEFUNCTION, collect);
        curl_easy_setopt(m_curl.get(), CURLOPT_SSL_SESSIONID_CACHE, keeps ? 1L : 0L);
        curl_easy_setopt(m_curl.get(), CURLOPT_FRESH_CONNECT, keeps ? 0L : 1L);
        curl_easy_setopt(m_curl.get(), CURLOPT_FORBID_REUSE, keeps ? 0L : 1L);
    }

    /// A token and its payment: two exchanges. False where either was not approved.
    bool pay()
    {
        const QJsonObject token = exchange(test::tokenRequest());
        return token.value("rc"_L1) == 0 &&
               exchange(test::paymentRequest(token, cardNumberFor(0, u"603799"_s))).value("rc"_L1) == 0;
    }

private:
    QJsonObject exchange(const QJsonObject &request)
    {
        const QByteArray body = test::seal(test::compact(request), sessionKey);
        QByteArray answer;
        curl_easy_setopt(m_curl.get(), CURLOPT_POSTFIELDS, body.constData());
        curl_easy_setopt(m_curl.get(), CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
        curl_easy_setopt(m_curl.get(), CURLOPT_WRITEDATA, &answer);
        if (const CURLcode code = curl_easy_perform(m_curl.get()); code != CURLE_OK)
            std::fprintf(stderr, "sandbox bench: %s\n", curl_easy_strerror(code));
        return QJsonDocument::fromJson(test::openAnswer(answer, sessionKey)).object();
    }

    CurlHandle m_curl;
    HeadersHandle m_headers;
};

double processorSeconds(qint64 process)
{
    QFile file(u"/proc/%1/stat"_s.arg(process));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray text = file.readAll();
    const QList<QByteArray> fields = text.sliced(text.lastIndexOf(')') + 2).split(' ');
    return (fields[11].toDouble() + fields[12].toDouble()) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

long residentKilobytes(qint64 process)
{
    QFile file(u"/proc/%1/statm"_s.arg(process));
    return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ')[1].toLong() * (sysconf(_SC_PAGESIZE) / 1024) : 0;
}

/// So many exchanges over `connections` at once; how many seconds they took, or -1 where one failed.
double exchange(int count, bool keeps)
{
    std::atomic<int> payments = count / 2;
    std::atomic<bool> hasFailed = false;
    std::vector<std::thread> threads;
    timespec start{};
    clock_gettime(CLOCK_MONOTONIC, &start);
    for (int i = 0; i < connections; ++i)
        threads.emplace_back([&] {
            Client client(keeps);
            while (payments-- > 0 && !hasFailed)
                hasFailed = hasFailed || !client.pay();
        });
    for (std::thread &thread : threads)
        thread.join();
    timespec end{};
    clock_gettime(CLOCK_MONOTONIC, &end);
    return hasFailed ? -1
                     : static_cast<double>(end.tv_sec - start.tv_sec) +
                           static_cast<double>(end.tv_nsec - start.tv_nsec) / 1e9;
}

/// Processor time of one RSA-2048 signature.
double signatureSeconds()
{
    constexpr int count = 500;
    const KeyContextHandle context(EVP_PKEY_CTX_new(test::identity().envelopeKey(), nullptr));
    std::array<unsigned char, 256> signature{};
    const std::array<unsigned char, 32> digest{};
    EVP_PKEY_sign_init(context.get());
    const std::clock_t start = std::clock();
    for (int i = 0; i < count; ++i) {
        std::size_t size = signature.size();
        if (EVP_PKEY_sign(context.get(), signature.data(), &size, digest.data(), digest.size()) <= 0)
            return 0;
    }
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC / count;
}

bool printRow(bool isReached, const char *title, const QString &measured)
{
    std::printf("%-6s%-46s %s\n", isReached ? "ok" : "SHORT", title, qUtf8Printable(measured));
    std::fflush(stdout);
    return isReached;
}

bool measure(qint64 service, bool keeps, int count, double reach)
{
    const double signature = signatureSeconds();
    const double before = processorSeconds(service);
    const double took = exchange(count, keeps);
    const double each = (processorSeconds(service) - before) / count;
    const double ratio = signature > 0 ? each / signature : 0;
    return printRow(took > 0 && ratio > 0 && ratio <= reach,
                    keeps ? "the sandbox's exchange, connection kept" : "the sandbox's exchange, fresh connection",
                    u"%1 us against %2 us of an RSA-2048 signature: %3 times, reach %4; %5 a core-second, %6 ms each"_s
                        .arg(each * 1e6, 0, 'f', 0)
                        .arg(signature * 1e6, 0, 'f', 0)
                        .arg(ratio, 0, 'f', 2)
                        .arg(reach, 0, 'f', 2)
                        .arg(1 / each, 0, 'f', 0)
                        .arg(took / count * connections * 1e3, 0, 'f', 2));
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    curl_global_init(CURL_GLOBAL_DEFAULT);
    const QTemporaryDir folder;
    QProcess service;
    service.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    service.start(QCoreApplication::applicationDirPath() + u"/kelpay-sandbox"_s,
                  {u"--host"_s, host, u"--identity"_s, test::identityFolder(), u"--ledger"_s,
                   folder.filePath(u"ledger"_s), u"--journal"_s, folder.filePath(u"journal"_s),
                   u"--die-with-parent"_s});
    if (!service.waitForReadyRead(10000))
        return 1;
    const qint64 process = service.processId();
    bool isReached = exchange(warmUp / 4, false) > 0 && exchange(warmUp, true) > 0;
    const long before = residentKilobytes(process);
    isReached = measure(process, false, 4000, 3462.0 / 900) && isReached;
    isReached = measure(process, true, 16000, 3462.0 / 1500) && isReached;
    const long after = residentKilobytes(process);
    isReached = printRow(after - before < 1536, "the sandbox's memory over 20,000 exchanges",
                         u"%1 kB, then %2 kB; may grow by 1536"_s.arg(before).arg(after)) &&
                isReached;
    service.terminate();
    service.waitForFinished(5000);
    return isReached ? 0 : 1;
}
