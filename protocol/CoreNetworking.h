#pragma once

#include "Attempt.h"
#include "device/CoreFunctions.h"
#include "platform/UrlSession.h"
#include "platform/UserDefaults.h"
#include "security/keychain/CoreKeychain.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace kelpay {

/// What an exchange asks, keeps its values in and goes out through: the real ones, unless others are handed in.
struct Surroundings
{
    /// As UrlSession::post.
    using Post = std::function<void(const QUrl &url, const QByteArray &contentType, QByteArray body,
                                    UrlSession::Departure departure, UrlSession::Completion completion)>;

    Post post = UrlSession::post;
    UserDefaults *defaults = &UserDefaults::standard();
    CoreKeychain keychain;
    std::shared_ptr<const CoreFunctions> functions = std::make_shared<CoreFunctions>();
    /// The payment that the exchange belongs to: learns how it goes, and keeps it from leaving once it was withdrawn.
    /// Null for none.
    std::shared_ptr<Attempt> attempt = {};
};

/// One exchange with the payment service: make a new one for each. It lives until its completion has run, whoever else
/// lets go of it.
class CoreNetworking : public std::enable_shared_from_this<CoreNetworking>
{
public:
    /// (ok, message, code): ("", "0") when ok, else the service's description and code, or those of a failed exchange.
    /// Called at most once, on the session's thread; never after a transport error.
    using ResponseBlock = std::function<void(bool ok, const QString &message, const QString &code)>;

    static std::shared_ptr<CoreNetworking> create(Surroundings surroundings = {});

    using Send = void (CoreNetworking::*)(const Bytes &input, ResponseBlock block);
    /// One of the two below, for `attempt`, off the main queue. Where memory or threads are short nothing leaves, and
    /// the attempt falls silent.
    static void sendInBackground(const std::shared_ptr<Attempt> &attempt, Send send, const Bytes &input,
                                 ResponseBlock block);

    /// Opens a payment: `input` is "MSISDN||additional data||payment parameters" in UTF-8. Blocks for facts and
    /// sealing, so call it off the main queue; the exchange itself runs in the background. Fewer than three fields are
    /// a programming error.
    void sendTokenRequest(const Bytes &input, ResponseBlock block);
    /// Completes a payment with the payment screen's detail string. As above; no copy of it outlives the
    /// call.
    void sendPaymentRequest(const Bytes &input, ResponseBlock block);

    ResponseBlock tokenResponseBlock() const { return m_tokenResponseBlock; }
    void setTokenResponseBlock(ResponseBlock block) { m_tokenResponseBlock = std::move(block); }
    ResponseBlock paymentResponseBlock() const { return m_paymentResponseBlock; }
    void setPaymentResponseBlock(ResponseBlock block) { m_paymentResponseBlock = std::move(block); }

private:
    /// What an exchange's input says.
    struct Input
    {
        std::optional<QString> msisdn;
        Bytes applicationData; ///< May hold what the payer typed.
        QString additionalData;
    };
    /// In what an exchange differs from the others.
    struct Exchange
    {
        const char *name;
        bool isPayment;
        int messageType;
        int processingCode;
        /// Takes the input apart and keeps of it what later steps read; std::nullopt for one that is malformed.
        std::optional<Input> (*read)(const Bytes &input, UserDefaults &defaults);
        bool movesTrace;
        /// Keeps the answer's record.
        void (CoreFunctions::*store)(const QJsonValue &answer) const;
        ResponseBlock CoreNetworking::*answered;
        /// Told of an HTTP status other than 200.
        ResponseBlock CoreNetworking::*failed;
    };
    static const Exchange token;
    static const Exchange payment;

    explicit CoreNetworking(Surroundings surroundings) : m_surroundings(std::move(surroundings)) {}
    static std::optional<Input> readTokenInput(const Bytes &input, UserDefaults &defaults);
    static std::optional<Input> readPaymentInput(const Bytes &input, UserDefaults &defaults);
    /// Why a request can't be had.
    using Fault = Attempt::Silence;
    /// A request, but for the application data.
    struct Request
    {
        QJsonObject members;
        QString vulnerabilities;
        Bytes applicationData;
    };
    void send(const Exchange &exchange, const Bytes &input, ResponseBlock block);
    std::variant<Request, Fault> build(const Exchange &exchange, const Bytes &input) const;
    std::variant<QString, Fault> identity(const QString &key, const char *advice) const;
    void fallSilent(const Exchange &exchange, Fault fault) const;
    static void giveUp(Attempt &attempt, bool isPayment, Fault fault);
    void finish(const Exchange &exchange, const UrlResult &result) const;
    QJsonValue open(const QByteArray &body) const;

    const Surroundings m_surroundings;
    ResponseBlock m_tokenResponseBlock;
    ResponseBlock m_paymentResponseBlock;
};

} // namespace kelpay
