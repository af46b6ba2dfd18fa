#include "Formats.h"

#include "Log.h"

#include <unicode/datefmt.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include <limits>
#include <memory>
#include <mutex>

namespace kelpay {

namespace {

icu::UnicodeString toIcu(const QString &text)
{
    return {reinterpret_cast<const char16_t *>(text.utf16()), static_cast<int32_t>(text.size())};
}

QString fromIcu(const icu::UnicodeString &text)
{
    return QString::fromUtf16(text.getBuffer(), text.length());
}

QString format(const icu::DateFormat *formatter, UErrorCode status, UDate moment)
{
    if (!formatter || U_FAILURE(status)) {
        qCWarning(logPlatform, "dates can't be formatted (%s): check that ICU's data is installed",
                  u_errorName(status));
        return {};
    }
    icu::UnicodeString text;
    formatter->format(moment, text);
    return fromIcu(text);
}

struct LocalFormat
{
    QString pattern;
    icu::Locale locale;
    std::unique_ptr<icu::SimpleDateFormat> formatter;

    /// The host may have set another locale or time zone meanwhile.
    bool standsFor(const QString &wanted) const
    {
        const std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createDefault());
        return formatter && pattern == wanted && locale == icu::Locale::getDefault() && zone &&
               formatter->getTimeZone() == *zone;
    }
    void make(const QString &wanted, UErrorCode &status)
    {
        pattern = wanted;
        locale = icu::Locale::getDefault();
        formatter = std::make_unique<icu::SimpleDateFormat>(toIcu(pattern), locale, status);
        if (U_FAILURE(status))
            formatter.reset();
    }
};

} // namespace

QString Formats::localDate(const QDateTime &moment, const QString &pattern)
{
    // Making one takes ten times as long as using it; one at a time may use it.
    static std::mutex mutex;
    static auto *const kept = new LocalFormat;
    const std::scoped_lock lock(mutex);
    UErrorCode status = U_ZERO_ERROR;
    if (!kept->standsFor(pattern))
        kept->make(pattern, status);
    return format(kept->formatter.get(), status, static_cast<UDate>(moment.toMSecsSinceEpoch()));
}

QString Formats::solarHijriDate(const QString &isoDate)
{
    // Read and printed in UTC, so the day stays what it was; a local one may lack its midnight.
    const icu::TimeZone &utc = *icu::TimeZone::getGMT();
    UErrorCode status = U_ZERO_ERROR;
    icu::SimpleDateFormat parser(u"yyyy-MM-dd", icu::Locale("en", "US", "POSIX"), status);
    parser.setLenient(false);
    parser.setTimeZone(utc);
    const UDate date = parser.parse(toIcu(isoDate), status);
    if (U_FAILURE(status))
        return {};
    const std::unique_ptr<icu::DateFormat> formatter(
        icu::DateFormat::createDateInstance(icu::DateFormat::kMedium, icu::Locale("fa", "IR")));
    if (formatter)
        formatter->setTimeZone(utc);
    return format(formatter.get(), status, date);
}

QString Formats::shownText(const QString &text)
{
    constexpr qsizetype longest = 400;
    QString shown;
    for (const QChar character : text) {
        if (shown.size() >= longest)
            return shown + QChar(u'…');
        const char16_t code = character.unicode();
        const bool isDirection = code == 0x61C || code == 0x200E || code == 0x200F ||
                                 (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
        if (character.isSpace())
            shown += u' ';
        else if (!isDirection && character.category() != QChar::Other_Control)
            shown += character;
    }
    return shown;
}

QString Formats::groupedNumber(qint64 number)
{
    QString digits = QString::number(number);
    const qsizetype first = number < 0 ? 1 : 0;
    for (qsizetype position = digits.size() - 3; position > first; position -= 3)
        digits.insert(position, u',');
    return digits;
}

qint64 integerValue(const QString &text)
{
    const QString trimmed = text.trimmed();
    const bool negative = trimmed.startsWith(u'-');
    qsizetype position = negative || trimmed.startsWith(u'+') ? 1 : 0;
    // Counted below zero, where there is one more.
    constexpr qint64 lowest = std::numeric_limits<qint64>::min();
    qint64 value = 0;
    for (; position < trimmed.size(); ++position) {
        const char16_t c = trimmed[position].unicode();
        if (c < u'0' || c > u'9')
            break;
        const int digit = c - u'0';
        value = value < (lowest + digit) / 10 ? lowest : value * 10 - digit;
    }
    if (negative)
        return value;
    return value == lowest ? std::numeric_limits<qint64>::max() : -value;
}

} // namespace kelpay
