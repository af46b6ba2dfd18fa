#include "SavedCard.h"

#include "platform/Log.h"

#include <QStringList>

#include <algorithm>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

constexpr std::size_t most = 100; // no payer picks from more, and each is a row of the list

} // namespace

std::vector<SavedCard> SavedCard::fromList(const QString &pl)
{
    QStringList entries = pl.split(u';');
    entries.removeLast();
    std::vector<SavedCard> cards;
    qsizetype malformed = 0;
    for (const QString &entry : std::as_const(entries)) {
        const QStringList fields = entry.split(u'.');
        if (fields.size() < 4)
            ++malformed;
        else if (cards.size() < most)
            cards.push_back({fields[0], fields[1] == "d"_L1, fields[2], fields[3]});
    }
    if (malformed > 0)
        qCWarning(logDevice, "%lld saved cards have fewer than four fields and are left out", qint64(malformed));
    if (entries.size() - malformed > static_cast<qsizetype>(cards.size()))
        qCWarning(logDevice, "of %lld saved cards the first %zu are offered", qint64(entries.size()), cards.size());
    return cards;
}

const SavedCard *SavedCard::defaultOf(const std::vector<SavedCard> &cards)
{
    const auto last = std::find_if(cards.rbegin(), cards.rend(), [](const SavedCard &card) { return card.isDefault; });
    return last == cards.rend() ? nullptr : &*last;
}

QString SavedCard::slashed(const QString &expiry)
{
    return expiry.size() < 2 ? expiry : QString(expiry).insert(2, u'/');
}

} // namespace kelpay
