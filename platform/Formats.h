#pragma once

#include <QDateTime>
#include <QString>

namespace kelpay {

/// Locale formats from ICU. Any thread.
class Formats
{
public:
    /// `moment` by an ICU pattern, in the device's locale and time zone.
    static QString localDate(const QDateTime &moment, const QString &pattern);
    /// A "yyyy-MM-dd" text as the Solar Hijri date of the fa_IR locale, medium style ("۱ آذر ۱۴۰۵"); "" for another
    /// text.
    static QString solarHijriDate(const QString &isoDate);
    /// A text of somebody else's as one that can be shown: on one line, without control characters and without marks
    /// that change its direction, 400 characters at most.
    static QString shownText(const QString &text);
    /// Decimal text in groups of three by a comma, whatever the machine's locale: "1,250,000".
    static QString groupedNumber(qint64 number);
};

/// The integer a text begins with: leading spaces, a sign, digits; 0 for none, held within 64 bits.
qint64 integerValue(const QString &text);

} // namespace kelpay
