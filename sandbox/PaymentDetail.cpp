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
    QRegularExpression card;
    QRegularExpression pin;
    QRegularExpression cvv2;
    QRegularExpression expiry;
};

QRegularExpression field(const QString &pattern)
{
    return QRegularExpression(QRegularExpression::anchoredPattern(pattern));
}

// A saved card's identifier is any text of its own; whether it exists is the ledger's business.
const std::array<FormRules, 3> &formRules()
{
    static const QRegularExpression none = field(u"NA"_s);
    static const QRegularExpression card = field(u"(?!NA$)[^|]+"_s);
    static const QRegularExpression pin = field(u"[0-9]{5,12}"_s);
    static const std::array rules = {
        FormRules{PaymentForm::PinOnly, card, pin, none, none},
        FormRules{PaymentForm::Full, card, pin, field(u"[0-9]{3,6}"_s), field(u"[0-9]{2}(0[1-9]|1[0-2])"_s)},
        FormRules{PaymentForm::Wallet, none, none, none, none},
    };
    return rules;
}

} // namespace

std::optional<PaymentDetail> PaymentDetail::parse(const QString &text, QString &reason)
{
    const QStringList fields = text.split(u'|');
    if (fields.size() != 9) {
        reason = u"the detail string has %1 fields instead of nine"_s.arg(fields.size());
        return std::nullopt;
    }
    for (const FormRules &rules : formRules()) {
        if (fields[4] != QString::number(static_cast<int>(rules.form)))
            continue;
        const std::array checks = {std::pair(2, rules.card), std::pair(3, rules.pin), std::pair(5, rules.cvv2),
                                   std::pair(6, rules.expiry)};
        for (const auto &[index, form] : checks) {
            if (!form.match(fields[index]).hasMatch()) {
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
