#include "sandbox/Service.h"

#include "Requests.h"

#include <QFile>
#include <QJsonDocument>
#include <QTemporaryDir>

#include <curl/curl.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <vector>

namespace kelpay::sandbox::test {

using namespace Qt::StringLiterals;

namespace {

// An address of its own, so that a service someone is using stays undisturbed.
const QString host = u"127.0.0.17"_s;
const QByteArray sessionKey(32, 'k');

struct Reply
{
    CURLcode code = CURLE_FAILED_INIT;
    long status = 0;
    QByteArray body;
};

std::size_t collect(char *data, std::size_t size, std::size_t count, void *body)
{
    static_cast<QByteArray *>(body)->append(data, static_cast<qsizetype>(size * count));
    return size * count;
}

/// A GET without `body`; one connection each.
Reply send(const QByteArray &path, const QByteArray *body = nullptr, const char *type = "application/json")
{
    const std::unique_ptr<CURL, FreeWith<&curl_easy_cleanup>> curl(curl_easy_init());
    const std::unique_ptr<curl_slist, FreeWith<&curl_slist_free_all>> headers(
        curl_slist_append(nullptr, QByteArray("Content-Type: ").append(type).constData()));
    const QByteArray url = "https://" + host.toLatin1() + ":1443" + path;
    const QByteArray anchors = QFile::encodeName(identityFolder() + u'/' + Identity::anchorsFile);
    Reply reply;
    curl_easy_setopt(curl.get(), CURLOPT_URL, url.constData());
    curl_easy_setopt(curl.get(), CURLOPT_CAINFO, anchors.constData());
    curl_easy_setopt(curl.get(), CURLOPT_CAPATH, nullptr);
    curl_easy_setopt(curl.get(), CURLOPT_NOPROXY, "*");
    curl_easy_setopt(curl.get(), CURLOPT_TIMEOUT, 20L);
    curl_easy_setopt(curl.get(), CURLOPT_WRITEFUNCTION, collect);
    curl_easy_setopt(curl.get(), CURLOPT_WRITEDATA, &reply.body);
    if (body) {
        curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDS, body->constData());
        curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDSIZE, static_cast<long>(body->size()));
        curl_easy_setopt(curl.get(), CURLOPT_HTTPHEADER, headers.get());
    }
    reply.code = curl_easy_perform(curl.get());
    curl_easy_getinfo(curl.get(), CURLINFO_RESPONSE_CODE, &reply.status);
    return reply;
}

Reply post(const QByteArray &body)
{
    return send("/8/request", &body);
}

Reply request(int scenario)
{
    return post(seal(compact(tokenRequest(mobileNumberFor(scenario))), sessionKey));
}

QJsonObject opened(const Reply &reply)
{
    return QJsonDocument::fromJson(openAnswer(reply.body, sessionKey)).object();
}

class ServiceTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { curl_global_init(CURL_GLOBAL_DEFAULT); }
    void SetUp() override
    {
        ASSERT_TRUE(journal.open(journalPath));
        QString problem;
        ASSERT_TRUE(service.start(problem)) << qPrintable(problem);
    }
    QByteArray journalText() const
    {
        QFile file(journalPath);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    QJsonObject lastLine() const
    {
        return QJsonDocument::fromJson(journalText().trimmed().split('\n').last()).object();
    }

    QTemporaryDir folder;
    QString journalPath = folder.filePath(u"journal"_s);
    std::unique_ptr<Ledger> ledger = Ledger::open(folder.filePath(u"ledger"_s));
    Journal journal;
    Service service{identity(), *ledger, journal, host, 15};
};

} // namespace

TEST_F(ServiceTest, FaultsLookOnTheWireAsTheyAreNamed)
{
    struct Expected
    {
        int scenario;
        CURLcode code;
        long status;
    };
    const Expected table[] = {
        {500, CURLE_OK, 500},           {501, CURLE_OK, 302},       {502, CURLE_OK, 307}, {503, CURLE_OK, 201},
        {520, CURLE_PARTIAL_FILE, 200}, {521, CURLE_OK, 200},       {514, CURLE_OK, 200}, {515, CURLE_OK, 200},
        {522, CURLE_GOT_NOTHING, 0},    {523, CURLE_RECV_ERROR, 0}, {526, CURLE_OK, 200}, {510, CURLE_OK, 200},
        {511, CURLE_OK, 200},           {512, CURLE_OK, 200},       {513, CURLE_OK, 200},
    };
    for (const Expected &row : table) {
        const Reply reply = request(row.scenario);
        EXPECT_EQ(reply.code, row.code) << row.scenario << ' ' << curl_easy_strerror(reply.code);
        EXPECT_EQ(reply.status, row.status) << row.scenario;
        const bool opens = row.scenario == 500 || row.scenario == 503;
        EXPECT_EQ(opened(reply).contains("rc"_L1), opens) << row.scenario;
        EXPECT_EQ(lastLine().value("scenario"_L1), row.scenario);
        EXPECT_EQ(lastLine().value("status"_L1), static_cast<int>(row.status));
    }
    EXPECT_EQ(request(526).body.size(), 17 * 1024 * 1024);
}

TEST_F(ServiceTest, AKeptConnectionIsAnsweredAtOnce)
{
    const std::unique_ptr<CURL, FreeWith<&curl_easy_cleanup>> curl(curl_easy_init());
    const QByteArray url = "https://" + host.toLatin1() + ":1443/8/request";
    const QByteArray body = seal(compact(tokenRequest()), sessionKey);
    QByteArray answer;
    curl_easy_setopt(curl.get(), CURLOPT_URL, url.constData());
    curl_easy_setopt(curl.get(), CURLOPT_CAINFO,
                     QFile::encodeName(identityFolder() + u'/' + Identity::anchorsFile).constData());
    curl_easy_setopt(curl.get(), CURLOPT_NOPROXY, "*");
    curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDS, body.constData());
    curl_easy_setopt(curl.get(), CURLOPT_WRITEFUNCTION, collect);
    curl_easy_setopt(curl.get(), CURLOPT_WRITEDATA, &answer);
    long connections = 0;
    curl_off_t fastest = 1'000'000;
    for (int i = 0; i < 10; ++i) {
        ASSERT_EQ(curl_easy_perform(curl.get()), CURLE_OK);
        long opened = 0;
        curl_off_t microseconds = 0;
        curl_easy_getinfo(curl.get(), CURLINFO_NUM_CONNECTS, &opened);
        curl_easy_getinfo(curl.get(), CURLINFO_TOTAL_TIME_T, &microseconds);
        connections += opened;
        fastest = std::min(fastest, microseconds);
    }
    EXPECT_EQ(connections, 1);
    EXPECT_LT(fastest, 35'000) << "waits for a delayed acknowledgement";
}

TEST_F(ServiceTest, HangingConnectionsHoldUpNobody)
{
    const auto start = std::chrono::steady_clock::now();
    std::vector<std::future<Reply>> hanging;
    for (int i = 0; i < 12; ++i)
        hanging.push_back(std::async(std::launch::async, request, 525));
    EXPECT_EQ(opened(request(0)).value("rc"_L1), 0);
    service.stop();
    for (auto &reply : hanging)
        EXPECT_NE(reply.get().code, CURLE_OK);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10)) << "stopping releases them";

    Service impatient(identity(), *ledger, journal, host, 1);
    QString problem;
    ASSERT_TRUE(impatient.start(problem)) << qPrintable(problem);
    EXPECT_EQ(request(525).code, CURLE_GOT_NOTHING);
}

} // namespace kelpay::sandbox::test
