#include "SavedCard.h"

#include "platform/Log.h"

#include <QStringList>

#include <algorithm>

namespace kelpay {

std::vector<SavedCard> SavedCard::fromList(const QString &pl)
{
    QStringList entries = pl.split(QLatin1Char(';'));
    entries.removeLast();
    std::vector<SavedCard> cards;
    for (const QString &entry : std::as_const(entries)) {
        const QStringList fields = entry.split(QLatin1Char('.'));
        if (fields.size() < 4)
            qCWarning(logDevice, "a saved card has %lld fields instead of four and is left out", qint64(fields.size()));
        else
            cards.push_back({fields[0], fields[1] == QLatin1String("d"), fields[2], fields[3]});
    }
    return cards;
}

const SavedCard *SavedCard::defaultOf(const std::vector<SavedCard> &cards)
{
    const auto last = std::find_if(cards.rbegin(), cards.rend(), [](const SavedCard &card) { return card.isDefault; });
    return last == cards.rend() ? nullptr : &*last;
}

QString SavedCard::slashed(const QString &expiry)
{
    return expiry.size() < 2 ? expiry : QString(expiry).insert(2, QLatin1Char('/'));
}

} // namespace kelpay
