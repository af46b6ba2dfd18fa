#include "Cashier.h"

#include "Masking.h"
#include "RequestCheck.h"

#include <QDateTime>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <array>

namespace kelpay::sandbox {

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 defaultAmount = 1'250'000;

// Up to 2000000 rials: 505416 stays with the PIN-only form, 636214 needs the full one, 606373 may not pay.
const QString standardRules = u"505416;5;0;5000000|636214;5;0;1|606373;5;0;1|606373;59;0;1|"_s;

QString randomHex()
{
    std::array<quint32, 4> words{};
    QRandomGenerator::system()->fillRange(words.data(), words.size());
    return QString::fromLatin1(
        QByteArray::fromRawData(reinterpret_cast<const char *>(words.data()), sizeof words).toHex());
}

QString randomNumber(int digits)
{
    QString number = QString::number(QRandomGenerator::system()->bounded(1, 10));
    while (number.size() < digits)
        number += QString::number(QRandomGenerator::system()->bounded(10));
    return number;
}

QString piece(const QString &parameters, int index)
{
    return parameters.section(u'|', index, index);
}

bool isMobileNumber(const QString &msisdn)
{
    static const QRegularExpression mobile(u"^09[0-9]{9}$"_s);
    return mobile.match(msisdn).hasMatch();
}

QJsonObject answerTo(const QJsonObject &request, int resultCode, const QString &description)
{
    return {{"st"_L1, QDateTime::currentDateTime().toString(u"yyyy-MM-dd HH:mm:ss"_s)},
            {"sm"_L1, 0},
            {"ti"_L1, request.value("ti"_L1)},
            {"rc"_L1, resultCode},
            {"m"_L1, request.value("m"_L1)},
            {"ds"_L1, description},
            {"rd"_L1, QJsonValue::Null}};
}

QString refusalText(int resultCode)
{
    const auto found = std::find_if(refusals().begin(), refusals().end(),
                                    [=](const Refusal &refusal) { return refusal.resultCode == resultCode; });
    return found == refusals().end() ? QString() : found->description;
}

Outcome refuse(const QJsonObject &request, int resultCode, Outcome outcome = {})
{
    outcome.answer = answerTo(request, resultCode, refusalText(resultCode));
    outcome.scenario = &scenarios().front();
    return outcome;
}

bool isApproved(const QJsonObject &answer)
{
    return answer.value("rc"_L1).toVariant().toDouble() == 0;
}

/// What field 9 of the detail string has to hold.
QString terminalFor(const Purchase &purchase, PaymentForm form)
{
    switch (form) {
    case PaymentForm::PinOnly:
        return purchase.terminalPin.value_or(u"(null)"_s);
    case PaymentForm::Full:
        return purchase.terminalFull;
    case PaymentForm::Wallet:
        return purchase.terminalPin.value_or(purchase.terminalFull);
    }
    return {};
}

std::optional<QString> mismatch(const Purchase &purchase, const PaymentDetail &detail, const QJsonObject &request)
{
    if (request.value("ti"_L1).toInteger() != purchase.trace)
        return u"ti is not that of the token's request"_s;
    if (detail.code != purchase.code)
        return u"field 1 of the detail string is not the code of the payment parameters"_s;
    if (detail.reference != purchase.reference)
        return u"field 8 of the detail string is not the token's reference number"_s;
    if (detail.form == PaymentForm::PinOnly && purchase.terminalPin == "NA"_L1)
        return u"code 5 where the token allows the full form only"_s;
    if (detail.terminal != terminalFor(purchase, detail.form))
        return u"field 9 of the detail string is not the terminal for code %1"_s.arg(static_cast<int>(detail.form));
    return std::nullopt;
}

const SavedCard *offeredCard(const Purchase &purchase, const QString &identifier)
{
    const auto found = std::find_if(savedCards().begin(), savedCards().end(), [&](const SavedCard &card) {
        return card.identifier == identifier && purchase.savedCards.contains(identifier + u'.');
    });
    return found == savedCards().end() ? nullptr : &*found;
}

int walletRefusal(const Purchase &purchase)
{
    bool hasWallet = false;
    const qint64 balance = purchase.walletBalance.toLongLong(&hasWallet);
    return !hasWallet ? refusal::noWallet : balance < purchase.amount ? refusal::walletTooSmall : 0;
}

/// A recorded answer made to fit the request that came: its trace number where it was that of the recorded request, and
/// a token and a page of its own.
QJsonObject refit(QJsonObject answer, const Direction &direction, const QJsonObject &request,
                  const QJsonObject &fresh = {})
{
    if (answer.value("ti"_L1) == direction.request.value("ti"_L1))
        answer.insert("ti"_L1, request.value("ti"_L1));
    QJsonObject detail = answer.value("rd"_L1).toObject();
    for (const QLatin1String key : {"t"_L1, "vu"_L1}) {
        if (detail.contains(key) && fresh.contains(key))
            detail.insert(key, fresh.value(key));
    }
    if (!detail.isEmpty())
        answer.insert("rd"_L1, detail);
    return answer;
}

} // namespace

Cashier::Cashier(Ledger &ledger, const QString &verifyBase) : m_ledger(ledger), m_verifyBase(verifyBase) {}

Outcome Cashier::serve(const QJsonObject &request, const Direction &direction)
{
    return kindOf(request) == RequestKind::Token ? issueToken(request, direction) : takePayment(request, direction);
}

QJsonObject Cashier::tokenDetails(const QString &token, const QString &page, const Purchase &purchase) const
{
    return {{"amn"_L1, QString::number(purchase.amount)},
            {"t"_L1, token},
            {"pl"_L1, QString(u""_s)},
            {"ta"_L1, u"T"_s + randomNumber(7)},
            {"tb"_L1, u"I"_s + randomNumber(7)},
            {"bl"_L1, standardRules},
            {"mn"_L1, u"فروشگاه نمونه"_s},
            {"ttl"_L1, purchase.title},
            {"rn"_L1, randomNumber(12)},
            {"vu"_L1, m_verifyBase + page},
            {"wb"_L1, u"NA"_s},
            {"wl"_L1, u"NA"_s},
            {"ldc"_L1, u"false"_s}};
}

Outcome Cashier::issueToken(const QJsonObject &request, const Direction &direction)
{
    Purchase purchase;
    purchase.msisdn = msisdnOf(request);
    if (!isMobileNumber(purchase.msisdn))
        return refuse(request, refusal::badMobileNumber);
    const QString parameters = request.value("ap"_L1).toObject().value("r"_L1).toString();
    purchase.merchantId = request.value("mi"_L1).toString();
    purchase.device = request.value("di"_L1).toString();
    purchase.trace = request.value("ti"_L1).toInteger();
    purchase.code = piece(parameters, 0);
    const qint64 amount = piece(parameters, 1).toLongLong();
    purchase.amount = amount > 0 ? amount : defaultAmount;
    purchase.title = piece(parameters, 2).isEmpty() ? u"خرید آزمایشی"_s : piece(parameters, 2);
    bool isNumber = false;
    const int paymentScenario = piece(parameters, 3).toInt(&isNumber);
    purchase.paymentScenario = isNumber ? paymentScenario : -1;
    purchase.page = randomHex();

    const QString token = randomHex();
    const Scenario &scenario = direction.scenario ? *direction.scenario : scenarioForMobile(purchase.msisdn);
    QJsonObject answer = answerTo(request, scenario.resultCode, scenario.description);
    answer.insert("pc"_L1, request.value("pc"_L1));
    answer.insert("ard"_L1, QJsonObject{{"r"_L1, randomNumber(4)}});
    if (scenario.resultCode == 0)
        answer.insert("rd"_L1, tokenDetails(token, purchase.page, purchase));
    if (scenario.alter)
        scenario.alter(answer);
    if (direction.answer)
        answer = refit(*direction.answer, direction, request, tokenDetails(token, purchase.page, purchase));

    Outcome outcome{.answer = answer, .scenario = &scenario, .amount = purchase.amount};
    if (!isApproved(answer))
        return outcome;
    const QJsonObject detail = answer.value("rd"_L1).toObject();
    purchase.merchantName = detail.value("mn"_L1).toString();
    purchase.title = detail.value("ttl"_L1).toString();
    purchase.reference = detail.value("rn"_L1).toString();
    if (detail.contains("ta"_L1))
        purchase.terminalPin = detail.value("ta"_L1).toString();
    purchase.terminalFull = detail.value("tb"_L1).toString();
    purchase.walletBalance = detail.value("wb"_L1).toString();
    purchase.savedCards = detail.value("pl"_L1).toString();
    m_ledger.addToken(token, purchase);
    outcome.tokenName = tokenName(token);
    return outcome;
}

/// The scenario of a payment; `refused` is the service's own reason to refuse it, or 0.
const Scenario &Cashier::chooseScenario(const Purchase &purchase, const PaymentDetail &detail,
                                        const Direction &direction, int &refused) const
{
    int number = 0;
    if (detail.form == PaymentForm::Wallet) {
        refused = walletRefusal(purchase);
    } else if (const SavedCard *saved = offeredCard(purchase, detail.card)) {
        number = saved->scenario;
    } else if (passesCheckDigit(detail.card)) {
        number = scenarioForCard(detail.card).number;
    } else {
        refused = detail.card.size() < 15 ? refusal::unknownSavedCard : refusal::badCardNumber;
    }
    if (direction.answer)
        refused = 0;
    if (direction.scenario)
        return *direction.scenario;
    return scenarioNumbered(purchase.paymentScenario < 0 ? number : purchase.paymentScenario, Side::Payment);
}

Outcome Cashier::takePayment(const QJsonObject &request, const Direction &direction)
{
    QString reason;
    const auto detail = PaymentDetail::parse(request.value("ap"_L1).toObject().value("r"_L1).toString(), reason);
    if (!detail)
        return {.violation = reason};
    Outcome outcome{.tokenName = tokenName(detail->token)};
    const auto purchase = m_ledger.purchaseForPayment(detail->token);
    if (!purchase)
        return refuse(request, refusal::unknownToken, outcome);
    outcome.posts = purchase->posts;
    outcome.amount = purchase->amount;
    if (request.value("mi"_L1) != purchase->merchantId || request.value("di"_L1) != purchase->device ||
        msisdnOf(request) != purchase->msisdn)
        return refuse(request, refusal::foreignToken, outcome);
    outcome.violation = mismatch(*purchase, *detail, request);
    if (outcome.violation)
        return outcome;

    int refused = 0;
    const Scenario &scenario = chooseScenario(*purchase, *detail, direction, refused);
    const bool books = direction.answer ? scenario.booksPayment && isApproved(*direction.answer)
                                        : refused == 0 && scenario.booksPayment;
    const bool isBooked = !purchase->paid && (!books || m_ledger.pay(purchase->id));
    if (!isBooked && !direction.answer)
        refused = refusal::paidBefore;
    Payment payment{.purchase = purchase->id, .form = QString::number(static_cast<int>(detail->form))};
    payment.maskedCard = detail->form == PaymentForm::Wallet ? u"NA"_s : maskCard(detail->card);
    if (refused != 0) {
        outcome = refuse(request, refused, outcome);
    } else {
        outcome.scenario = &scenario;
        outcome.answer = answerTo(request, scenario.resultCode, scenario.description);
        if (scenario.resultCode == 0) {
            payment.trackingNumber = randomNumber(12);
            payment.referenceNumber = randomNumber(10);
            outcome.answer.insert("rd"_L1,
                                  QJsonObject{{"urn"_L1, payment.trackingNumber}, {"mrn"_L1, payment.referenceNumber}});
        }
        if (scenario.alter)
            scenario.alter(outcome.answer);
        if (direction.answer)
            outcome.answer = refit(*direction.answer, direction, request);
    }
    payment.resultCode = outcome.answer.value("rc"_L1).toVariant().toInt();
    m_ledger.addPayment(payment);
    return outcome;
}

} // namespace kelpay::sandbox
