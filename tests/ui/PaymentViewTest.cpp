#include "Screens.h"

#include "ui/components/Appearance.h"
#include "ui/components/RootViewController.h"
#include "ui/payment/EntryGuard.h"

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>
#include <QInputMethodQueryEvent>
#include <QTest>
#include <gmock/gmock.h>

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
        const QQuickItem *complaint = item(QStringLiteral("cardNumberTextFieldComplaint"));
        ASSERT_TRUE(complaint) << qPrintable(clip);
        EXPECT_EQ(complaint->property("text").toString().contains(QStringLiteral("16")), clip.size() > 10);
        QTest::keyClick(window(), Qt::Key_Backspace);
        EXPECT_FALSE(item(QStringLiteral("cardNumberTextFieldComplaint")));
        type(QStringLiteral("9"));
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

TEST_F(PaymentViewTest, writesTheExpiryOnlyWhereThePersonTurnsIt)
{
    const QString expiryField = QStringLiteral("expirationDateTextField");
    const QString done = QStringLiteral("expiryDoneButton");
    storeToken({{QStringLiteral("ta"), QStringLiteral("NA")}});
    PaymentViewController *screen = presentPayment();
    click(expiryField);
    EXPECT_EQ(screen->form()->expiration(), QString()) << "nothing was chosen";
    for (const auto *tumbler : {"yearTumbler", "monthTumbler"}) {
        click(QString::fromLatin1(tumbler));
        for (int row = 0; row < 3; ++row)
            QTest::keyClick(window(), Qt::Key_Down);
    }
    EXPECT_EQ(screen->form()->expiration(), QStringLiteral("99/04"));
    click(done);
    EXPECT_FALSE(item(QStringLiteral("yearTumbler")));
    EXPECT_EQ(item(QStringLiteral("expirationDateText"))->property("text"), QStringLiteral("99/04"));

    // A saved card's date: the wheels stand at it, whether its year is theirs or not.
    for (const auto *saved : {"04/11", "31/02"}) {
        screen->form()->notifierFired(QStringLiteral("1"), QStringLiteral("603799******1234"),
                                      QString::fromLatin1(saved));
        click(expiryField);
        click(done);
        EXPECT_EQ(screen->form()->expiration(), QString::fromLatin1(saved));
    }
    screen->form()->notifierFired(QStringLiteral("1"), QStringLiteral("603799******1234"), QStringLiteral("04/11"));
    click(expiryField);
    // A click on the row below turns there.
    const QQuickItem *wheel = item(QStringLiteral("monthTumbler"));
    QTest::mouseClick(window(), Qt::LeftButton, {},
                      wheel->mapToScene(QPointF(wheel->width() / 2, wheel->height() * 5 / 6)).toPoint());
    settle();
    EXPECT_EQ(screen->form()->expiration(), QStringLiteral("04/12"));
    QTest::keyClick(window(), Qt::Key_Up);
    EXPECT_EQ(screen->form()->expiration(), QStringLiteral("04/11"));
}

TEST_F(PaymentViewTest, isFilledAndPaidFromTheFirstKeyToTheLast)
{
    storeToken({{QStringLiteral("ta"), QStringLiteral("NA")}});
    presentPayment();
    for (const auto *entry : {"6037991234567893", "12345", "123"}) {
        type(QString::fromLatin1(entry));
        QTest::keyClick(window(), Qt::Key_Return);
    }
    // No year begins with 1, no month is 13.
    type(QStringLiteral("10۴131"));
    EXPECT_EQ(item(QStringLiteral("expirationDateText"))->property("text"), QStringLiteral("04/11"));
    QTest::keyClick(window(), Qt::Key_Return);
    EXPECT_EQ(sent, QStringList{QStringLiteral("501|tok|6037991234567893|12345|59|123|0411|R9|T2")});
}

TEST_F(PaymentViewTest, leadsToTheFieldAtFault)
{
    storeToken({{QStringLiteral("ta"), QStringLiteral("NA")}});
    presentPayment();
    const struct
    {
        const char *typed;
        const char *field;
    } steps[] = {{"60379912345678", "cardNumberTextField"},
                 {"93", "passwordTextField"},
                 {"12345", "cvvTwoTextField"},
                 {"123", "expirationDateTextField"}};
    for (const auto &[typed, field] : steps) {
        type(QString::fromLatin1(typed));
        click(QStringLiteral("payButton"));
        EXPECT_EQ(window()->activeFocusItem()->objectName(), QString::fromLatin1(field));
        const QQuickItem *complaint = item(QString::fromLatin1(field) + QStringLiteral("Complaint"));
        ASSERT_TRUE(complaint) << field;
        EXPECT_FALSE(complaint->property("text").toString().isEmpty());
        const auto place = [this](const QString &name) {
            return item(name)->mapRectToScene(QRectF({}, item(name)->size()));
        };
        EXPECT_FALSE(place(QStringLiteral("banner")).intersects(place(QStringLiteral("cancelButton"))));
    }
    EXPECT_TRUE(sent.isEmpty());
    type(QStringLiteral("0411"));
    EXPECT_FALSE(item(QStringLiteral("expirationDateTextFieldComplaint")));
}

TEST_F(PaymentViewTest, paysNothingByAStrayReturn)
{
    storeToken({{QStringLiteral("wb"), QStringLiteral("5400000")}});
    presentPayment();
    EXPECT_EQ(window()->activeFocusItem()->objectName(), QStringLiteral("alertCancelButton"));
    QTest::keyClick(window(), Qt::Key_Return);
    EXPECT_TRUE(sent.isEmpty());
    EXPECT_EQ(window()->activeFocusItem()->objectName(), cardField);
}

TEST_F(PaymentViewTest, takesNoInputWhileOneScreenGivesWayToAnother)
{
    storeToken({{QStringLiteral("vu"), QStringLiteral("ftp://shop.example/")}});
    for (const bool isMotionReduced : {false, true}) {
        Appearance::shared().pin({false, isMotionReduced, 1});
        PaymentViewController *screen = presentPayment();
        const auto doubleClick = [this](const QString &name) {
            const QQuickItem *button = item(name);
            QTest::mouseDClick(window(), Qt::LeftButton, {},
                               button->mapToScene(QPointF(button->width() / 2, button->height() / 2)).toPoint());
            settle(700);
        };
        doubleClick(QStringLiteral("verifyButton"));
        EXPECT_EQ(navigation()->viewControllers().size(), 2U);
        doubleClick(QStringLiteral("backButton"));
        EXPECT_TRUE(outcomes().empty()) << "the second click was taken for the screen below";
        ASSERT_EQ(navigation() ? navigation()->topViewController() : nullptr, screen);
        EXPECT_TRUE(item(QStringLiteral("cancelButton"))->isEnabled());
        navigation()->dismiss(false);
        settle();
    }
    Appearance::shared().pin({});
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
    QStringList names;
    while (!open.empty()) {
        QAccessibleInterface *node = open.back();
        open.pop_back();
        if (node->state().passwordEdit) {
            names << node->text(QAccessible::Name);
            EXPECT_EQ(node->role(), QAccessible::EditableText);
            EXPECT_EQ(node->parent()->indexOfChild(node) >= 0, true);
            node->actionInterface()->doAction(QAccessibleActionInterface::setFocusAction());
            EXPECT_TRUE(node->state().focused);
        }
        for (const auto part : {QAccessible::Name, QAccessible::Value, QAccessible::Description})
            EXPECT_FALSE(node->text(part).contains(QStringLiteral("73912")));
        if (QAccessibleTextInterface *content = node->textInterface()) {
            EXPECT_FALSE(content->text(0, content->characterCount()).contains(QStringLiteral("73912")));
        }
        for (int child = 0; child < node->childCount(); ++child)
            open.push_back(node->child(child));
    }
    EXPECT_THAT(names, testing::UnorderedElementsAre(QStringLiteral("رمز دوم"), QStringLiteral("CVV2")));
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
        screen->form()->notifierFired(QStringLiteral("1"), QString::fromLatin1(number), QStringLiteral("99/05"));
        for (int position = 1; position <= static_cast<int>(qstrlen(number)); ++position)
            EXPECT_GT(left(cardField, position), left(cardField, position - 1)) << number << position;
    }
    EXPECT_LT(x(QStringLiteral("bankIcon")), x(cardField));
    EXPECT_TRUE(readsLeftToRight(QStringLiteral("expirationDateText")));
}

TEST_F(PaymentViewTest, drawsTheCardNumberInGroupsOfFour)
{
    storeToken();
    presentPayment();
    click(cardField);
    type(QStringLiteral("6037991234567893"));
    EXPECT_EQ(text(cardField), QStringLiteral("6037991234567893"));
    const auto step = [this](int digit) { return left(cardField, digit + 1) - left(cardField, digit); };
    for (int digit = 1; digit < 16; ++digit)
        EXPECT_EQ(step(digit) > step(0) + 4, digit == 3 || digit == 7 || digit == 11) << digit;
    // A click between two groups puts the cursor there.
    const QPointF gap = item(cardField)->mapToScene(QPointF(left(cardField, 8) - 2, 10));
    QTest::mouseClick(window(), Qt::LeftButton, {}, gap.toPoint());
    EXPECT_EQ(item(cardField)->property("cursorPosition"), 8);
}

TEST_F(PaymentViewTest, goesFromFieldToFieldByTab)
{
    storeToken({{QStringLiteral("ta"), QStringLiteral("NA")},
                {QStringLiteral("pl"), QStringLiteral("11.n.603799******1234.0512;")}});
    presentPayment();
    const QStringList order{QStringLiteral("savedCardsButton"),
                            pinField,
                            cvvField,
                            QStringLiteral("expirationDateTextField"),
                            QStringLiteral("payButton"),
                            QStringLiteral("cancelButton"),
                            QStringLiteral("verifyButton"),
                            cardField};
    QStringList reached;
    for (qsizetype stop = 0; stop < order.size(); ++stop) {
        QTest::keyClick(window(), Qt::Key_Tab);
        reached << window()->activeFocusItem()->objectName();
    }
    EXPECT_EQ(reached.join(u' ').toStdString(), order.join(u' ').toStdString());
    for (qsizetype stop = order.size() - 2; stop >= 0; --stop) {
        if (order[stop] == QStringLiteral("savedCardsButton"))
            continue; // It stands there only while the number or itself is edited.
        QTest::keyClick(window(), Qt::Key_Backtab);
        EXPECT_EQ(window()->activeFocusItem()->objectName(), order[stop]);
    }
}

TEST_F(PaymentViewTest, leavesAPaymentOnItsWayAlone)
{
    storeToken();
    PaymentViewController *screen = presentPayment();
    screen->form()->setCardNumber(QStringLiteral("6037991234567893"));
    screen->form()->setPin(QStringLiteral("12345"));
    screen->verifyPayment();
    screen->escapePressed();
    EXPECT_FALSE(screen->leaveAlert()->isShown());
}

TEST_F(PaymentViewTest, scrollsByTheWheel)
{
    window()->resize(320, 568);
    storeToken({{QStringLiteral("ta"), QStringLiteral("NA")}});
    presentPayment();
    const qreal before = item(cardField)->mapToScene({}).y();
    const QPointF at(160, 200);
    for (int turn = 0; turn < 3; ++turn) {
        QWheelEvent wheel(at, window()->mapToGlobal(at), {}, {0, -120}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase,
                          false);
        QCoreApplication::sendEvent(window(), &wheel);
        settle(100);
    }
    EXPECT_LT(item(cardField)->mapToScene({}).y(), before - 30);
}

TEST_F(PaymentViewTest, masksSavedNumbersInTheList)
{
    storeToken({{QStringLiteral("pl"), QStringLiteral("11.n.6037991234567893.0512;")}});
    presentPayment();
    click(cardField);
    click(QStringLiteral("savedCardsButton"));
    QAccessibleInterface *row = QAccessible::queryAccessibleInterface(item(QStringLiteral("panRow1")));
    EXPECT_TRUE(row->text(QAccessible::Name).startsWith(QStringLiteral("603799******7893")));
    EXPECT_TRUE(readsLeftToRight(QStringLiteral("panText1")));
}

TEST_F(PaymentViewTest, asksBeforeEscapeAbandons)
{
    storeToken({{QStringLiteral("ta"), QStringLiteral("NA")},
                {QStringLiteral("pl"), QStringLiteral("11.n.603799******1234.0512;")}});
    presentPayment();
    const auto escape = [this] {
        QTest::keyClick(window(), Qt::Key_Escape);
        settle();
    };
    // What stands in the keyboard's place goes first.
    click(QStringLiteral("expirationDateTextField"));
    escape();
    EXPECT_FALSE(item(QStringLiteral("yearTumbler")));
    click(cardField);
    click(QStringLiteral("savedCardsButton"));
    escape();
    EXPECT_FALSE(item(QStringLiteral("panTumbler")));
    EXPECT_FALSE(item(QStringLiteral("alertButton")));

    escape();
    ASSERT_TRUE(item(QStringLiteral("alertButton")));
    escape();
    EXPECT_FALSE(item(QStringLiteral("alertButton")));
    EXPECT_TRUE(outcomes().empty());
    // The harmless answer is the one at hand.
    escape();
    QTest::keyClick(window(), Qt::Key_Return);
    settle();
    EXPECT_TRUE(outcomes().empty());
    escape();
    click(QStringLiteral("alertCancelButton"));
    ASSERT_TRUE(waitFor([this] { return outcomes().size() == 1; }));
    EXPECT_EQ(outcomes()[0].code, QStringLiteral("2525342"));
}

TEST_F(PaymentViewTest, coversItsContentWhilePutAway)
{
    storeToken();
    PaymentViewController *screen = presentPayment();
    for (const auto &[state, isCovered] : {std::pair(Qt::ApplicationInactive, false),
                                           {Qt::ApplicationHidden, true},
                                           {Qt::ApplicationActive, false},
                                           {Qt::ApplicationSuspended, true},
                                           {Qt::ApplicationActive, false}}) {
        Q_EMIT qGuiApp->applicationStateChanged(state);
        EXPECT_EQ(item(QStringLiteral("privacyCover")) != nullptr, isCovered) << state;
    }
    // An alert too, which stands above the screens.
    Q_EMIT qGuiApp->applicationStateChanged(Qt::ApplicationHidden);
    settle(50);
    const QImage covered = window()->grabWindow();
    screen->escapePressed();
    settle();
    EXPECT_TRUE(screen->leaveAlert()->isShown());
    EXPECT_EQ(window()->grabWindow(), covered);
    screen->leaveAlert()->dismiss();
    Q_EMIT qGuiApp->applicationStateChanged(Qt::ApplicationActive);
    click(pinField);
    type(QStringLiteral("12345"));
    window()->showMinimized();
    settle(50);
    EXPECT_TRUE(item(QStringLiteral("privacyCover")));
    window()->showNormal();
    settle(50);
    EXPECT_FALSE(item(QStringLiteral("privacyCover")));
    EXPECT_EQ(text(pinField), QStringLiteral("12345")) << "people leave to fetch a one-time PIN";
}

} // namespace
} // namespace kelpay
