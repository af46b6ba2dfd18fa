#pragma once

#include <QJsonObject>
#include <QString>

#include <vector>

namespace kelpay::sandbox {

/// Which exchange a scenario can happen to.
enum class Side { Token, Payment, Both };

/// What goes wrong with an answer on its way.
enum class Fault {
    None,
    Status500,
    Status201,
    Redirect302,
    Redirect307,
    NotBase64,
    OtherKey,
    NotJson,
    JsonArray,
    EmptyBody,
    OneCharacter,
    CutWithLength,
    CutWithoutLength,
    ClosedUnanswered,
    Reset,
    Slow,
    Hang,
    Flood,
};

/// One thing that can happen to an exchange. A mobile number chooses it for the token, a card number or a saved card
/// for the payment.
struct Scenario
{
    int number = 0;
    Side side = Side::Both;
    QString effect{}; ///< for people
    int resultCode = 0;
    QString description{}; ///< `ds` of a declined answer
    Fault fault = Fault::None;
    /// Whether a payment that is otherwise in order is booked, though the client may not hear of it.
    bool booksPayment = true;
    /// Changes the plain answer; null for none.
    void (*alter)(QJsonObject &answer) = nullptr;
};

/// A saved card that the token answers offer.
struct SavedCard
{
    QString identifier;
    QString masked;
    QString expiry; ///< YYMM, or ""
    int scenario;
};

/// What the service refuses by its own rules, whatever the numbers say.
struct Refusal
{
    int resultCode;
    QString description;
    QString reason; ///< for people
};

namespace refusal {
inline constexpr int badMobileNumber = 411;
inline constexpr int badCardNumber = 14;
inline constexpr int paidBefore = 901;
inline constexpr int unknownToken = 902;
inline constexpr int foreignToken = 903;
inline constexpr int walletTooSmall = 904;
inline constexpr int noWallet = 905;
inline constexpr int unknownSavedCard = 906;
} // namespace refusal

const std::vector<Scenario> &scenarios();
const std::vector<SavedCard> &savedCards();
const std::vector<Refusal> &refusals();

/// The scenario that a number chooses; the plain one (number 0) where it chooses none of that side.
const Scenario &scenarioForMobile(const QString &msisdn);
const Scenario &scenarioForCard(const QString &card);
const Scenario &scenarioNumbered(int number, Side side);

/// The name by which a person chooses a scenario; unique.
QString scenarioName(int number);

/// "0912000" and the scenario's number in four digits.
QString mobileNumberFor(int scenario);
/// The issuer's six digits, six zeros, the scenario's number in three digits and the check digit.
QString cardNumberFor(int scenario, const QString &issuer);

bool passesCheckDigit(const QString &card);

/// The tables above as Markdown.
QString scenarioTables();

} // namespace kelpay::sandbox
