#include "sandbox/RequestCheck.h"

#include "Requests.h"
#include "sandbox/Masking.h"
#include "sandbox/PaymentDetail.h"

#include <QJsonArray>

#include <gtest/gtest.h>

namespace kelpay::sandbox::test {

using namespace Qt::StringLiterals;

namespace {

QJsonObject changed(QJsonObject request, QLatin1StringView key, const QJsonValue &value)
{
    request.insert(key, value);
    return request;
}

} // namespace

TEST(RequestCheck, NamesTheKeyThatIsWrong)
{
    const QJsonObject request = tokenRequest();
    for (const QString &key : request.keys()) {
        QJsonObject without = request;
        without.remove(key);
        EXPECT_EQ(requestViolation(without), u"key %1 is missing"_s.arg(key));
        EXPECT_TRUE(requestViolation(changed(request, QLatin1StringView(key.toLatin1()), QJsonValue::Null)))
            << qPrintable(key);
        EXPECT_TRUE(requestViolation(changed(request, QLatin1StringView(key.toLatin1()), QJsonArray())))
            << qPrintable(key);
    }
    const QJsonObject payment = paymentRequest({}, u"6037990000000006"_s);
    const std::pair<const char *, QJsonObject> broken[] = {
        {"a sixteenth key", changed(request, "zz"_L1, 1)},
        {"m as text", changed(request, "m"_L1, u"100"_s)},
        {"pc of a payment", changed(request, "pc"_L1, 200000)},
        {"ti 0", changed(request, "ti"_L1, 0)},
        {"ti with a fraction", changed(request, "ti"_L1, 300.5)},
        {"pn differs", changed(request, "pn"_L1, u"org.other"_s)},
        {"fp differs", changed(request, "fp"_L1, u"FFFFFFFF-0000-4000-8000-0123456789AB"_s)},
        {"lower-case identifier", changed(request, "di"_L1, request.value("di"_L1).toString().toLower())},
        {"24-hour clock", changed(request, "ct"_L1, u"2026-11-22 15:04:05"_s)},
        {"hour 0", changed(request, "ct"_L1, u"2026-11-22 00:04:05"_s)},
        {"no last semicolon", changed(request, "ar"_L1, u"0912;127.0.0.1"_s)},
        {"no address", changed(request, "ar"_L1, u"0912;;"_s)},
        {"version with a dot", changed(request, "vi"_L1, u"2.1;14"_s)},
        {"no SDK version", changed(request, "vi"_L1, u"210;"_s)},
        {"short device text", changed(request, "dd"_L1, u"APPL|x|y|z"_s)},
        {"ai in Persian digits", changed(request, "ai"_L1, u"۱"_s)},
        {"merchant that shares its identifier", changed(request, "mi"_L1, u"3088"_s)},
        {"ap with more", changed(request, "ap"_L1, QJsonObject{{"v"_L1, u""_s}, {"r"_L1, u""_s}, {"x"_L1, u""_s}})},
        {"ap without v", changed(request, "ap"_L1, QJsonObject{{"r"_L1, u""_s}})},
        {"ad of a payment", changed(payment, "ad"_L1, QJsonObject{{"r"_L1, u"extra"_s}})},
    };
    for (const auto &[name, object] : broken)
        EXPECT_TRUE(requestViolation(object)) << name;
}

TEST(PaymentDetail, FieldsFollowTheCode)
{
    const std::pair<const char *, bool> texts[] = {
        {"C|t|6037990000000006|12345|5|NA|NA|r|T", true},
        {"C|t|70010001|123456789012|59|123|0512|r|I", true},
        {"C|t|NA|NA|99|NA|NA|r|T", true},
        {"C|t|6037990000000006|1234|5|NA|NA|r|T", false},
        {"C|t|6037990000000006|1234567890123|5|NA|NA|r|T", false},
        {"C|t|NA|12345|5|NA|NA|r|T", false},
        {"C|t||12345|5|NA|NA|r|T", false},
        {"C|t|6037990000000006|12345|5|123|0512|r|T", false},
        {"C|t|6037990000000006|12345|59|NA|NA|r|T", false},
        {"C|t|6037990000000006|12345|59|12|0512|r|T", false},
        {"C|t|6037990000000006|12345|59|123|05/12|r|T", false},
        {"C|t|6037990000000006|12345|59|123|0513|r|T", false},
        {"C|t|6037990000000006|NA|99|NA|NA|r|T", false},
        {"C|t|6037990000000006|12345|6|NA|NA|r|T", false},
        {"C|t|6037990000000006|12345|5|NA|NA|r", false},
        {"C|t|6037990000000006|12345|5|NA|NA|r|T|", false},
        {"", false},
    };
    for (const auto &[text, good] : texts) {
        QString reason;
        EXPECT_EQ(PaymentDetail::parse(QString::fromLatin1(text), reason).has_value(), good) << text;
        EXPECT_EQ(reason.isEmpty(), good) << text;
    }
}

TEST(Masking, LeavesNoCardDataWhereverItStands)
{
    const QString card = u"6037990000000006"_s;
    QJsonObject payment =
        paymentRequest(QJsonObject{{"rd"_L1, QJsonObject{{"t"_L1, u"secret-token"_s}}}}, card, u"59"_s);
    const QString inOrder = QString::fromUtf8(compact(maskRequest(payment)));
    EXPECT_TRUE(inOrder.contains(u"C1|t:"_s));
    EXPECT_TRUE(inOrder.contains(u"|603799******0006|len:5|59|len:3|len:4|"_s));

    payment.insert("dd"_L1, card);
    payment.insert("ti"_L1, 6037990000000006.0);
    payment.insert("ad"_L1, QJsonObject{{"r"_L1, u"x"_s + card}});
    const QString detail = payment.value("ap"_L1).toObject().value("r"_L1).toString();
    const QString spoilt[] = {detail, detail + u"|"_s, u"13579"_s,
                              QString(detail).replace(card, u"۶۰۳۷۹۹۰۰۰۰۰۰۰۰۰۶"_s)};
    for (const int mode : {100, 200, 300}) {
        for (const QString &text : spoilt) {
            // A token request's parameters are no secret; only numbers as long as a card's are hidden there.
            if (mode == 100 && text != detail)
                continue;
            payment.insert("m"_L1, mode);
            payment.insert("ap"_L1, QJsonObject{{"v"_L1, u""_s}, {"r"_L1, text}});
            const QString masked = QString::fromUtf8(compact(maskRequest(payment)));
            EXPECT_FALSE(masked.contains(card)) << mode;
            EXPECT_FALSE(masked.contains(u"۶۰۳۷۹۹۰۰۰۰۰۰۰۰۰۶"_s)) << mode;
            EXPECT_TRUE(mode == 100 || !masked.contains(u"13579"_s)) << mode;
            EXPECT_TRUE(mode == 100 || !masked.contains(u"secret-token"_s)) << mode;
        }
    }
}

} // namespace kelpay::sandbox::test
