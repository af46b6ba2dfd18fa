#pragma once

#include <QString>

namespace kelpay {

/// What can be told of a card's number, a text.
class CardNumber
{
public:
    /// The check digit rule over the first 16 digits. Throws std::out_of_range for fewer than 16 characters.
    static bool isValid(const QString &number);
    /// Whether it stands for a saved card: digits are starred.
    static bool isMasked(const QString &number);
    /// With all digits but the first six and the last four starred; a number of ten or fewer stays.
    static QString masked(const QString &number);
};

} // namespace kelpay
