#pragma once

#include <QString>

#include <functional>
#include <memory>

namespace kelpay {

/// One exchange with the payment service: make a new one for each. It lives until its completion has run, whoever else
/// lets go of it.
class CoreNetworking : public std::enable_shared_from_this<CoreNetworking>
{
public:
    /// (ok, message, code): ("", "0") when ok, else the service's description and code, or those of a failed exchange.
    /// Called at most once, on the session's thread; never after a transport error.
    using ResponseBlock = std::function<void(bool ok, const QString &message, const QString &code)>;

    static std::shared_ptr<CoreNetworking> create();

    /// Opens a payment: `input` is "MSISDN||additional data||payment parameters". Blocks for facts and sealing, so call
    /// it off the main queue; the exchange itself runs in the background. Fewer than three fields are a programming
    /// error.
    void sendTokenRequest(const QString &input, ResponseBlock block);
    /// Completes a payment with the payment screen's detail string. As above.
    void sendPaymentRequest(const QString &input, ResponseBlock block);

    ResponseBlock tokenResponseBlock() const { return m_tokenResponseBlock; }
    void setTokenResponseBlock(ResponseBlock block) { m_tokenResponseBlock = std::move(block); }
    ResponseBlock paymentResponseBlock() const { return m_paymentResponseBlock; }
    void setPaymentResponseBlock(ResponseBlock block) { m_paymentResponseBlock = std::move(block); }

private:
    enum class Exchange { Token, Payment };
    struct Values;

    CoreNetworking() = default;
    void send(Exchange exchange, const Values &values);
    void finish(Exchange exchange, int status, const QByteArray &body) const;

    ResponseBlock m_tokenResponseBlock;
    ResponseBlock m_paymentResponseBlock;
};

} // namespace kelpay
