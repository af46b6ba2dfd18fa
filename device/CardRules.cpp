// The rules about cards of CoreFunctions: check digit, mobile number, and the service's rule strings.

#include "CoreFunctions.h"

#include "BankTable.h"
#include "platform/Formats.h"

#include <QStringList>

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace kelpay {

namespace {

constexpr int simpleLimit = 2'000'000;

template <class List> auto fieldAt(const List &fields, qsizetype index)
{
    if (index >= fields.size())
        throw std::out_of_range("a card rule has too few fields");
    return fields[index];
}

QString substring(const QString &text, qsizetype position, qsizetype length)
{
    if (position + length > text.size())
        throw std::out_of_range("a card number has fewer than 16 digits");
    return text.mid(position, length);
}

/// Whether the card begins with what stands in the entry before the first ";". An empty prefix is none.
bool hasPrefixOf(QStringView entry, QStringView cardNumber)
{
    const auto [stop, digit] = std::mismatch(entry.begin(), entry.end(), cardNumber.begin(), cardNumber.end());
    return stop != entry.begin() && (stop == entry.end() || *stop == u';');
}

using Fields = QList<QStringView>;

/// Calls `visit` with the fields of each entry whose prefix the card has. Runs on every key that is typed, over up to
/// thousands of entries: only those that match are taken apart.
template <class Visit> void scan(QStringView cardNumber, QStringView rules, Visit visit)
{
    if (!rules.contains(u'|'))
        throw std::out_of_range("a card rule string holds no \"|\"");
    // The list is expected to end with "|": what stands after the last one is never examined.
    qsizetype begin = 0;
    for (qsizetype end = rules.indexOf(u'|'); end >= 0; end = rules.indexOf(u'|', begin)) {
        const QStringView entry = rules.sliced(begin, end - begin);
        begin = end + 1;
        if (hasPrefixOf(entry, cardNumber))
            visit(entry.split(u';'));
    }
}

QString policyForCode(QStringView code, const QString &cardNumber, const QString &rules)
{
    QString policy;
    scan(cardNumber, rules, [&](const Fields &fields) {
        if (fieldAt(fields, 1) == code)
            policy.append(fieldAt(fields, 2)).append(u';').append(fieldAt(fields, 3));
    });
    return policy;
}

int intValue(const QString &text)
{
    return static_cast<int>(
        std::clamp<qint64>(integerValue(text), std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

bool isInRange(const QString &policy, int amount)
{
    const QStringList bounds = policy.split(QLatin1Char(';'));
    return intValue(fieldAt(bounds, 0)) <= amount && amount <= intValue(fieldAt(bounds, 1));
}

} // namespace

QString CoreFunctions::bankName(const QString &cardNumber) const
{
    return bankNameForPrefix(cardNumber);
}

bool CoreFunctions::isValidCardNumber(const QString &cardNumber) const
{
    substring(cardNumber, 15, 1);
    if (integerValue(substring(cardNumber, 1, 10)) == 0 || integerValue(substring(cardNumber, 10, 6)) == 0)
        return false;
    int sum = 0;
    for (qsizetype index = 0; index < 16; ++index) {
        const int digit = cardNumber[index].digitValue();
        const int weighted = index % 2 == 0 ? 2 * digit : digit;
        sum += weighted > 9 ? weighted - 9 : weighted;
    }
    return sum % 10 == 0;
}

bool CoreFunctions::isValidPhoneNumber(const QString &number) const
{
    return number.startsWith(QLatin1StringView("09")) && number.size() == 11;
}

QString CoreFunctions::blackListReturner(const QString &cardNumber, const QString &rules) const
{
    QString codes;
    scan(cardNumber, rules, [&](const Fields &fields) { codes.append(fieldAt(fields, 1)).append(u'|'); });
    return codes;
}

QString CoreFunctions::policyForCode5(const QString &cardNumber, const QString &rules) const
{
    return policyForCode(u"5", cardNumber, rules);
}

QString CoreFunctions::policyForCode59(const QString &cardNumber, const QString &rules) const
{
    return policyForCode(u"59", cardNumber, rules);
}

QString CoreFunctions::isSimple(const QString &rules, const QString &userValues) const
{
    const QStringList values = userValues.split(QLatin1Char(';'));
    const QString &card = values[0];
    const int amount = intValue(values.value(1));
    const bool listed = !blackListReturner(card, rules).isEmpty();

    if (amount <= simpleLimit) {
        if (!listed)
            return QStringLiteral("JA");
        const QString policy5 = policyForCode5(card, rules);
        if (policy5.isEmpty() || isInRange(policy5, amount))
            return QStringLiteral("JA");
    }
    const QString policy59 = listed ? policyForCode59(card, rules) : QString();
    return policy59.isEmpty() || isInRange(policy59, amount) ? QStringLiteral("NO") : QStringLiteral("NA");
}

} // namespace kelpay
