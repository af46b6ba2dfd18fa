// What a payment without screens costs beside libcurl alone, making the same four HTTPS requests: one after the other
// in one process, against a sandbox in another. Prints a line for processor time and one for wall time; SHORT where a
// reach is missed.

#include "Payer.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <curl/curl.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;
using namespace kelpay::bench;

namespace {

const QByteArray host = "127.0.0.16";
constexpr int rounds = 81;
constexpr int fewRounds = 15;
constexpr int warmUp = 5;

QString identityFolder()
{
    return QCoreApplication::applicationDirPath() + u"/../identity"_s;
}

double now(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Milliseconds of this process and of the wall.
struct Times
{
    std::vector<double> processor;
    std::vector<double> wall;

    bool add(const std::function<bool()> &action)
    {
        const double processorBefore = now(CLOCK_PROCESS_CPUTIME_ID);
        const double wallBefore = now(CLOCK_MONOTONIC);
        const bool ok = action();
        wall.push_back(now(CLOCK_MONOTONIC) - wallBefore);
        processor.push_back(now(CLOCK_PROCESS_CPUTIME_ID) - processorBefore);
        return ok;
    }
};

std::size_t collect(const char *data, std::size_t, std::size_t size, void *body)
{
    static_cast<QByteArray *>(body)->append(data, static_cast<qsizetype>(size));
    return size;
}

using Handle = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;

/// One request as the SDK's own are: a handle and a connection of its own, the same trust, the same bounds.
bool request(const QByteArray &path, const QByteArray *post, QByteArray anchors)
{
    const Handle handle(curl_easy_init(), curl_easy_cleanup);
    std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers(curl_slist_append(nullptr, "Expect:"),
                                                                        curl_slist_free_all);
    QByteArray answer;
    curl_easy_setopt(handle.get(), CURLOPT_URL, ("https://" + host + ":1443" + path).constData());
    curl_easy_setopt(handle.get(), CURLOPT_WRITEFUNCTION, collect);
    curl_easy_setopt(handle.get(), CURLOPT_WRITEDATA, &answer);
    curl_easy_setopt(handle.get(), CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle.get(), CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(handle.get(), CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    curl_easy_setopt(handle.get(), CURLOPT_TIMEOUT, 60L);
    curl_blob blob{anchors.data(), static_cast<std::size_t>(anchors.size()), CURL_BLOB_NOCOPY};
    curl_easy_setopt(handle.get(), CURLOPT_CAINFO_BLOB, &blob);
    if (post) { // to the service, which its own anchors alone vouch for
        curl_easy_setopt(handle.get(), CURLOPT_CAPATH, nullptr);
        headers.reset(curl_slist_append(headers.release(), "Content-Type: application/json"));
        curl_easy_setopt(handle.get(), CURLOPT_POSTFIELDSIZE, static_cast<long>(post->size()));
        curl_easy_setopt(handle.get(), CURLOPT_POSTFIELDS, post->constData());
    }
    curl_easy_setopt(handle.get(), CURLOPT_HTTPHEADER, headers.get());
    long status = 0;
    return curl_easy_perform(handle.get()) == CURLE_OK &&
           curl_easy_getinfo(handle.get(), CURLINFO_RESPONSE_CODE, &status) == CURLE_OK && status == 200 &&
           !answer.isEmpty();
}

/// An echo, the token, an echo, the payment.
bool requestAll(const Envelopes &envelopes, const QByteArray &anchors)
{
    return request("/", nullptr, anchors) && request("/8/request", &envelopes.token, anchors) &&
           request("/", nullptr, anchors) && request("/8/request", &envelopes.payment, anchors);
}

/// By another name, so that it isn't the service's host; its certificate is none that a system trusts.
const QByteArray stranger = "https://[::ffff:" + host + "]:1443/";

bool askStrangerBare()
{
    const Handle handle(curl_easy_init(), curl_easy_cleanup);
    curl_easy_setopt(handle.get(), CURLOPT_URL, stranger.constData());
    curl_easy_setopt(handle.get(), CURLOPT_NOSIGNAL, 1L);
    return curl_easy_perform(handle.get()) == CURLE_PEER_FAILED_VERIFICATION;
}

bool measureStranger(Times &ours, Times &bare)
{
    for (int round = 0; round < fewRounds; ++round) {
        if (!ours.add([] { return askStranger(stranger); }) || !bare.add(askStrangerBare))
            return false;
    }
    return true;
}

bool measure(Times &payment, Times &bare)
{
    QFile file(identityFolder() + u"/service-anchors.pem"_s);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray anchors = file.readAll();
    for (int round = -warmUp; round < rounds; ++round) {
        if (round == 0)
            payment = bare = {};
        const auto ready = envelopes();
        if (!ready || !payment.add(pay) || !bare.add([&] { return requestAll(*ready, anchors); }))
            return false;
    }
    return true;
}

bool print(const char *title, const std::vector<double> &ours, const std::vector<double> &theirs, double reach)
{
    const double ratio = median(ours) / median(theirs);
    std::printf("%-6s%-46s %9.2f ms against %9.2f ms: %5.2f times, reach %.2f\n", ratio > reach ? "SHORT" : "ok", title,
                median(ours), median(theirs), ratio, reach);
    return ratio <= reach;
}

} // namespace

int main(int argc, char **argv)
{
    const QTemporaryDir folder;
    qputenv("XDG_DATA_HOME", QFile::encodeName(folder.path()));
    qputenv("KELPAY_SERVICE_HOST", host);
    qputenv("KELPAY_IP_ECHO", "https://" + host + ":1443/");
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"kelpay-payment-bench"_s);
    curl_global_init(CURL_GLOBAL_DEFAULT);
    QProcess service;
    service.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    service.start(QCoreApplication::applicationDirPath() + u"/kelpay-sandbox"_s,
                  {u"--host"_s, QString::fromLatin1(host), u"--identity"_s, identityFolder(), u"--ledger"_s,
                   folder.filePath(u"ledger"_s), u"--die-with-parent"_s});
    if (!service.waitForReadyRead(10'000)) {
        std::puts("SHORT the sandbox doesn't start; its line above says why");
        return 1;
    }
    prepare();
    Times payment;
    Times bare;
    Times echo;
    Times bareEcho;
    const bool isMeasured = measure(payment, bare) && measureStranger(echo, bareEcho);
    service.terminate();
    service.waitForFinished(5000);
    if (!isMeasured) {
        std::puts("SHORT a payment failed; run kelpay_payment_bench by hand and read its log");
        return 1;
    }
    const bool isLight =
        print("a payment's processor time / four bare requests", payment.processor, bare.processor, 1.5);
    const bool isFast = print("a payment's wall time / the same", payment.wall, bare.wall, 1.4);
    const bool isKept =
        print("an echo under the system's trust store / the same", echo.processor, bareEcho.processor, 0.5);
    return isLight && isFast && isKept ? 0 : 1;
}
