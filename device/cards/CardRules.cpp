#include "CardRules.h"

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

/// Whether the card begins with what stands in the entry before the first ";". An empty prefix is none.
bool hasPrefixOf(QStringView entry, QStringView cardNumber)
{
    // A card's number may be any text, so a ";" ends the prefix also where the card has one.
    const auto goesOn = [](QChar a, QChar b) { return a == b && a != u';'; };
    const auto [stop, digit] = std::mismatch(entry.begin(), entry.end(), cardNumber.begin(), cardNumber.end(), goesOn);
    return stop != entry.begin() && (stop == entry.end() || *stop == u';');
}

using Fields = QList<QStringView>;

/// Calls `visit` with the fields of each entry whose prefix the card has. Runs on every key that is typed, over up to
/// thousands of entries: only those that match are taken apart.
template <class Visit> void scan(QStringView cardNumber, QStringView rules, Visit visit)
{
    if (!rules.contains(u'|'))
        throw std::out_of_range("a card rule string holds no \"|\"");
    qsizetype begin = 0;
    for (qsizetype end = rules.indexOf(u'|'); end >= 0; end = rules.indexOf(u'|', begin)) {
        const QStringView entry = rules.sliced(begin, end - begin);
        begin = end + 1;
        if (hasPrefixOf(entry, cardNumber))
            visit(entry.split(u';'));
    }
}

int intValue(const QString &text)
{
    return static_cast<int>(
        std::clamp<qint64>(integerValue(text), std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

bool isInRange(const QString &policy, int amount)
{
    const QStringList bounds = policy.split(u';');
    return intValue(fieldAt(bounds, 0)) <= amount && amount <= intValue(fieldAt(bounds, 1));
}

} // namespace

QString CardRules::codes(const QString &cardNumber) const
{
    QString codes;
    scan(cardNumber, m_rules, [&](const Fields &fields) { codes.append(fieldAt(fields, 1)).append(u'|'); });
    return codes;
}

QString CardRules::policy(QStringView code, const QString &cardNumber) const
{
    QString policy;
    scan(cardNumber, m_rules, [&](const Fields &fields) {
        if (fieldAt(fields, 1) == code)
            policy.append(fieldAt(fields, 2)).append(u';').append(fieldAt(fields, 3));
    });
    return policy;
}

Verdict CardRules::verdict(const QString &cardNumber, const QString &amount) const
{
    const int rials = intValue(amount);
    const bool isListed = !codes(cardNumber).isEmpty();
    if (rials <= simpleLimit) {
        if (!isListed)
            return Verdict::Simple;
        const QString policy5 = policy(u"5", cardNumber);
        if (policy5.isEmpty() || isInRange(policy5, rials))
            return Verdict::Simple;
    }
    const QString policy59 = isListed ? policy(u"59", cardNumber) : QString();
    return policy59.isEmpty() || isInRange(policy59, rials) ? Verdict::Full : Verdict::Refused;
}

} // namespace kelpay
