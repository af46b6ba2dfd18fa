#include "Screens.h"

#include "ui/components/Appearance.h"

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

/// The screens in a window that the person resizes, with texts of the usual and of twice the size.
class ReflowTest : public ScreenTest, public testing::WithParamInterface<double>
{
protected:
    static constexpr QSize sizes[] = {{375, 812},  {1280, 800}, {320, 568},   {812, 375},
                                      {768, 1024}, {900, 500},  {1080, 1920}, {1920, 1080}};
    static bool isKiosk(QSize size) { return std::min(size.width(), size.height()) >= 1000; }

    ReflowTest() { Appearance::shared().pin({false, true, GetParam()}); }
    ~ReflowTest() override { Appearance::shared().pin({}); }

    QRectF place(const QString &name) const { return item(name)->mapRectToScene(QRectF({}, item(name)->size())); }
    QRectF inside() const { return {{}, QSizeF(window()->size())}; }

    /// Every text lies between the window's sides, and within its own item.
    void expectTextsWhole() const
    {
        std::vector<QQuickItem *> open{window()->contentItem()};
        int texts = 0;
        while (!open.empty()) {
            const QQuickItem *candidate = open.back();
            open.pop_back();
            if (!candidate->isVisible())
                continue;
            for (QQuickItem *child : candidate->childItems())
                open.push_back(child);
            if (!candidate->inherits("QQuickText") || candidate->property("text").toString().isEmpty())
                continue;
            ++texts;
            const QRectF rectangle = candidate->mapRectToScene(QRectF({}, candidate->size()));
            const auto text = candidate->property("text").toString().toStdString();
            EXPECT_GE(rectangle.left(), 0) << text;
            EXPECT_LE(rectangle.right(), window()->width()) << text;
            EXPECT_LE(candidate->property("contentWidth").toReal(), candidate->width() + 1) << text;
            EXPECT_FALSE(candidate->property("truncated").toBool()) << text;
        }
        EXPECT_GT(texts, 5);
    }
};

TEST_P(ReflowTest, paymentScreen)
{
    const QString card = u"cardNumberTextField"_s;
    storeToken({{u"ta"_s, u"NA"_s}, {u"mn"_s, QString(30, u'ف')}});
    presentPayment()->form()->setCardNumber(u"6037991234567893"_s);
    for (const QSize size : sizes) {
        window()->resize(size);
        settle(50);
        SCOPED_TRACE(size.width());
        expectTextsWhole();
        for (const auto *name : {"payButton", "cancelButton"})
            EXPECT_TRUE(inside().contains(place(QString::fromLatin1(name)))) << name;
        EXPECT_LE(place(card).width(), isKiosk(size) ? 690 : 460);
        for (const auto *name : {"payButton", "cancelButton", "verifyButton", "expirationDateTextField"})
            EXPECT_GE(place(QString::fromLatin1(name)).height(), isKiosk(size) ? 56 : 44) << name;
        const QQuickItem *form = item(u"formArea"_s);
        if (GetParam() == 1 && size.width() >= 900 && size.width() > size.height()) {
            EXPECT_LE(form->property("contentHeight").toReal(), form->height());
            EXPECT_GT(place(u"amountLabel"_s).left(), place(card).right()) << "what is paid stands beside";
        }
        EXPECT_LE(item(card)->property("contentWidth").toReal(), item(card)->width());
        for (const auto *name :
             {"cardNumberTextField", "passwordTextField", "cvvTwoTextField", "expirationDateTextField"}) {
            const QString field = QString::fromLatin1(name);
            item(field)->forceActiveFocus();
            settle(20);
            EXPECT_TRUE(inside().contains(place(field))) << name;
            EXPECT_GT(place(field).top(), place(u"cancelButton"_s).bottom()) << name;
            EXPECT_LT(place(field).bottom(), place(u"payButton"_s).top()) << name;
        }
    }
}

TEST_P(ReflowTest, sheetsAndAlert)
{
    storeToken(
        {{u"ta"_s, u"NA"_s}, {u"wb"_s, u"5400000"_s}, {u"pl"_s, u"11.n.603799******1234.0512;12.n.621986******1.;"_s}});
    PaymentViewController *screen = presentPayment();
    for (const QSize size : sizes) {
        window()->resize(size);
        settle(50);
        SCOPED_TRACE(size.width());
        for (const auto *name : {"alertButton", "alertCancelButton"})
            EXPECT_TRUE(inside().contains(place(QString::fromLatin1(name)))) << name;
    }
    screen->walletAlert()->pressCancel();
    item(u"cardNumberTextField"_s)->forceActiveFocus();
    settle(20);
    click(u"savedCardsButton"_s);
    for (const QSize size : sizes) {
        window()->resize(size);
        settle(50);
        SCOPED_TRACE(size.width());
        expectTextsWhole();
        EXPECT_TRUE(inside().contains(place(u"keyboardButton"_s)));
        EXPECT_TRUE(inside().contains(place(u"panRow0"_s)));
    }
    click(u"keyboardButton"_s);
    item(u"expirationDateTextField"_s)->forceActiveFocus();
    QMetaObject::invokeMethod(item(u"expirationDateView"_s), "opened");
    for (const QSize size : sizes) {
        window()->resize(size);
        settle(50);
        SCOPED_TRACE(size.width());
        for (const auto *name : {"yearTumbler", "monthTumbler", "expiryDoneButton"})
            EXPECT_TRUE(inside().contains(place(QString::fromLatin1(name)))) << name;
    }
}

TEST_P(ReflowTest, receipt)
{
    storeToken({{u"mn"_s, QString(40, u'ف')}, {u"amn"_s, u"1250000000000"_s}});
    PaymentViewController *screen = presentPayment();
    screen->form()->setCardNumber(u"6037991234567893"_s);
    screen->form()->setSecret(CardForm::Pin, u"12345");
    screen->verifyPayment();
    storePaymentAnswer(paidAnswer());
    answer(true, {}, u"0"_s);
    for (const QSize size : sizes) {
        window()->resize(size);
        settle(50);
        SCOPED_TRACE(size.width());
        expectTextsWhole();
    }
}

INSTANTIATE_TEST_SUITE_P(TextScales, ReflowTest, testing::Values(1.0, 2.0));

} // namespace
} // namespace kelpay
