#include "platform/Formats.h"

#include <gtest/gtest.h>

#include <QTimeZone>

#include <unicode/locid.h>
#include <unicode/timezone.h>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

TEST(Formats, GroupsInThreesWhateverTheLocale)
{
    const std::pair<qint64, const char *> cases[] = {
        {0, "0"},          {7, "7"},       {999, "999"},           {1000, "1,000"},
        {-1000, "-1,000"}, {-999, "-999"}, {1250000, "1,250,000"}, {123456789012, "123,456,789,012"}};
    for (const auto &[number, text] : cases)
        EXPECT_EQ(Formats::groupedNumber(number).toStdString(), text);
}

TEST(Formats, SolarHijriDates)
{
    const std::pair<const char *, const char *> cases[] = {{"2026-11-22", "۱ آذر ۱۴۰۵"},
                                                           {"2026-03-21", "۱ فروردین ۱۴۰۵"},
                                                           {"2025-03-20", "۳۰ اسفند ۱۴۰۳"},
                                                           {"1398-01-01", "۲۰ دی ۷۷۶"},
                                                           {"2017-03-22", "۲ فروردین ۱۳۹۶"}, // Tehran had no midnight
                                                           {"2026-13-01", ""},
                                                           {"2026-02-30", ""},
                                                           {"", ""},
                                                           {"yesterday!", ""}};
    for (const auto &[iso, text] : cases)
        EXPECT_EQ(Formats::solarHijriDate(QString::fromUtf8(iso)).toStdString(), text) << iso;
}

TEST(Formats, LeadingIntegers)
{
    const std::pair<const char *, qint64> cases[] = {{"", 0},
                                                     {"12", 12},
                                                     {"  12abc", 12},
                                                     {"-7;", -7},
                                                     {"+5", 5},
                                                     {"abc", 0},
                                                     {"1250000 rials", 1250000},
                                                     {"99999999999999999999", INT64_MAX}};
    for (const auto &[text, number] : cases)
        EXPECT_EQ(integerValue(QString::fromLatin1(text)), number) << text;
}

TEST(Formats, TwelveHourClockWithoutMarker)
{
    qputenv("TZ", "UTC");
    const auto hours = [](int hour) {
        return Formats::localDate(QDateTime(QDate(2026, 11, 22), QTime(hour, 30)), u"hh"_s);
    };
    EXPECT_EQ(hours(0), hours(12));
    EXPECT_EQ(hours(23), hours(11));
    EXPECT_NE(hours(1), hours(2));
    EXPECT_EQ(hours(15).size(), 2);
}

TEST(Formats, LocalDateFollowsLocaleAndZone)
{
    const QDateTime noon(QDate(2026, 11, 22), QTime(12, 0), Qt::UTC);
    const auto shown = [&](const icu::Locale &locale, const char16_t *zone) {
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale::setDefault(locale, status);
        icu::TimeZone::adoptDefault(icu::TimeZone::createTimeZone(zone));
        return Formats::localDate(noon, u"HH"_s);
    };
    EXPECT_EQ(shown(icu::Locale("en"), u"UTC"), u"12"_s);
    EXPECT_EQ(shown(icu::Locale("en"), u"Asia/Dubai"), u"16"_s);
    EXPECT_EQ(shown(icu::Locale("fa"), u"Asia/Dubai"), u"۱۶"_s);
    EXPECT_EQ(shown(icu::Locale("en"), u"UTC"), u"12"_s);
}

} // namespace
} // namespace kelpay
