#include "Screens.h"

#include <QGuiApplication>
#include <QInputMethod>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QTest>

namespace kelpay {
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
        m_panel.reset(qobject_cast<QQuickItem *>(component.createWithInitialProperties(
            {{QStringLiteral("parent"), QVariant::fromValue(window()->contentItem())}})));
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
            const bool isAbove = place(name).top() < place(QStringLiteral("cancelButton")).bottom();
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
        EXPECT_GE(place(field).top(), place(QStringLiteral("cancelButton")).bottom()) << qPrintable(field);
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

    const QString payButton = QStringLiteral("payButton");
    QQmlEngine m_engine;
    std::unique_ptr<QQuickItem> m_panel;
};

TEST_F(KeyboardTest, paysWithTheKeyboardOpen)
{
    storeToken({{QStringLiteral("ta"), QStringLiteral("NA")},
                {QStringLiteral("pl"), QStringLiteral("1.n.603799******1234.;")}});
    PaymentViewController *screen = presentPayment();
    open(QStringLiteral("cardNumberTextField"));
    EXPECT_LE(place(QStringLiteral("savedCardsButton")).bottom(), m_panel->y());
    tap(QStringLiteral("6037991234567893"));
    EXPECT_EQ(screen->form()->cardNumber(), QStringLiteral("6037991234567893"));

    scrollTo(QStringLiteral("expirationDateTextField"));

    click(QStringLiteral("expirationDateTextField"));
    settle(600);
    EXPECT_FALSE(QGuiApplication::inputMethod()->isVisible()) << "the wheels stand in the keyboard's place";
    for (int year = 0; year < 8; ++year)
        QTest::keyClick(window(), Qt::Key_Down);
    click(QStringLiteral("monthTumbler"));
    for (int month = 0; month < 10; ++month)
        QTest::keyClick(window(), Qt::Key_Down);
    click(QStringLiteral("expiryDoneButton"));

    open(QStringLiteral("passwordTextField"));
    tap(QStringLiteral("12345"));
    open(QStringLiteral("cvvTwoTextField"));
    tap(QStringLiteral("123"));
    press(payButton);
    EXPECT_EQ(sent, QStringList{QStringLiteral("501|tok|6037991234567893|12345|59|123|0411|R9|T2")});
}

TEST_F(KeyboardTest, paysWithASavedCard)
{
    storeToken({{QStringLiteral("ta"), QStringLiteral("NA")},
                {QStringLiteral("pl"), QStringLiteral("11.n.603799******1234.0411;")}});
    presentPayment();
    open(QStringLiteral("cardNumberTextField"));
    press(QStringLiteral("savedCardsButton"));
    ASSERT_TRUE(item(QStringLiteral("panRow1")));
    EXPECT_FALSE(isKeyboardOpen());
    press(QStringLiteral("panRow1"));
    // The list is the field's input until the person asks for the keyboard.
    scrollTo(QStringLiteral("cardNumberTextField"));
    press(QStringLiteral("cardNumberTextField"));
    EXPECT_TRUE(item(QStringLiteral("panRow1")));
    EXPECT_FALSE(isKeyboardOpen()) << "over the list";
    press(QStringLiteral("keyboardButton"));
    EXPECT_TRUE(isKeyboardOpen());

    open(QStringLiteral("passwordTextField"));
    tap(QStringLiteral("12345"));
    open(QStringLiteral("cvvTwoTextField"));
    tap(QStringLiteral("123"));
    press(payButton);
    EXPECT_EQ(sent, QStringList{QStringLiteral("501|tok|11|12345|59|123|0411|R9|T2")});
}

} // namespace
} // namespace kelpay
