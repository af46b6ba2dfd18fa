#include "UrlSession.h"

#include "Bundle.h"
#include "Deployment.h"
#include "Dispatch.h"
#include "Log.h"
#include "TrustAnchors.h"

#include <QFile>

#include <curl/curl.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <new>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

using namespace std::chrono_literals;

// An answer holds a screenful, a list a catalogue, an echo one address.
constexpr qsizetype largestAnswer = qsizetype{1024} * 1024;
constexpr qsizetype largestList = 8 * largestAnswer;
constexpr qsizetype largestEcho = 256;

struct Transfer
{
    const UrlSession::Departure &departure;
    qsizetype largestBody;
    QByteArray body = {};
    bool tooLarge = false;
    bool hasLeft = false;
};

enum class Trust { Service, System, SystemAndService };

struct Request
{
    QUrl url;
    QByteArray contentType;
    std::optional<QByteArray> post;
    qsizetype largestBody = largestAnswer;
    UrlSession::Departure departure = {};
    Trust trust = Trust::Service;
    std::chrono::seconds ceiling = 10min;
};

// The three that libcurl calls: nothing may throw through it.

std::size_t receive(const char *data, std::size_t, std::size_t size, void *context)
try {
    auto *transfer = static_cast<Transfer *>(context);
    if (transfer->body.size() + static_cast<qsizetype>(size) > transfer->largestBody) {
        transfer->tooLarge = true;
        return 0;
    }
    transfer->body.append(data, static_cast<qsizetype>(size));
    return size;
} catch (...) {
    return 0;
}

int depart(void *context, char *, char *, int, int)
try {
    auto *transfer = static_cast<Transfer *>(context);
    if (Dispatch::isShuttingDown() || (transfer->departure.leave && !transfer->departure.leave()))
        return CURL_PREREQFUNC_ABORT;
    transfer->hasLeft = true;
    return CURL_PREREQFUNC_OK;
} catch (...) {
    return CURL_PREREQFUNC_ABORT;
}

int progress(void *context, curl_off_t, curl_off_t, curl_off_t, curl_off_t)
try {
    const auto *transfer = static_cast<Transfer *>(context);
    const bool isWanted = transfer->hasLeft || !transfer->departure.isWanted || transfer->departure.isWanted();
    return Dispatch::isShuttingDown() || !isWanted ? 1 : 0;
} catch (...) {
    return 1;
}

using Vouchers = std::shared_ptr<const TrustAnchors::Parsed>;

/// The system's store as one file, where libcurl has it so.
Vouchers setSystemTrust(CURL *handle)
{
    static auto *const store = new TrustAnchors;
    const char *const path = curl_version_info(CURLVERSION_NOW)->cainfo;
    const auto pem = path ? readFile(QFile::decodeName(path)) : std::nullopt;
    auto vouchers = pem ? store->vouchFor(handle, *pem, TrustAnchors::Company::Beside) : nullptr;
    if (vouchers)
        curl_easy_setopt(handle, CURLOPT_CAINFO, nullptr);
    return vouchers;
}

/// Gives what must outlive the transfer.
Vouchers setTrust(CURL *handle, Trust trust)
{
    curl_easy_setopt(handle, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(handle, CURLOPT_SSL_VERIFYHOST, 2L);
    curl_easy_setopt(handle, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    const auto anchors =
        trust == Trust::System ? std::nullopt : Bundle::sdk().dataForResource(u"service-anchors"_s, u"pem"_s);
    if (!anchors)
        return setSystemTrust(handle);
    curl_easy_setopt(handle, CURLOPT_CAINFO, nullptr);
    // Or the system's folder would still vouch for a stranger.
    if (trust == Trust::Service)
        curl_easy_setopt(handle, CURLOPT_CAPATH, nullptr);
    static auto *const service = new TrustAnchors;
    auto vouchers = service->vouchFor(
        handle, *anchors, trust == Trust::Service ? TrustAnchors::Company::Alone : TrustAnchors::Company::Beside);
    if (!vouchers) {
        curl_blob blob{const_cast<std::uint8_t *>(anchors->data()), anchors->size(), CURL_BLOB_COPY};
        curl_easy_setopt(handle, CURLOPT_CAINFO_BLOB, &blob);
    }
    return vouchers;
}

void setBounds(CURL *handle, std::chrono::seconds ceiling)
{
    curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT, 60L);
    curl_easy_setopt(handle, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(handle, CURLOPT_LOW_SPEED_TIME, 60L);
    curl_easy_setopt(handle, CURLOPT_TIMEOUT, static_cast<long>(ceiling.count()));
    curl_easy_setopt(handle, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(handle, CURLOPT_XFERINFOFUNCTION, progress);
}

/// One request, once: a connection of its own, no reuse, no redirect.
void setSingleUse(CURL *handle)
{
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(handle, CURLOPT_FRESH_CONNECT, 1L);
    curl_easy_setopt(handle, CURLOPT_FORBID_REUSE, 1L);
    // No session either; keeping one, libcurl frees twice where memory ends.
    curl_easy_setopt(handle, CURLOPT_SSL_SESSIONID_CACHE, 0L);
    curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "https");
    curl_easy_setopt(handle, CURLOPT_NETRC, static_cast<long>(CURL_NETRC_IGNORED));
}

using Headers = std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)>;

Headers headersFor(const Request &request)
{
    Headers headers(nullptr, curl_slist_free_all);
    const auto add = [&headers](const QByteArray &line) {
        curl_slist *const longer = curl_slist_append(headers.get(), line.constData());
        if (!longer)
            throw std::bad_alloc();
        static_cast<void>(headers.release());
        headers.reset(longer);
    };
    add("Expect:");
    if (request.post)
        add("Content-Type: " + request.contentType);
    return headers;
}

/// Tried again the next time where it failed.
bool isStarted()
{
    static std::mutex mutex;
    static bool started = false;
    const std::scoped_lock lock(mutex);
    started = started || curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    return started;
}

UrlResult perform(const Request &request, Transfer &transfer)
{
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> handle(isStarted() ? curl_easy_init() : nullptr,
                                                                     curl_easy_cleanup);
    if (!handle)
        return TransportError{u"the HTTPS client can't be started"_s};

    const Headers headers = headersFor(request);
    char details[CURL_ERROR_SIZE] = "";
    const QByteArray url = request.url.toEncoded();
    curl_easy_setopt(handle.get(), CURLOPT_URL, url.constData());
    curl_easy_setopt(handle.get(), CURLOPT_HTTPHEADER, headers.get());
    curl_easy_setopt(handle.get(), CURLOPT_ERRORBUFFER, details);
    curl_easy_setopt(handle.get(), CURLOPT_WRITEFUNCTION, receive);
    curl_easy_setopt(handle.get(), CURLOPT_WRITEDATA, &transfer);
    curl_easy_setopt(handle.get(), CURLOPT_PREREQFUNCTION, depart);
    curl_easy_setopt(handle.get(), CURLOPT_PREREQDATA, &transfer);
    curl_easy_setopt(handle.get(), CURLOPT_XFERINFODATA, &transfer);
    setSingleUse(handle.get());
    setBounds(handle.get(), request.ceiling);
    const Vouchers vouchers = setTrust(handle.get(), request.trust);
    if (request.post) {
        curl_easy_setopt(handle.get(), CURLOPT_POST, 1L);
        curl_easy_setopt(handle.get(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.post->size()));
        curl_easy_setopt(handle.get(), CURLOPT_POSTFIELDS, request.post->constData());
    }

    const CURLcode code = curl_easy_perform(handle.get());
    if (code != CURLE_OK) {
        const QString reason = transfer.tooLarge ? u"the answer is larger than %1 bytes"_s.arg(request.largestBody)
                                                 : QString::fromUtf8(*details ? details : curl_easy_strerror(code));
        return TransportError{u"%1 (%2)"_s.arg(reason, request.url.host()), transfer.hasLeft};
    }
    long status = 0;
    curl_easy_getinfo(handle.get(), CURLINFO_RESPONSE_CODE, &status);
    return UrlResponse{static_cast<int>(status), std::move(transfer.body)};
}

UrlResult perform(const Request &request)
{
    Transfer transfer{.departure = request.departure, .largestBody = request.largestBody};
    try {
        return perform(request, transfer);
    } catch (const std::bad_alloc &) {
        return TransportError{u"memory ran out"_s, transfer.hasLeft};
    }
}

} // namespace

void UrlSession::post(const QUrl &url, const QByteArray &contentType, QByteArray body, Departure departure,
                      Completion completion)
{
    if (Dispatch::isShuttingDown())
        return;
    Dispatch::transfer([request = Request{.url = url,
                                          .contentType = contentType,
                                          .post = std::move(body),
                                          .departure = std::move(departure)},
                        completion = std::move(completion)] {
        const UrlResult result = perform(request);
        if (!Dispatch::isShuttingDown())
            completion(result);
    });
}

UrlResult UrlSession::contents(const QUrl &url)
{
    return perform({.url = url, .contentType = {}, .post = {}, .largestBody = largestList});
}

UrlResult UrlSession::publicContents(const QUrl &url)
{
    const bool ofService = url.host() == Deployment::serviceHost();
    return perform({.url = url,
                    .contentType = {},
                    .post = {},
                    .largestBody = largestEcho,
                    .trust = ofService ? Trust::SystemAndService : Trust::System,
                    .ceiling = 60s});
}

} // namespace kelpay
