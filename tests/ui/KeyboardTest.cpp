#include "Screens.h"

#include <QGuiApplication>
#include <QInputMethod>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QTest>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

/// A kiosk: the smallest window, and Qt's own keyboard at its bottom, above whatever stands there.
class KeyboardTest : public ScreenTest
{
protected:
    KeyboardTest()
    {
        window()->resize(320, 568);
        QQmlComponent component(&m_engine);
        // Twice as wide as the window, because its height follows from its width: as high as a phone's.
        component.setData("import QtQuick\n"
                          "import QtQuick.VirtualKeyboard\n"
                          "InputPanel { z: 2000000; x: -160; width: 640; "
                          "y: active ? parent.height - height : parent.height }",
                          {});
        if (!component.isReady()) {
            ADD_FAILURE() << qPrintable(component.errorString());
            return;
        }
        m_panel.reset(qobject_cast<QQuickItem *>(
            component.createWithInitialProperties({{u"parent"_s, QVariant::fromValue(window()->contentItem())}})));
    }

    QRectF place(const QString &name) const
    {
        QQuickItem *shown = item(name);
        return shown ? shown->mapRectToScene(QRectF({}, shown->size())) : QRectF();
    }
    /// Drags the form, as a finger does, until the item stands between the bar and the pay button.
    void scrollTo(const QString &name)
    {
        for (int drag = 0; drag < 20; ++drag) {
            const bool isBelow = place(name).bottom() > place(payButton).top();
            const bool isAbove = place(name).top() < place(u"cancelButton"_s).bottom();
            if (!isBelow && !isAbove)
                return;
            const int from = isBelow ? 220 : 120;
            QTest::mousePress(window(), Qt::LeftButton, {}, {8, from});
            for (int step = 1; step <= 8; ++step)
                QTest::mouseMove(window(), {8, from + (isBelow ? -10 : 10) * step}, 10);
            QTest::mouseRelease(window(), Qt::LeftButton, {}, {8, from + (isBelow ? -80 : 80)}, 100);
            settle(200);
        }
    }
    /// Opens the keyboard on a field, which must then stand above the pay button, and both above the keyboard.
    void open(const QString &field)
    {
        scrollTo(field);
        click(field);
        ASSERT_TRUE(waitFor([] { return QGuiApplication::inputMethod()->isVisible(); }));
        settle(600);
        const qreal top = m_panel->y();
        EXPECT_LT(top, 400) << "the keyboard is not open";
        EXPECT_LE(place(payButton).bottom(), top) << qPrintable(field);
        EXPECT_LE(place(field).bottom(), place(payButton).top()) << qPrintable(field);
        EXPECT_GE(place(field).top(), place(u"cancelButton"_s).bottom()) << qPrintable(field);
    }
    /// A finger rests a moment: what moves from under it is not pressed.
    void press(const QString &name)
    {
        const QPoint centre = place(name).center().toPoint();
        QTest::mousePress(window(), Qt::LeftButton, {}, centre);
        settle(400);
        QTest::mouseRelease(window(), Qt::LeftButton, {}, centre);
        settle(600);
    }
    static bool isKeyboardOpen() { return QGuiApplication::inputMethod()->isVisible(); }
    QQuickItem *key(QQuickItem *below, const QString &text) const
    {
        if (below->isVisible() && QByteArray(below->metaObject()->className()).startsWith("Key_") &&
            below->property("text") == text)
            return below;
        for (QQuickItem *child : below->childItems()) {
            if (QQuickItem *found = key(child, text))
                return found;
        }
        return nullptr;
    }
    void tap(const QString &digits)
    {
        for (const QChar digit : digits) {
            QQuickItem *button = key(m_panel.get(), digit);
            ASSERT_TRUE(button) << "the keyboard shows no digits";
            const QPointF centre = button->mapToScene(QPointF(button->width() / 2, button->height() / 2));
            QTest::mouseClick(window(), Qt::LeftButton, {}, centre.toPoint());
            settle(30);
        }
    }

    const QString payButton = u"payButton"_s;
    QQmlEngine m_engine;
    std::unique_ptr<QQuickItem> m_panel;
};

TEST_F(KeyboardTest, paysWithTheKeyboardOpen)
{
    storeToken({{u"ta"_s, u"NA"_s}, {u"pl"_s, u"1.n.603799******1234.;"_s}});
    PaymentViewController *screen = presentPayment();
    open(u"cardNumberTextField"_s);
    EXPECT_LE(place(u"savedCardsButton"_s).bottom(), m_panel->y());
    tap(u"6037991234567893"_s);
    EXPECT_EQ(screen->form()->cardNumber(), u"6037991234567893"_s);

    scrollTo(u"expirationDateTextField"_s);

    click(u"expirationDateTextField"_s);
    settle(600);
    EXPECT_FALSE(QGuiApplication::inputMethod()->isVisible()) << "the wheels stand in the keyboard's place";
    for (int year = 0; year < 8; ++year)
        QTest::keyClick(window(), Qt::Key_Down);
    click(u"monthTumbler"_s);
    for (int month = 0; month < 10; ++month)
        QTest::keyClick(window(), Qt::Key_Down);
    click(u"expiryDoneButton"_s);

    open(u"passwordTextField"_s);
    tap(u"12345"_s);
    open(u"cvvTwoTextField"_s);
    tap(u"123"_s);
    press(payButton);
    EXPECT_EQ(sent, QStringList{u"501|tok|6037991234567893|12345|59|123|0411|R9|T2"_s});
}

TEST_F(KeyboardTest, paysWithASavedCard)
{
    storeToken({{u"ta"_s, u"NA"_s}, {u"pl"_s, u"11.n.603799******1234.0411;"_s}});
    presentPayment();
    open(u"cardNumberTextField"_s);
    press(u"savedCardsButton"_s);
    ASSERT_TRUE(item(u"panRow1"_s));
    EXPECT_FALSE(isKeyboardOpen());
    press(u"panRow1"_s);
    // The list is the field's input until the person asks for the keyboard.
    scrollTo(u"cardNumberTextField"_s);
    press(u"cardNumberTextField"_s);
    EXPECT_TRUE(item(u"panRow1"_s));
    EXPECT_FALSE(isKeyboardOpen()) << "over the list";
    press(u"keyboardButton"_s);
    EXPECT_TRUE(isKeyboardOpen());

    open(u"passwordTextField"_s);
    tap(u"12345"_s);
    open(u"cvvTwoTextField"_s);
    tap(u"123"_s);
    press(payButton);
    EXPECT_EQ(sent, QStringList{u"501|tok|11|12345|59|123|0411|R9|T2"_s});
}

} // namespace
} // namespace kelpay
