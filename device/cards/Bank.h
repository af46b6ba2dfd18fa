#pragma once

#include <QString>

namespace kelpay {

/// The bank that issued a card, as far as the card's number tells.
struct Bank
{
    QString prefix; ///< The number's first six characters.
    QString name;   ///< In Persian; "" for a prefix that is no bank's.
    /// The image's name in a resource bundle. There may be one for any prefix: a deployer adds images without rows.
    QString logo;

    static Bank issuerOf(const QString &cardNumber);
};

} // namespace kelpay
