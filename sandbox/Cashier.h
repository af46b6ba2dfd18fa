#pragma once

#include "Director.h"
#include "Ledger.h"
#include "PaymentDetail.h"
#include "Scenarios.h"

#include <QJsonObject>
#include <QString>

#include <optional>

namespace kelpay::sandbox {

/// What becomes of one request.
struct Outcome
{
    /// What the request breaks; the rest is empty then, but for the token's name and count.
    std::optional<QString> violation{};
    QJsonObject answer{};
    const Scenario *scenario = nullptr;
    QString tokenName{};
    int posts = 0;           ///< payments received for the token, this one included
    std::int64_t amount = 0; ///< rials
};

/// Issues tokens and takes payments, by the scenarios. Knows nothing of HTTP or envelopes. Any thread.
class Cashier
{
public:
    /// `verifyBase` is what verification links begin with, "https://127.0.0.1:1443/verify/".
    Cashier(Ledger &ledger, const QString &verifyBase);

    /// `request` has to have passed `requestViolation`.
    Outcome serve(const QJsonObject &request, const Direction &direction = {});

private:
    Outcome issueToken(const QJsonObject &request, const Direction &direction);
    Outcome takePayment(const QJsonObject &request, const Direction &direction);
    const Scenario &chooseScenario(const Purchase &purchase, const PaymentDetail &detail, const Direction &direction,
                                   int &refused) const;
    QJsonObject tokenDetails(const QString &token, const QString &page, const Purchase &purchase) const;

    Ledger &m_ledger;
    QString m_verifyBase;
};

} // namespace kelpay::sandbox
