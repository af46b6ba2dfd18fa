#include "ui/payment/Countdown.h"
#include "ui/payment/PaymentDetail.h"
#include "ui/payment/PaymentPhase.h"
#include "ui/payment/PickerViewDelegate.h"
#include "ui/payment/ViewUtils.h"

#include <QColor>
#include <QSignalSpy>
#include <gtest/gtest.h>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

TEST(PaymentDetailTest, hasNineFieldsInEachForm)
{
    const PaymentDetail detail{u"501"_s, u"tok"_s, u"R9"_s, u"T1"_s, u"T2"_s};
    const QString card = u"6037991234567893"_s;
    EXPECT_EQ(detail.simple(card, "12345").view(), "501|tok|6037991234567893|12345|5|NA|NA|R9|T1");
    EXPECT_EQ(detail.full(card, "12345", "123", u"99/05"_s).view(), "501|tok|6037991234567893|12345|59|123|9905|R9|T2");
    EXPECT_EQ(detail.wallet().view(), "501|tok|NA|NA|99|NA|NA|R9|T1");
}

TEST(PaymentDetailTest, showsWhatIsMissing)
{
    const PaymentDetail onlyTb{std::nullopt, std::nullopt, std::nullopt, std::nullopt, u"T2"_s};
    EXPECT_EQ(onlyTb.wallet().view(), "(null)|(null)|NA|NA|99|NA|NA|(null)|T2");
    EXPECT_EQ(onlyTb.simple(std::nullopt, "1").view(), "(null)|(null)|(null)|1|5|NA|NA|(null)|(null)");
}

TEST(CountdownTest, runsTenMinutesAndTwoSeconds)
{
    Countdown countdown;
    for (int tick = 1; tick <= 600; ++tick) {
        ASSERT_EQ(countdown.fire(), Countdown::Tick::Shown) << tick;
        const int left = 600 - tick;
        EXPECT_EQ(countdown.text(), QString::asprintf("%d دقیقه و %02d ثانیه", left / 60, left % 60));
    }
    EXPECT_EQ(countdown.fire(), Countdown::Tick::Silent);
    EXPECT_EQ(countdown.fire(), Countdown::Tick::Over);
}

TEST(PaymentPhaseTest, followsTheTable)
{
    using Phase = PaymentPhase;
    const std::optional<Phase> none;
    // Columns: Pay, Answer, FallSilent, TakeBack, CloseReceipt, FindNoLink, ReportCancel, ReportTime, ReportNoLink.
    const auto reported = Phase::Reported;
    const std::optional<Phase> table[][9] = {
        {Phase::Paying, none, none, none, none, Phase::Leaving, reported, reported, none},
        {none, Phase::ReceiptOpen, Phase::Unknown, Phase::Entering, none, none, reported, reported, none},
        {none, none, none, none, none, none, reported, reported, none},
        {none, none, none, none, none, none, reported, reported, reported},
        {none, none, none, none, Phase::Kept, none, none, none, none},
        {Phase::Paying, none, none, none, none, Phase::Leaving, reported, none, none},
        {none, none, none, none, none, none, none, none, none},
    };
    for (int phase = 0; phase < 7; ++phase) {
        for (int event = 0; event < 9; ++event)
            EXPECT_EQ(phaseAfter(Phase(phase), PhaseEvent(event)), table[phase][event]) << phase << ' ' << event;
    }
}

TEST(PickerViewDelegateTest, postsAChosenCardButNotTheFirstRow)
{
    PickerViewDelegate &picker = PickerViewDelegate::sharedInstance();
    picker.setCards(SavedCard::fromList(u"11.d.603799***1234.0512;12.n.621986***1.;"_s));
    EXPECT_EQ(picker.panArray().front(), u"انتخاب شماره کارت"_s);
    EXPECT_EQ(picker.panIdArray(), QStringList({u"Nil"_s, u"11"_s, u"12"_s}));
    EXPECT_EQ(picker.panExpArray(), QStringList({u"Nil"_s, u"0512"_s, QString()}));

    QSignalSpy posted(&picker, &PickerViewDelegate::cardSet);
    for (const int row : {0, -1, 3})
        picker.didSelectRow(row);
    EXPECT_TRUE(posted.isEmpty());
    picker.didSelectRow(1);
    picker.didSelectRow(2);
    ASSERT_EQ(posted.size(), 2);
    EXPECT_EQ(posted[0], QVariantList({u"11"_s, u"603799***1234"_s, u"05/12"_s}));
    EXPECT_EQ(posted[1].at(2).toString(), QString());
}

TEST(ViewUtilsTest, readsColours)
{
    EXPECT_EQ(ViewUtils::blueKELColor(), QColor(21, 63, 143));
    EXPECT_EQ(ViewUtils::magentaKELColor(), QColor(212, 0, 111));
    const struct
    {
        const char *text;
        QColor colour;
    } cases[] = {{"#", Qt::black},
                 {"", Qt::black},
                 {"#zz", Qt::black},
                 {"x0000fF", QColor(0, 0, 255)},
                 {"#12g456", QColor(0, 0, 18)},
                 {"#ff010203", QColor(1, 2, 3)}};
    for (const auto &[text, colour] : cases)
        EXPECT_EQ(ViewUtils::colorFromHexString(QString::fromLatin1(text)), colour) << text;
}

} // namespace
} // namespace kelpay
