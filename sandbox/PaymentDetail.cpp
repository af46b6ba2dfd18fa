#include "PaymentDetail.h"

#include <QRegularExpression>
#include <QStringList>

#include <array>

namespace kelpay::sandbox {

using namespace Qt::StringLiterals;

namespace {

struct FormRules
{
    PaymentForm form;
    QLatin1String card;
    QLatin1String pin;
    QLatin1String cvv2;
    QLatin1String expiry;
};

// A saved card's identifier is any text of its own; whether it exists is the ledger's business.
constexpr auto cardPattern = "(?!NA$)[^|]+"_L1;
constexpr auto pinPattern = "[0-9]{5,12}"_L1;

constexpr std::array formRules = {
    FormRules{PaymentForm::PinOnly, cardPattern, pinPattern, "NA"_L1, "NA"_L1},
    FormRules{PaymentForm::Full, cardPattern, pinPattern, "[0-9]{3,6}"_L1, "[0-9]{2}(0[1-9]|1[0-2])"_L1},
    FormRules{PaymentForm::Wallet, "NA"_L1, "NA"_L1, "NA"_L1, "NA"_L1},
};

bool matches(const QString &text, QLatin1String pattern)
{
    return QRegularExpression(QRegularExpression::anchoredPattern(pattern)).match(text).hasMatch();
}

} // namespace

std::optional<PaymentDetail> PaymentDetail::parse(const QString &text, QString &reason)
{
    const QStringList fields = text.split(u'|');
    if (fields.size() != 9) {
        reason = u"the detail string has %1 fields instead of nine"_s.arg(fields.size());
        return std::nullopt;
    }
    for (const FormRules &rules : formRules) {
        if (fields[4] != QString::number(static_cast<int>(rules.form)))
            continue;
        const std::array checks = {std::pair(2, rules.card), std::pair(3, rules.pin), std::pair(5, rules.cvv2),
                                   std::pair(6, rules.expiry)};
        for (const auto &[index, pattern] : checks) {
            if (!matches(fields[index], pattern)) {
                reason = u"field %1 of the detail string has not the form that code %2 asks for"_s.arg(index + 1).arg(
                    static_cast<int>(rules.form));
                return std::nullopt;
            }
        }
        return PaymentDetail{fields[0], fields[1], fields[2], rules.form, fields[7], fields[8]};
    }
    reason = u"field 5 of the detail string is none of 5, 59, 99"_s;
    return std::nullopt;
}

} // namespace kelpay::sandbox
