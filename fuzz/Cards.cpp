// Card rules and saved cards, against readings that only are plain.

#include "Fuzz.h"

#include "device/cards/CardRules.h"
#include "device/cards/SavedCard.h"

#include <QStringList>

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace kelpay::fuzz {

using namespace Qt::StringLiterals;

namespace {

struct PlainRules
{
    QString rules;
    QString card;

    QList<QStringList> matching() const
    {
        QStringList entries = rules.split(u'|');
        if (entries.size() < 2)
            throw std::out_of_range("no entry");
        entries.removeLast();
        QList<QStringList> matching;
        for (const QString &entry : entries) {
            const QStringList fields = entry.split(u';');
            if (!fields[0].isEmpty() && card.startsWith(fields[0]))
                matching.append(fields);
        }
        return matching;
    }
    static QString field(const QStringList &fields, qsizetype index)
    {
        return index < fields.size() ? fields[index] : throw std::out_of_range("no field");
    }
    QString codes() const
    {
        QString codes;
        for (const QStringList &fields : matching())
            codes += field(fields, 1) + u'|';
        return codes;
    }
    QString policy(const QString &code) const
    {
        QString policy;
        for (const QStringList &fields : matching()) {
            if (field(fields, 1) == code)
                policy += field(fields, 2) + u';' + field(fields, 3);
        }
        return policy;
    }
    static double number(const QString &text)
    {
        const QString trimmed = text.trimmed();
        qsizetype end = trimmed.startsWith(u'-') || trimmed.startsWith(u'+') ? 1 : 0;
        while (end < trimmed.size() && trimmed[end] >= u'0' && trimmed[end] <= u'9')
            ++end;
        using Limits = std::numeric_limits<int>;
        return std::clamp<double>(trimmed.left(end).toDouble(), Limits::min(), Limits::max());
    }
    static bool isInRange(const QString &policy, double amount)
    {
        const QStringList bounds = policy.split(u';');
        return number(bounds[0]) <= amount && amount <= number(bounds[1]);
    }
    Verdict verdict(const QString &amountText) const
    {
        const double amount = number(amountText);
        const bool isListed = !codes().isEmpty();
        if (amount <= 2000000 && (!isListed || policy(u"5"_s).isEmpty() || isInRange(policy(u"5"_s), amount)))
            return Verdict::Simple;
        if (!isListed || policy(u"59"_s).isEmpty())
            return Verdict::Full;
        return isInRange(policy(u"59"_s), amount) ? Verdict::Full : Verdict::Refused;
    }
};

template <class Reading> auto outcome(const Reading &reading)
{
    try {
        return std::optional(reading());
    } catch (const std::out_of_range &) {
        return decltype(std::optional(reading()))();
    }
}

} // namespace

/// A line with the card's number, one with the amount, then the rules.
void cardRules(const QByteArray &input)
{
    const QString text = QString::fromUtf8(input);
    const QString card = text.section(u'\n', 0, 0);
    const QString amount = text.section(u'\n', 1, 1);
    const QString rules = text.section(u'\n', 2);
    const CardRules fast(rules);
    const PlainRules plain{rules, card};
    require(outcome([&] { return fast.codes(card); }) == outcome([&] { return plain.codes(); }), "codes");
    for (const QString &code : {u"5"_s, u"59"_s})
        require(outcome([&] { return fast.policy(code, card); }) == outcome([&] { return plain.policy(code); }),
                "policy");
    require(outcome([&] { return fast.verdict(card, amount); }) == outcome([&] { return plain.verdict(amount); }),
            "verdict");
}

void savedCards(const QByteArray &input)
{
    const QString list = QString::fromUtf8(input);
    const auto cards = SavedCard::fromList(list);
    std::size_t read = 0;
    const SavedCard *last = nullptr;
    for (qsizetype index = 0; index < list.count(u';') && read < 100; ++index) {
        const QStringList fields = list.section(u';', index, index).split(u'.');
        if (fields.size() < 4)
            continue;
        require(read < cards.size(), "no card is left out");
        const SavedCard &card = cards[read++];
        require(card.panID == fields[0] && card.isDefault == (fields[1] == u"d"_s) && card.pan == fields[2] &&
                    card.expiry == fields[3],
                "a card is as it stands in the list");
        SavedCard::slashed(card.expiry);
        last = card.isDefault ? &card : last;
    }
    require(read == cards.size(), "no card but those of the list");
    require(SavedCard::defaultOf(cards) == last, "the last one that is marked is the default");
}

} // namespace kelpay::fuzz
