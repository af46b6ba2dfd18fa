#include "Screens.h"

#include "ui/components/RootViewController.h"
#include "ui/payment/EntryGuard.h"

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>
#include <QInputMethodQueryEvent>
#include <QTest>

namespace kelpay {
namespace {

const QString cardField = QStringLiteral("cardNumberTextField");
const QString pinField = QStringLiteral("passwordTextField");
const QString cvvField = QStringLiteral("cvvTwoTextField");

class PaymentViewTest : public ScreenTest
{
protected:
    QString text(const QString &field) const { return item(field)->property("text").toString(); }
    void press(QKeySequence::StandardKey keys) { QTest::keySequence(window(), QKeySequence(keys)); }
    void paste(const QString &clip)
    {
        QGuiApplication::clipboard()->setText(clip);
        press(QKeySequence::Paste);
    }
    /// Where the character at `position` of the field stands, from the left.
    qreal left(const QString &field, int position) const
    {
        QRectF rectangle;
        QMetaObject::invokeMethod(item(field), "positionToRectangle", Q_RETURN_ARG(QRectF, rectangle),
                                  Q_ARG(int, position));
        return rectangle.left();
    }
    qreal x(const QString &name) const { return item(name)->mapToScene({}).x(); }
};

TEST_F(PaymentViewTest, takesDigitKeysOfAnyKeyboardAndRefusesOtherPastes)
{
    storeToken();
    PaymentViewController *screen = presentPayment();
    click(cardField);
    type(QStringLiteral("6۰37٩9 x\u200f"));
    EXPECT_EQ(text(cardField), QStringLiteral("603799"));
    EXPECT_EQ(screen->form()->cardNumber(), QStringLiteral("603799"));
    for (const auto &clip :
         {QStringLiteral("12 34"), QStringLiteral("۱۲"), QStringLiteral("1\u200e"), QString(11, u'1')}) {
        paste(clip);
        EXPECT_EQ(text(cardField), QStringLiteral("603799")) << qPrintable(clip);
    }
    paste(QStringLiteral("1234567893"));
    EXPECT_EQ(text(cardField), QStringLiteral("6037991234567893"));
    type(QStringLiteral("4"));
    EXPECT_EQ(text(cardField).size(), 16);
}

TEST_F(PaymentViewTest, replacesASavedCardByANumber)
{
    storeToken({{QStringLiteral("pl"), QStringLiteral("11.n.603799******1234.0512;")}});
    PaymentViewController *screen = presentPayment();
    const QString number = QStringLiteral("6037991111111234");
    for (const bool typed : {true, false}) {
        PickerViewDelegate::sharedInstance().didSelectRow(1);
        EXPECT_EQ(screen->form()->card(), QStringLiteral("11"));
        click(pinField);
        click(cardField);
        typed ? type(number) : paste(number);
        EXPECT_EQ(screen->form()->card(), number) << typed;
        press(QKeySequence::SelectAll);
        QTest::keyClick(window(), Qt::Key_Delete);
        EXPECT_EQ(text(cardField), QString());
    }
}

TEST_F(PaymentViewTest, choosesASavedCardFromTheList)
{
    storeToken({{QStringLiteral("pl"), QStringLiteral("11.n.603799******1234.0512;12.n.621986******1.;")}});
    PaymentViewController *screen = presentPayment();
    EXPECT_FALSE(item(QStringLiteral("savedCardsButton")));
    click(cardField);
    click(QStringLiteral("savedCardsButton"));
    EXPECT_FALSE(item(QStringLiteral("savedCardsButton")));
    EXPECT_TRUE(item(QStringLiteral("keyboardButton")));
    click(QStringLiteral("panRow2"));
    EXPECT_EQ(text(cardField), QStringLiteral("621986******1"));
    EXPECT_EQ(screen->form()->card(), QStringLiteral("12"));
    EXPECT_FALSE(item(QStringLiteral("panTumbler")));
    click(cardField);
    EXPECT_TRUE(item(QStringLiteral("panTumbler")));
    click(QStringLiteral("keyboardButton"));
    EXPECT_FALSE(item(QStringLiteral("panTumbler")));
}

TEST_F(PaymentViewTest, picksTheExpiryByKeys)
{
    storeToken({{QStringLiteral("ta"), QStringLiteral("NA")}});
    PaymentViewController *screen = presentPayment();
    click(QStringLiteral("expirationDateTextField"));
    for (int row = 0; row < 3; ++row)
        QTest::keyClick(window(), Qt::Key_Down);
    QTest::keyClick(window(), Qt::Key_Tab);
    for (int row = 0; row < 4; ++row)
        QTest::keyClick(window(), Qt::Key_Down);
    EXPECT_EQ(screen->form()->expiration(), QStringLiteral("99/05"));
    click(QStringLiteral("expiryDoneButton"));
    EXPECT_FALSE(item(QStringLiteral("yearTumbler")));
    EXPECT_EQ(item(QStringLiteral("expirationDateText"))->property("text"), QStringLiteral("99/05"));
}

TEST_F(PaymentViewTest, keepsSecretsToItself)
{
    storeToken({{QStringLiteral("ta"), QStringLiteral("NA")}});
    presentPayment();
    for (const QString &field : {pinField, cvvField}) {
        click(field);
        type(QStringLiteral("73912"));
        QGuiApplication::clipboard()->clear();
        press(QKeySequence::SelectAll);
        press(QKeySequence::Copy);
        press(QKeySequence::Cut);
        EXPECT_EQ(QGuiApplication::clipboard()->text(), QString());
        EXPECT_EQ(text(field), QStringLiteral("73912"));
        QTest::keyClick(window(), Qt::Key_Backspace);
        press(QKeySequence::Undo);
        EXPECT_EQ(text(field), QString());

        type(QStringLiteral("73912"));
        EXPECT_EQ(item(field)->property("displayText"), QString(5, QChar(0x2022)));
        QInputMethodQueryEvent query(Qt::ImSurroundingText | Qt::ImCurrentSelection | Qt::ImTextBeforeCursor);
        QCoreApplication::sendEvent(item(field), &query);
        for (const auto asked : {Qt::ImSurroundingText, Qt::ImCurrentSelection, Qt::ImTextBeforeCursor})
            EXPECT_EQ(query.value(asked).toString(), QString());
    }
    // What a screen reader sees of the whole window.
    std::vector<QAccessibleInterface *> open{QAccessible::queryAccessibleInterface(window())};
    int passwords = 0;
    while (!open.empty()) {
        QAccessibleInterface *node = open.back();
        open.pop_back();
        passwords += node->state().passwordEdit;
        for (const auto part : {QAccessible::Name, QAccessible::Value, QAccessible::Description})
            EXPECT_FALSE(node->text(part).contains(QStringLiteral("73912")));
        if (QAccessibleTextInterface *content = node->textInterface()) {
            EXPECT_FALSE(content->text(0, content->characterCount()).contains(QStringLiteral("73912")));
        }
        for (int child = 0; child < node->childCount(); ++child)
            open.push_back(node->child(child));
    }
    EXPECT_EQ(passwords, 2);
}

TEST_F(PaymentViewTest, sendsOncePerPaymentHoweverOftenItIsAsked)
{
    storeToken();
    presentPayment();
    click(cardField);
    type(QStringLiteral("6037991234567893"));
    click(pinField);
    type(QStringLiteral("12345"));
    QTest::keyClick(window(), Qt::Key_Return);
    QQuickItem *pay = item(QStringLiteral("payButton"));
    const QPoint centre = pay->mapToScene(QPointF(pay->width() / 2, pay->height() / 2)).toPoint();
    QTest::mouseClick(window(), Qt::LeftButton, {}, centre);
    QTest::mouseDClick(window(), Qt::LeftButton, {}, centre);
    settle();
    EXPECT_EQ(sent.size(), 1);
    EXPECT_EQ(text(pinField), QString());
}

TEST_F(PaymentViewTest, standsRightToLeftWithNumbersLeftToRight)
{
    storeToken({{QStringLiteral("ta"), QStringLiteral("NA")}});
    PaymentViewController *screen = presentPayment();
    EXPECT_GT(x(QStringLiteral("verifiedIcon")), x(QStringLiteral("merchantLabel")));
    EXPECT_GT(x(QStringLiteral("merchantLabel")), x(QStringLiteral("verifyButton")));
    EXPECT_GT(x(QStringLiteral("lockIcon")), x(pinField));
    EXPECT_GT(x(QStringLiteral("cancelButton")), window()->width() / 2);

    for (const auto *number : {"6037991234567893", "6037-99**-****-1234", "603799******1234"}) {
        screen->form()->applySavedCard(QStringLiteral("1"), QString::fromLatin1(number), QStringLiteral("99/05"));
        for (int position = 1; position <= static_cast<int>(qstrlen(number)); ++position)
            EXPECT_GT(left(cardField, position), left(cardField, position - 1)) << number << position;
    }
    EXPECT_LT(x(QStringLiteral("bankIcon")), x(cardField));
}

TEST_F(PaymentViewTest, fitsEveryWindow)
{
    storeToken({{QStringLiteral("ta"), QStringLiteral("NA")}, {QStringLiteral("mn"), QString(30, u'ف')}});
    presentPayment();
    for (const QSize size : {QSize(320, 568), QSize(375, 812), QSize(768, 1024), QSize(1280, 800)}) {
        window()->resize(size);
        settle(50);
        const QRectF inside{{}, QSizeF(size)};
        for (const auto *name : {"payButton", "cancelButton", "amountLabel", "merchantLabel", "verifyButton"}) {
            QQuickItem *shown = item(QString::fromLatin1(name));
            EXPECT_TRUE(inside.contains(shown->mapRectToScene(QRectF({}, shown->size())))) << name << size.width();
        }
        EXPECT_LE(item(cardField)->width(), 460);
        for (const QString &field : {cardField, pinField, cvvField}) {
            item(field)->forceActiveFocus();
            settle(300);
            const QRectF place = item(field)->mapRectToScene(QRectF({}, item(field)->size()));
            EXPECT_TRUE(inside.contains(place)) << qPrintable(field) << size.width();
            EXPECT_LT(place.bottom(), item(QStringLiteral("payButton"))->mapToScene({}).y()) << qPrintable(field);
        }
    }
}

} // namespace
} // namespace kelpay
