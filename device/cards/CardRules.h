#pragma once

#include <QString>

namespace kelpay {

/// How a card may pay an amount.
enum class Verdict {
    Simple, ///< by PIN alone
    Full,   ///< with CVV2 and expiry
    Refused,
};

/// The service's rules about cards: entries "prefix;code;lower;upper" that each end with "|"; what stands after the
/// last
/// "|" is not examined. Everything throws std::out_of_range for a string without "|" and for an entry that has the
/// card's prefix but too few fields.
class CardRules
{
public:
    explicit CardRules(const QString &rules) : m_rules(rules) {}

    /// The codes of all entries with the card's prefix, each followed by "|".
    QString codes(const QString &cardNumber) const;
    /// "lower;upper" of each such entry of this code, with nothing between two entries.
    QString policy(QStringView code, const QString &cardNumber) const;
    /// `amount` is in rials; a text that begins with no number counts as 0.
    Verdict verdict(const QString &cardNumber, const QString &amount) const;

private:
    QString m_rules;
};

} // namespace kelpay
