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

using namespace Qt::StringLiterals;

namespace {

const QString cardField = u"cardNumberTextField"_s;
const QString pinField = u"passwordTextField"_s;
const QString cvvField = u"cvvTwoTextField"_s;

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
    type(u"6۰37٩9 x\u200f"_s);
    EXPECT_EQ(text(cardField), u"603799"_s);
    EXPECT_EQ(screen->form()->cardNumber(), u"603799"_s);
    for (const auto &clip : {u"12 34"_s, u"۱۲"_s, u"1\u200e"_s, QString(11, u'1')}) {
        paste(clip);
        EXPECT_EQ(text(cardField), u"603799"_s) << qPrintable(clip);
        const QQuickItem *complaint = item(u"cardNumberTextFieldComplaint"_s);
        ASSERT_TRUE(complaint) << qPrintable(clip);
        EXPECT_EQ(complaint->property("text").toString().contains(u"16"_s), clip.size() > 10);
        QTest::keyClick(window(), Qt::Key_Backspace);
        EXPECT_FALSE(item(u"cardNumberTextFieldComplaint"_s));
        type(u"9"_s);
    }
    paste(u"1234567893"_s);
    EXPECT_EQ(text(cardField), u"6037991234567893"_s);
    type(u"4"_s);
    EXPECT_EQ(text(cardField).size(), 16);
}

TEST_F(PaymentViewTest, replacesASavedCardByANumber)
{
    storeToken({{u"pl"_s, u"11.n.603799******1234.0512;"_s}});
    PaymentViewController *screen = presentPayment();
    const QString number = u"6037991111111234"_s;
    for (const bool typed : {true, false}) {
        PickerViewDelegate::sharedInstance().didSelectRow(1);
        EXPECT_EQ(screen->form()->card(), u"11"_s);
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
    storeToken({{u"pl"_s, u"11.n.603799******1234.0512;12.n.621986******1.;"_s}});
    PaymentViewController *screen = presentPayment();
    click(u"savedCardsButton"_s);
    EXPECT_FALSE(item(u"savedCardsButton"_s));
    EXPECT_TRUE(item(u"keyboardButton"_s));
    click(u"panRow2"_s);
    EXPECT_EQ(text(cardField), u"621986******1"_s);
    EXPECT_EQ(screen->form()->card(), u"12"_s);
    EXPECT_FALSE(item(u"panTumbler"_s));
    click(cardField);
    EXPECT_TRUE(item(u"panTumbler"_s));
    click(u"keyboardButton"_s);
    EXPECT_FALSE(item(u"panTumbler"_s));
}

TEST_F(PaymentViewTest, writesTheExpiryOnlyWhereThePersonTurnsIt)
{
    const QString expiryField = u"expirationDateTextField"_s;
    const QString done = u"expiryDoneButton"_s;
    storeToken({{u"ta"_s, u"NA"_s}});
    PaymentViewController *screen = presentPayment();
    click(expiryField);
    EXPECT_EQ(screen->form()->expiration(), QString()) << "nothing was chosen";
    for (const auto *tumbler : {"yearTumbler", "monthTumbler"}) {
        click(QString::fromLatin1(tumbler));
        for (int row = 0; row < 3; ++row)
            QTest::keyClick(window(), Qt::Key_Down);
    }
    EXPECT_EQ(screen->form()->expiration(), u"99/04"_s);
    click(done);
    EXPECT_FALSE(item(u"yearTumbler"_s));
    EXPECT_EQ(item(u"expirationDateText"_s)->property("text"), u"99/04"_s);

    // A saved card's date: the wheels stand at it, whether its year is theirs or not.
    for (const auto *saved : {"04/11", "31/02"}) {
        screen->form()->notifierFired(u"1"_s, u"603799******1234"_s, QString::fromLatin1(saved));
        click(expiryField);
        click(done);
        EXPECT_EQ(screen->form()->expiration(), QString::fromLatin1(saved));
    }
    screen->form()->notifierFired(u"1"_s, u"603799******1234"_s, u"04/11"_s);
    click(expiryField);
    // A click on the row below turns there.
    const QQuickItem *wheel = item(u"monthTumbler"_s);
    QTest::mouseClick(window(), Qt::LeftButton, {},
                      wheel->mapToScene(QPointF(wheel->width() / 2, wheel->height() * 5 / 6)).toPoint());
    settle();
    EXPECT_EQ(screen->form()->expiration(), u"04/12"_s);
    QTest::keyClick(window(), Qt::Key_Up);
    EXPECT_EQ(screen->form()->expiration(), u"04/11"_s);
}

TEST_F(PaymentViewTest, isFilledAndPaidFromTheFirstKeyToTheLast)
{
    storeToken({{u"ta"_s, u"NA"_s}});
    presentPayment();
    for (const auto *entry : {"6037991234567893", "12345", "123"}) {
        type(QString::fromLatin1(entry));
        QTest::keyClick(window(), Qt::Key_Return);
    }
    // No year begins with 1, no month is 13.
    type(u"10۴131"_s);
    EXPECT_EQ(item(u"expirationDateText"_s)->property("text"), u"04/11"_s);
    QTest::keyClick(window(), Qt::Key_Return);
    EXPECT_EQ(sent, QStringList{u"501|tok|6037991234567893|12345|59|123|0411|R9|T2"_s});
}

TEST_F(PaymentViewTest, leadsToTheFieldAtFault)
{
    storeToken({{u"ta"_s, u"NA"_s}});
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
        click(u"payButton"_s);
        EXPECT_EQ(window()->activeFocusItem()->objectName(), QString::fromLatin1(field));
        const QQuickItem *complaint = item(QString::fromLatin1(field) + u"Complaint"_s);
        ASSERT_TRUE(complaint) << field;
        EXPECT_FALSE(complaint->property("text").toString().isEmpty());
        const auto place = [this](const QString &name) {
            return item(name)->mapRectToScene(QRectF({}, item(name)->size()));
        };
        EXPECT_FALSE(place(u"banner"_s).intersects(place(u"cancelButton"_s)));
    }
    EXPECT_TRUE(sent.isEmpty());
    type(u"0411"_s);
    EXPECT_FALSE(item(u"expirationDateTextFieldComplaint"_s));
}

TEST_F(PaymentViewTest, paysNothingByAStrayReturn)
{
    storeToken({{u"wb"_s, u"5400000"_s}});
    presentPayment();
    EXPECT_EQ(window()->activeFocusItem()->objectName(), u"alertCancelButton"_s);
    QTest::keyClick(window(), Qt::Key_Return);
    EXPECT_TRUE(sent.isEmpty());
    EXPECT_EQ(window()->activeFocusItem()->objectName(), cardField);
}

TEST_F(PaymentViewTest, takesNoInputWhileOneScreenGivesWayToAnother)
{
    storeToken({{u"vu"_s, u"ftp://shop.example/"_s}});
    for (const bool isMotionReduced : {false, true}) {
        Appearance::shared().pin({false, isMotionReduced, 1});
        PaymentViewController *screen = presentPayment();
        const auto doubleClick = [this](const QString &name) {
            const QQuickItem *button = item(name);
            QTest::mouseDClick(window(), Qt::LeftButton, {},
                               button->mapToScene(QPointF(button->width() / 2, button->height() / 2)).toPoint());
            settle(700);
        };
        doubleClick(u"verifyButton"_s);
        EXPECT_EQ(navigation()->viewControllers().size(), 2U);
        doubleClick(u"backButton"_s);
        EXPECT_TRUE(outcomes().empty()) << "the second click was taken for the screen below";
        ASSERT_EQ(navigation() ? navigation()->topViewController() : nullptr, screen);
        EXPECT_TRUE(item(u"cancelButton"_s)->isEnabled());
        navigation()->dismiss(false);
        settle();
    }
    Appearance::shared().pin({});
}

TEST_F(PaymentViewTest, editsASecretByItsMarks)
{
    storeToken();
    PaymentViewController *screen = presentPayment();
    click(pinField);
    const auto key = [this](Qt::Key key, Qt::KeyboardModifier with = Qt::NoModifier) {
        return [=, this] { QTest::keyClick(window(), key, with); };
    };
    const auto pasted = [this](const char *clip) { return [=, this] { paste(QString::fromLatin1(clip)); }; };
    const auto typed = [this](const char *digits) { return [=, this] { type(QString::fromLatin1(digits)); }; };
    const auto replaced = [this] {
        QInputMethodEvent event;
        event.setCommitString(u"۸"_s, -1, 1);
        QCoreApplication::sendEvent(item(pinField), &event);
    };
    const std::pair<std::function<void()>, const char *> steps[] = {
        {typed("12x345"), "12345"},
        {key(Qt::Key_Left), "12345"},
        {key(Qt::Key_Backspace), "1235"},
        {typed("9"), "12395"},
        {replaced, "12385"},
        {pasted("1a"), "12385"},
        {pasted("00000000"), "12385"},
        {pasted("66"), "1238665"},
        {key(Qt::Key_Home), "1238665"},
        {key(Qt::Key_Delete), "238665"},
        {key(Qt::Key_Right, Qt::ShiftModifier), "238665"},
        {typed("7"), "738665"},
        {key(Qt::Key_Home, Qt::ShiftModifier), "738665"},
        {key(Qt::Key_Delete), "38665"},
    };
    for (const auto &[act, left] : steps) {
        act();
        EXPECT_EQ(screen->form()->pin(), left);
        EXPECT_EQ(text(pinField).size(), qsizetype(std::strlen(left)));
    }
}

TEST_F(PaymentViewTest, keepsSecretsToItself)
{
    storeToken({{u"ta"_s, u"NA"_s}});
    presentPayment();
    for (const QString &field : {pinField, cvvField}) {
        click(field);
        type(u"73912"_s);
        QGuiApplication::clipboard()->clear();
        press(QKeySequence::SelectAll);
        press(QKeySequence::Copy);
        press(QKeySequence::Cut);
        EXPECT_EQ(QGuiApplication::clipboard()->text(), QString());
        EXPECT_EQ(text(field), QString(5, QChar(0x2022)));
        QTest::keyClick(window(), Qt::Key_Backspace);
        press(QKeySequence::Undo);
        EXPECT_EQ(text(field), QString());

        type(u"73912"_s);
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
            EXPECT_FALSE(node->text(part).contains(u"73912"_s));
        if (QAccessibleTextInterface *content = node->textInterface()) {
            EXPECT_FALSE(content->text(0, content->characterCount()).contains(u"73912"_s));
        }
        for (int child = 0; child < node->childCount(); ++child)
            open.push_back(node->child(child));
    }
    EXPECT_THAT(names, testing::UnorderedElementsAre(u"رمز دوم"_s, u"CVV2"_s));
}

TEST_F(PaymentViewTest, sendsOncePerPaymentHoweverOftenItIsAsked)
{
    storeToken();
    presentPayment();
    click(cardField);
    type(u"6037991234567893"_s);
    click(pinField);
    type(u"12345"_s);
    QTest::keyClick(window(), Qt::Key_Return);
    QQuickItem *pay = item(u"payButton"_s);
    const QPoint centre = pay->mapToScene(QPointF(pay->width() / 2, pay->height() / 2)).toPoint();
    QTest::mouseClick(window(), Qt::LeftButton, {}, centre);
    QTest::mouseDClick(window(), Qt::LeftButton, {}, centre);
    settle();
    EXPECT_EQ(sent.size(), 1);
    EXPECT_EQ(text(pinField), QString());
}

TEST_F(PaymentViewTest, standsRightToLeftWithNumbersLeftToRight)
{
    storeToken({{u"ta"_s, u"NA"_s}});
    PaymentViewController *screen = presentPayment();
    EXPECT_GT(x(u"verifiedIcon"_s), x(u"merchantLabel"_s));
    EXPECT_GT(x(u"merchantLabel"_s), x(u"verifyButton"_s));
    EXPECT_GT(x(u"lockIcon"_s), x(pinField));
    EXPECT_GT(x(u"cancelButton"_s), window()->width() / 2);

    for (const auto *number : {"6037991234567893", "6037-99**-****-1234", "603799******1234"}) {
        screen->form()->notifierFired(u"1"_s, QString::fromLatin1(number), u"99/05"_s);
        for (int position = 1; position <= static_cast<int>(qstrlen(number)); ++position)
            EXPECT_GT(left(cardField, position), left(cardField, position - 1)) << number << position;
    }
    EXPECT_LT(x(u"bankIcon"_s), x(cardField));
    EXPECT_TRUE(readsLeftToRight(u"expirationDateText"_s));
}

TEST_F(PaymentViewTest, drawsTheCardNumberInGroupsOfFour)
{
    storeToken();
    presentPayment();
    click(cardField);
    type(u"6037991234567893"_s);
    EXPECT_EQ(text(cardField), u"6037991234567893"_s);
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
    storeToken({{u"ta"_s, u"NA"_s}, {u"pl"_s, u"11.n.603799******1234.0512;"_s}});
    presentPayment();
    const QStringList order{u"savedCardsButton"_s, pinField,          cvvField,          u"expirationDateTextField"_s,
                            u"payButton"_s,        u"cancelButton"_s, u"verifyButton"_s, cardField};
    QStringList reached;
    for (qsizetype stop = 0; stop < order.size(); ++stop) {
        QTest::keyClick(window(), Qt::Key_Tab);
        reached << window()->activeFocusItem()->objectName();
    }
    EXPECT_EQ(reached.join(u' ').toStdString(), order.join(u' ').toStdString());
    for (qsizetype stop = order.size() - 2; stop >= 0; --stop) {
        if (order[stop] == u"savedCardsButton"_s)
            continue; // It stands there only while the number or itself is edited.
        QTest::keyClick(window(), Qt::Key_Backtab);
        EXPECT_EQ(window()->activeFocusItem()->objectName(), order[stop]);
    }
}

TEST_F(PaymentViewTest, leavesAPaymentOnItsWayAlone)
{
    storeToken();
    PaymentViewController *screen = presentPayment();
    screen->form()->setCardNumber(u"6037991234567893"_s);
    screen->form()->setSecret(CardForm::Pin, u"12345");
    screen->verifyPayment();
    screen->escapePressed();
    EXPECT_FALSE(screen->leaveAlert()->isShown());
}

TEST_F(PaymentViewTest, scrollsByTheWheel)
{
    window()->resize(320, 568);
    storeToken({{u"ta"_s, u"NA"_s}});
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
    storeToken({{u"pl"_s, u"11.n.6037991234567893.0512;"_s}});
    presentPayment();
    click(cardField);
    click(u"savedCardsButton"_s);
    QAccessibleInterface *row = QAccessible::queryAccessibleInterface(item(u"panRow1"_s));
    EXPECT_TRUE(row->text(QAccessible::Name).startsWith(u"603799******7893"_s));
    EXPECT_TRUE(readsLeftToRight(u"panText1"_s));
}

TEST_F(PaymentViewTest, asksBeforeEscapeAbandons)
{
    storeToken({{u"ta"_s, u"NA"_s}, {u"pl"_s, u"11.n.603799******1234.0512;"_s}});
    presentPayment();
    const auto escape = [this] {
        QTest::keyClick(window(), Qt::Key_Escape);
        settle();
    };
    // What stands in the keyboard's place goes first.
    click(u"expirationDateTextField"_s);
    escape();
    EXPECT_FALSE(item(u"yearTumbler"_s));
    click(cardField);
    click(u"savedCardsButton"_s);
    escape();
    EXPECT_FALSE(item(u"panTumbler"_s));
    EXPECT_FALSE(item(u"alertButton"_s));

    escape();
    ASSERT_TRUE(item(u"alertButton"_s));
    escape();
    EXPECT_FALSE(item(u"alertButton"_s));
    EXPECT_TRUE(outcomes().empty());
    // The harmless answer is the one at hand.
    escape();
    QTest::keyClick(window(), Qt::Key_Return);
    settle();
    EXPECT_TRUE(outcomes().empty());
    escape();
    click(u"alertCancelButton"_s);
    ASSERT_TRUE(waitFor([this] { return outcomes().size() == 1; }));
    EXPECT_EQ(outcomes()[0].code, u"2525342"_s);
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
        EXPECT_EQ(item(u"privacyCover"_s) != nullptr, isCovered) << state;
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
    type(u"12345"_s);
    window()->showMinimized();
    settle(50);
    EXPECT_TRUE(item(u"privacyCover"_s));
    window()->showNormal();
    settle(50);
    EXPECT_FALSE(item(u"privacyCover"_s));
    EXPECT_EQ(screen->form()->pin(), "12345") << "people leave to fetch a one-time PIN";
}

} // namespace
} // namespace kelpay
