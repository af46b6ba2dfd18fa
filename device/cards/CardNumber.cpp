#include "CardNumber.h"

#include "platform/Formats.h"

#include <algorithm>
#include <stdexcept>

namespace kelpay {

using namespace Qt::StringLiterals;

bool CardNumber::isValid(const QString &number)
{
    if (number.size() < 16)
        throw std::out_of_range("a card number has fewer than 16 digits");
    if (integerValue(number.mid(1, 10)) == 0 || integerValue(number.mid(10, 6)) == 0)
        return false;
    int sum = 0;
    for (qsizetype index = 0; index < 16; ++index) {
        const int digit = number[index].digitValue();
        const int weighted = index % 2 == 0 ? 2 * digit : digit;
        sum += weighted > 9 ? weighted - 9 : weighted;
    }
    return sum % 10 == 0;
}

bool CardNumber::isMasked(const QString &number)
{
    return number.contains("***"_L1);
}

QString CardNumber::masked(const QString &number)
{
    constexpr qsizetype shown = 6 + 4;
    const auto isDigit = [](QChar character) { return character.isDigit(); };
    const qsizetype digits = std::count_if(number.begin(), number.end(), isDigit);
    QString masked = number;
    qsizetype digit = 0;
    for (QChar &character : masked) {
        if (isDigit(character) && ++digit > 6 && digit <= digits - 4 && digits > shown)
            character = u'*';
    }
    return masked;
}

} // namespace kelpay
