#pragma once

#include "platform/SqliteStore.h"

#include <QJsonArray>
#include <QString>

#include <cstdint>
#include <memory>
#include <optional>

namespace kelpay::sandbox {

/// What a token was issued for.
struct Purchase
{
    std::int64_t id = 0;
    QString page; ///< identifier of the merchant's verification page
    QString msisdn;
    QString merchantId;
    QString device;
    std::int64_t trace = 0;
    QString code; ///< first piece of the payment parameters
    std::int64_t amount = 0;
    QString title;
    QString merchantName;
    QString reference;
    std::optional<QString> terminalPin; ///< `ta`; "NA" for none, std::nullopt when the answer left it out
    QString terminalFull;               ///< `tb`
    QString walletBalance;              ///< rials, or "NA"
    QString savedCards;                 ///< `pl`
    int paymentScenario = -1;           ///< what happens to the payment whatever the card; -1 leaves it to the card
    bool paid = false;
    int posts = 0; ///< payments received for this token, this one included
};

/// One payment as it is booked. Card numbers are masked before they come here.
struct Payment
{
    std::int64_t purchase = 0;
    QString form{};
    QString maskedCard{};
    int resultCode = 0;
    QString trackingNumber{};
    QString referenceNumber{};
};

/// Every token and every payment, in one SQLite file. Tokens are kept as digests; PINs and CVV2s never come here. Any
/// thread; several services may share a file.
class Ledger
{
public:
    /// Null, with a log line, where the file can't be used.
    static std::unique_ptr<Ledger> open(const QString &path);

    /// False when it could not be written.
    bool addToken(const QString &token, const Purchase &purchase);
    /// Counts one more payment received for `token` and gives its purchase; std::nullopt for an unknown token.
    std::optional<Purchase> purchaseForPayment(const QString &token);
    std::optional<Purchase> purchaseForPage(const QString &page);
    /// Marks the purchase paid. True once.
    bool pay(std::int64_t purchase);
    bool addPayment(const Payment &payment);
    /// The latest purchases with their payments, the newest first, for people.
    QJsonArray latest(int count);

private:
    explicit Ledger(const QString &path);
    std::optional<Purchase> find(const QString &column, const QString &value);

    SqliteStore m_store;
};

} // namespace kelpay::sandbox
