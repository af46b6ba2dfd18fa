#include "Scenarios.h"

#include <QJsonValue>
#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <array>

namespace kelpay::sandbox {

using namespace Qt::StringLiterals;

namespace {

constexpr auto mobilePrefix = "0912000"_L1;
constexpr auto magicZeros = "000000"_L1;

void setDetail(QJsonObject &answer, QLatin1String key, const QJsonValue &value)
{
    QJsonObject detail = answer.value("rd"_L1).toObject();
    if (value.isUndefined())
        detail.remove(key);
    else
        detail.insert(key, value);
    answer.insert("rd"_L1, detail);
}

/// The saved cards as the answer lists them; those at `defaults` are marked as default.
QString savedCardList(std::initializer_list<int> defaults)
{
    QString list;
    int index = 0;
    for (const SavedCard &card : savedCards()) {
        const bool isDefault = std::find(defaults.begin(), defaults.end(), index++) != defaults.end();
        list += u"%1.%2.%3.%4;"_s.arg(card.identifier, isDefault ? u"d"_s : u"n"_s, card.masked, card.expiry);
    }
    return list;
}

std::vector<Scenario> declines()
{
    const std::vector<Refusal> table = {
        {14, u"شماره کارت نامعتبر است"_s, u"invalid card number"_s},
        {41, u"کارت مسدود است"_s, u"blocked card"_s},
        {51, u"موجودی حساب کافی نیست"_s, u"insufficient funds"_s},
        {54, u"تاریخ انقضای کارت گذشته است"_s, u"expired card"_s},
        {55, u"رمز کارت اشتباه است"_s, u"wrong PIN"_s},
        {57, u"این کارت اجازه انجام این تراکنش را ندارد"_s, u"not permitted to this card"_s},
        {58, u"پایانه مجاز به انجام این تراکنش نیست"_s, u"not permitted to this terminal"_s},
        {61, u"مبلغ بیش از سقف مجاز کارت است"_s, u"amount above the card's limit"_s},
        {75, u"تعداد دفعات ورود رمز اشتباه بیش از حد مجاز است"_s, u"too many wrong PINs"_s},
        {81, u"تاریخ انقضای کارت صحیح نیست"_s, u"wrong expiry date"_s},
        {82, u"کد CVV2 صحیح نیست"_s, u"wrong CVV2"_s},
        {91, u"بانک صادرکننده پاسخگو نیست"_s, u"issuer unavailable"_s},
    };
    std::vector<Scenario> rows;
    rows.reserve(table.size());
    for (const Refusal &decline : table)
        rows.push_back({.number = decline.resultCode,
                        .side = Side::Payment,
                        .effect = u"declined: "_s + decline.reason,
                        .resultCode = decline.resultCode,
                        .description = decline.description,
                        .booksPayment = false});
    return rows;
}

Scenario content(int number, const char *effect, void (*alter)(QJsonObject &))
{
    return {.number = number, .side = Side::Token, .effect = QString::fromUtf8(effect), .alter = alter};
}

std::vector<Scenario> tokenContents()
{
    return {
        content(101, "saved cards with and without expiry, no default",
                [](QJsonObject &a) { setDetail(a, "pl"_L1, savedCardList({})); }),
        content(102, "saved cards, the first is the default",
                [](QJsonObject &a) { setDetail(a, "pl"_L1, savedCardList({0})); }),
        content(103, "saved cards, two defaults; the later one (the fourth card) counts",
                [](QJsonObject &a) {
                    setDetail(a, "pl"_L1, savedCardList({0, 3}));
                }),
        content(104, "a malformed entry between saved cards, the first is the default",
                [](QJsonObject &a) {
                    setDetail(a, "pl"_L1, savedCardList({0}).replace("70010002.n."_L1, "garbled;70010002.n."_L1));
                }),
        content(105, "`ldc` is \"true\": the default saved card is fixed",
                [](QJsonObject &a) {
                    setDetail(a, "pl"_L1, savedCardList({0}));
                    setDetail(a, "ldc"_L1, u"true"_s);
                }),
        content(106, "`ta` is \"NA\": the full form whatever the amount",
                [](QJsonObject &a) { setDetail(a, "ta"_L1, u"NA"_s); }),
        content(107, "wallet with 50000000 rials", [](QJsonObject &a) { setDetail(a, "wb"_L1, u"50000000"_s); }),
        content(108, "wallet with 1000 rials", [](QJsonObject &a) { setDetail(a, "wb"_L1, u"1000"_s); }),
        content(109, "wallet with 50000000 rials, `ta` absent",
                [](QJsonObject &a) {
                    setDetail(a, "wb"_L1, u"50000000"_s);
                    setDetail(a, "ta"_L1, QJsonValue::Undefined);
                }),
        content(110, "`vu` absent: the merchant can't be verified",
                [](QJsonObject &a) { setDetail(a, "vu"_L1, QJsonValue::Undefined); }),
        content(
            111, "very long merchant name and title",
            [](QJsonObject &a) {
                setDetail(
                    a, "mn"_L1,
                    u"فروشگاه زنجیره‌ای نمونه با نامی بسیار بلند که در یک سطر جا نمی‌شود "_s
                        .repeated(3)
                        .trimmed());
                setDetail(a, "ttl"_L1, u"شرح خریدی که بیش از اندازه طولانی است "_s.repeated(4).trimmed());
            }),
        content(112, "`bl` is \"\"", [](QJsonObject &a) { setDetail(a, "bl"_L1, u""_s); }),
        content(113, "`bl` absent", [](QJsonObject &a) { setDetail(a, "bl"_L1, QJsonValue::Undefined); }),
        content(114, "`bl` with an entry for 603799 that has no code",
                [](QJsonObject &a) { setDetail(a, "bl"_L1, u"603799|"_s); }),
        content(115, "`amn` is a number instead of text",
                [](QJsonObject &a) {
                    setDetail(a, "amn"_L1, a.value("rd"_L1).toObject().value("amn"_L1).toString().toDouble());
                }),
        content(116, "saved cards, the second, without expiry, is the default",
                [](QJsonObject &a) { setDetail(a, "pl"_L1, savedCardList({1})); }),
        content(117, "`pl` is text without a \";\"", [](QJsonObject &a) { setDetail(a, "pl"_L1, u"garbled"_s); }),
        content(118, "`rd` and `ard` are null",
                [](QJsonObject &a) {
                    a.insert("rd"_L1, QJsonValue::Null);
                    a.insert("ard"_L1, QJsonValue::Null);
                }),
    };
}

std::vector<Scenario> oddAnswers()
{
    return {
        {.number = 201,
         .effect = u"`rc` is the text \"51\""_s,
         .booksPayment = false,
         .alter =
             [](QJsonObject &a) {
                 a.insert("rc"_L1, u"51"_s);
                 a.insert("ds"_L1, u"موجودی حساب کافی نیست"_s);
             }},
        {.number = 202,
         .effect = u"`rc` 96 with `ds` null"_s,
         .resultCode = 96,
         .booksPayment = false,
         .alter = [](QJsonObject &a) { a.insert("ds"_L1, QJsonValue::Null); }},
        {.number = 203,
         .side = Side::Payment,
         .effect = u"`rc` 0 with `ti` 0"_s,
         .booksPayment = false,
         .alter = [](QJsonObject &a) { a.insert("ti"_L1, 0); }},
        {.number = 204,
         .side = Side::Payment,
         .effect = u"approved, `rd` null"_s,
         .alter = [](QJsonObject &a) { a.insert("rd"_L1, QJsonValue::Null); }},
        {.number = 205,
         .side = Side::Payment,
         .effect = u"approved, `st` null"_s,
         .alter = [](QJsonObject &a) { a.insert("st"_L1, QJsonValue::Null); }},
        {.number = 206,
         .side = Side::Payment,
         .effect = u"approved, `urn` and `mrn` are numbers"_s,
         .alter =
             [](QJsonObject &a) {
                 const QJsonObject detail = a.value("rd"_L1).toObject();
                 for (const auto key : {"urn"_L1, "mrn"_L1})
                     setDetail(a, key, detail.value(key).toString().toDouble());
             }},
    };
}

std::vector<Scenario> tokenRefusals()
{
    const auto refused = [](int code, const char *effect, const QString &description) {
        return Scenario{.number = code,
                        .side = Side::Token,
                        .effect = u"refused: "_s + QString::fromUtf8(effect),
                        .resultCode = code,
                        .description = description};
    };
    return {refused(410, "unknown merchant", u"پذیرنده ناشناخته است"_s),
            refused(refusal::badMobileNumber, "bad mobile number", u"شماره همراه معتبر نیست"_s),
            refused(412, "suspended merchant", u"پذیرنده غیرفعال است"_s)};
}

std::vector<Scenario> wireFaults()
{
    const auto fault = [](int number, Fault kind, const char *effect, bool books = true) {
        return Scenario{.number = number, .effect = QString::fromUtf8(effect), .fault = kind, .booksPayment = books};
    };
    return {
        fault(500, Fault::Status500, "HTTP 500 with a body that would open", false),
        fault(501, Fault::Redirect302, "HTTP 302 to /redirected", false),
        fault(502, Fault::Redirect307, "HTTP 307 to /redirected", false),
        fault(503, Fault::Status201, "HTTP 201 with a body that would open"),
        fault(510, Fault::NotBase64, "an answer that is not base64"),
        fault(511, Fault::OtherKey, "an answer under another key"),
        fault(512, Fault::NotJson, "an answer that opens to no JSON"),
        fault(513, Fault::JsonArray, "an answer that opens to a JSON array"),
        fault(514, Fault::EmptyBody, "an empty body"),
        fault(515, Fault::OneCharacter, "a body of one character"),
        fault(520, Fault::CutWithLength, "the connection is cut in mid-answer, length announced"),
        fault(521, Fault::CutWithoutLength, "the connection is cut in mid-answer, no length announced"),
        fault(522, Fault::ClosedUnanswered, "the connection is closed without an answer"),
        fault(523, Fault::Reset, "the connection is reset without an answer"),
        fault(524, Fault::Slow, "the answer takes 3 seconds"),
        fault(525, Fault::Hang, "no answer; the connection is closed after 75 seconds (`--hang`)"),
        fault(526, Fault::Flood, "a body of 17 MiB, no length announced"),
    };
}

struct Named
{
    int number;
    QLatin1String name;
};

constexpr std::array names = {
    Named{0, "approved"_L1},
    Named{14, "invalid-card"_L1},
    Named{41, "blocked-card"_L1},
    Named{51, "insufficient-funds"_L1},
    Named{54, "expired-card"_L1},
    Named{55, "wrong-pin"_L1},
    Named{57, "card-not-permitted"_L1},
    Named{58, "terminal-not-permitted"_L1},
    Named{61, "above-limit"_L1},
    Named{75, "too-many-pins"_L1},
    Named{81, "wrong-expiry"_L1},
    Named{82, "wrong-cvv2"_L1},
    Named{91, "issuer-unavailable"_L1},
    Named{101, "saved-cards"_L1},
    Named{102, "default-card"_L1},
    Named{103, "two-defaults"_L1},
    Named{104, "malformed-card"_L1},
    Named{105, "fixed-card"_L1},
    Named{106, "full-form"_L1},
    Named{107, "wallet"_L1},
    Named{108, "small-wallet"_L1},
    Named{109, "wallet-only-full-form"_L1},
    Named{110, "no-verification"_L1},
    Named{111, "long-names"_L1},
    Named{112, "empty-rules"_L1},
    Named{113, "no-rules"_L1},
    Named{114, "rule-without-code"_L1},
    Named{115, "amount-as-number"_L1},
    Named{116, "default-without-expiry"_L1},
    Named{117, "garbled-cards"_L1},
    Named{118, "null-details"_L1},
    Named{201, "code-as-text"_L1},
    Named{202, "null-description"_L1},
    Named{203, "zero-trace"_L1},
    Named{204, "null-receipt"_L1},
    Named{205, "null-time"_L1},
    Named{206, "numbers-as-numbers"_L1},
    Named{410, "unknown-merchant"_L1},
    Named{411, "bad-mobile"_L1},
    Named{412, "suspended-merchant"_L1},
    Named{500, "http-500"_L1},
    Named{501, "redirect-302"_L1},
    Named{502, "redirect-307"_L1},
    Named{503, "http-201"_L1},
    Named{510, "not-base64"_L1},
    Named{511, "other-key"_L1},
    Named{512, "not-json"_L1},
    Named{513, "json-array"_L1},
    Named{514, "empty-body"_L1},
    Named{515, "one-character"_L1},
    Named{520, "cut"_L1},
    Named{521, "cut-without-length"_L1},
    Named{522, "closed"_L1},
    Named{523, "reset"_L1},
    Named{524, "slow"_L1},
    Named{525, "hang"_L1},
    Named{526, "flood"_L1},
};

int checkDigit(const QString &firstFifteen)
{
    int sum = 0;
    for (qsizetype i = 0; i < 15; ++i) {
        const int doubled = firstFifteen[i].digitValue() * (i % 2 == 0 ? 2 : 1);
        sum += doubled > 9 ? doubled - 9 : doubled;
    }
    return (10 - sum % 10) % 10;
}

} // namespace

const std::vector<Scenario> &scenarios()
{
    static const std::vector<Scenario> all = [] {
        std::vector<Scenario> rows = {{.number = 0, .effect = u"approved, nothing special"_s}};
        for (const auto &part : {declines(), tokenContents(), oddAnswers(), tokenRefusals(), wireFaults()})
            rows.insert(rows.end(), part.begin(), part.end());
        return rows;
    }();
    return all;
}

const std::vector<SavedCard> &savedCards()
{
    static const std::vector<SavedCard> cards = {
        {u"70010001"_s, u"603799******1118"_s, u"0512"_s, 0},
        {u"70010002"_s, u"610433******2226"_s, u""_s, 0},
        {u"70010003"_s, u"621986******3334"_s, u"0503"_s, 51},
        {u"70010004"_s, u"639346******4442"_s, u"0510"_s, 0},
    };
    return cards;
}

const std::vector<Refusal> &refusals()
{
    static const std::vector<Refusal> table = {
        {refusal::badMobileNumber, u"شماره همراه معتبر نیست"_s, u"the mobile number is not 09 and nine more digits"_s},
        {refusal::badCardNumber, u"شماره کارت نامعتبر است"_s,
         u"the card number has not 16 digits, or a wrong check digit"_s},
        {refusal::paidBefore, u"این پرداخت پیش‌تر انجام شده است"_s,
         u"the token has been paid before"_s},
        {refusal::unknownToken, u"نشانه پرداخت ناشناخته است"_s, u"no such token was issued"_s},
        {refusal::foreignToken, u"نشانه پرداخت متعلق به درخواست دیگری است"_s,
         u"the token was issued to another merchant, device or mobile number"_s},
        {refusal::walletTooSmall, u"موجودی کیف پول کافی نیست"_s, u"the wallet holds less than the amount"_s},
        {refusal::noWallet, u"کیف پولی برای این شماره وجود ندارد"_s, u"the payer has no wallet"_s},
        {refusal::unknownSavedCard, u"کارت ذخیره شده یافت نشد"_s, u"the token's answer offered no such saved card"_s},
    };
    return table;
}

const Scenario &scenarioNumbered(int number, Side side)
{
    const auto found = std::find_if(scenarios().begin(), scenarios().end(), [&](const Scenario &scenario) {
        return scenario.number == number && (scenario.side == side || scenario.side == Side::Both);
    });
    return found == scenarios().end() ? scenarios().front() : *found;
}

const Scenario &scenarioForMobile(const QString &msisdn)
{
    const bool isMagic = msisdn.size() == 11 && msisdn.startsWith(mobilePrefix);
    return scenarioNumbered(isMagic ? msisdn.last(4).toInt() : 0, Side::Token);
}

const Scenario &scenarioForCard(const QString &card)
{
    const bool isMagic = card.size() == 16 && card.mid(6, 6) == magicZeros;
    return scenarioNumbered(isMagic ? card.mid(12, 3).toInt() : 0, Side::Payment);
}

QString scenarioName(int number)
{
    const auto found = std::find_if(names.begin(), names.end(), [=](const Named &row) { return row.number == number; });
    return found == names.end() ? QString() : QString(found->name);
}

QString mobileNumberFor(int scenario)
{
    return mobilePrefix + u"%1"_s.arg(scenario, 4, 10, QChar(u'0'));
}

QString cardNumberFor(int scenario, const QString &issuer)
{
    const QString digits = issuer + magicZeros + u"%1"_s.arg(scenario, 3, 10, QChar(u'0'));
    return digits + QString::number(checkDigit(digits));
}

bool passesCheckDigit(const QString &card)
{
    static const QRegularExpression sixteenDigits(u"^[0-9]{16}$"_s);
    return sixteenDigits.match(card).hasMatch() && card[15].digitValue() == checkDigit(card.first(15));
}

QString scenarioTables()
{
    QString text =
        u"| Number | Name | Mobile number (token) | Card (payment) | `rc` | Books the payment | What happens |\n"
        "|---|---|---|---|---|---|---|\n"_s;
    for (const Scenario &scenario : scenarios()) {
        const bool onToken = scenario.side != Side::Payment;
        const bool onPayment = scenario.side != Side::Token;
        text += u"| %1 | %2 | %3 | %4 | %5 | %6 | %7 |\n"_s.arg(
            QString::number(scenario.number), scenarioName(scenario.number),
            onToken ? mobileNumberFor(scenario.number) : u"–"_s,
            onPayment ? cardNumberFor(scenario.number, u"603799"_s) : u"–"_s, QString::number(scenario.resultCode),
            onPayment ? (scenario.booksPayment ? u"yes"_s : u"no"_s) : u"–"_s, scenario.effect);
    }
    text += u"\n| Saved card | Shown as | Expiry | Scenario |\n|---|---|---|---|\n"_s;
    for (const SavedCard &card : savedCards())
        text += u"| %1 | `%2` | %3 | %4 |\n"_s.arg(card.identifier, card.masked,
                                                   card.expiry.isEmpty() ? u"none"_s : card.expiry,
                                                   QString::number(card.scenario));
    text += u"\n| `rc` | `ds` | Refused because |\n|---|---|---|\n"_s;
    for (const Refusal &row : refusals())
        text += u"| %1 | %2 | %3 |\n"_s.arg(QString::number(row.resultCode), row.description, row.reason);
    return text;
}

} // namespace kelpay::sandbox
