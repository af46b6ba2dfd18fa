#pragma once

#include "device/HostProfile.h"
#include "platform/Log.h"
#include "protocol/CoreNetworking.h"
#include "security/Base64.h"
#include "security/BlockCipher.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

namespace kelpay {

using namespace Qt::StringLiterals;

inline const QString success = uR"({"rc":0,"ti":7,"ds":"x","rd":{"t":"T1","urn":"U1"}})"_s;
inline std::vector<QString> mistakes;

class FixedFacts : public CoreFunctions
{
public:
    using CoreFunctions::CoreFunctions;
    QString versionString() const override { return u"210;100"_s; }
    QString localUserDate() const override { return u"2026-11-23 03:04:05"_s; }
    std::optional<QString> ipAddress() const override
    {
        whileAsked();
        return address;
    }
    QString bundleID() const override { return u"org.example.host"_s; }
    QString deviceData() const override { return u"APPL|m|s|n|l"_s; }
    QString vulnerabilities() const override { return u"root"_s; }

    std::optional<QString> address = u"192.0.2.7"_s;
    std::function<void()> whileAsked = [] {};
};

/// A payment service in memory: what was asked of it, and how it answers.
class ExchangeTest : public testing::Test
{
protected:
    using Block = CoreNetworking::ResponseBlock;
    using Send = CoreNetworking::Send;
    struct Called
    {
        bool ok;
        QString message;
        QString code;
        bool operator==(const Called &) const = default;
    };

    ExchangeTest()
    {
        keychain.clearAll();
        keychain.setString(u"1001"_s, u"mid"_s);
        facts->returnThings();
        mistakes.clear();
        setProgrammingErrorHandler([](const QString &message) { mistakes.push_back(message); });
    }
    ~ExchangeTest() override { setProgrammingErrorHandler(nullptr); }

    /// Sends one exchange, answers it, and gives what the block got.
    std::optional<Called> run(Send send, const QString &input, const UrlResult &result, const Block &inside = {})
    {
        std::optional<Called> called;
        const auto block = [&](bool ok, const QString &message, const QString &code) {
            EXPECT_FALSE(called);
            called = {ok, message, code};
            if (inside)
                inside(ok, message, code);
        };
        departed = false;
        ((*CoreNetworking::create(surroundings())).*send)(Bytes::fromText(input), block);
        if (completion)
            std::exchange(completion, {})(result);
        return called;
    }
    std::optional<Called> answer(Send send, const QString &json, const Block &inside = {})
    {
        std::optional<Called> called;
        ((*CoreNetworking::create(surroundings())).*send)(Bytes("0912||x||7"),
                                                          [&](bool ok, const QString &message, const QString &code) {
                                                              EXPECT_FALSE(called);
                                                              called = {ok, message, code};
                                                              if (inside)
                                                                  inside(ok, message, code);
                                                          });
        std::exchange(completion, {})(UrlResponse{200, sealed(json)});
        return called;
    }
    Surroundings surroundings() { return {post(), &defaults, keychain, facts, attempt}; }
    Surroundings::Post post()
    {
        return [this](const QUrl &url, const QByteArray &type, const QByteArray &body,
                      const UrlSession::Departure &departure, const UrlSession::Completion &then) {
            EXPECT_EQ(url.path(), u"/8/request"_s);
            EXPECT_EQ(url.port(), 1443);
            EXPECT_EQ(type, "application/json");
            posts.push_back(body);
            beforeDeparture();
            departed = leaves && departure.leave();
            completion = then;
        };
    }
    std::optional<Bytes> key() const
    {
        return base64DecodedDataWithString(defaults.string(u"latest_key"_s).value_or(QString()));
    }
    /// An answer as the service sends it: with the quotes and escapes of a JSON string.
    QByteArray sealed(const QString &json) const
    {
        const auto cipher = doBlockCipherWithAlgorithm(Bytes(json.toUtf8().toStdString()), CipherAES, key(),
                                                       std::nullopt, CipherEncrypt, true, true);
        return '"' + base64EncodedString(*cipher)->replace(u'/', u"\\/"_s).toLatin1() + '"';
    }
    QJsonObject lastRequest() const
    {
        const QByteArray text = posts.back().mid(posts.back().indexOf('#') + 1).chopped(2);
        const auto plain = doBlockCipherWithAlgorithm(*base64DecodedData(Bytes(text.toStdString())), CipherAES, key(),
                                                      std::nullopt, CipherDecrypt, true);
        return plain ? QJsonDocument::fromJson(plain->toByteArray().mid(16)).object() : QJsonObject();
    }

    UserDefaults defaults{QString()};
    CoreKeychain keychain{u"exchange-test"_s};
    std::shared_ptr<FixedFacts> facts = std::make_shared<FixedFacts>(defaults, keychain);
    std::shared_ptr<Attempt> attempt;
    std::vector<QByteArray> posts;
    UrlSession::Completion completion;
    std::function<void()> beforeDeparture = [] {};
    bool leaves = true;
    bool departed = false;
};

inline constexpr auto token = &CoreNetworking::sendTokenRequest;
inline constexpr auto payment = &CoreNetworking::sendPaymentRequest;

} // namespace kelpay
