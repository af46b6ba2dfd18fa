#include "InputMeans.h"
#include "Screen.h"

#include <QDir>
#include <QElapsedTimer>
#include <QQuickItem>
#include <QTest>

#include <algorithm>
#include <optional>
#include <utility>

namespace kelpay::testing {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const auto alertButton = u"alertButton"_s;
const auto alertCancelButton = u"alertCancelButton"_s;
const auto backButton = u"backButton"_s;
const auto banner = u"banner"_s;
const auto cancelButton = u"cancelButton"_s;
const auto cardField = u"cardNumberTextField"_s;
const auto cvvField = u"cvvTwoTextField"_s;
const auto doneButton = u"doneButton"_s;
const auto expiryDoneButton = u"expiryDoneButton"_s;
const auto expiryField = u"expirationDateTextField"_s;
const auto payButton = u"payButton"_s;
const auto pinField = u"passwordTextField"_s;
const auto savedCardsButton = u"savedCardsButton"_s;
const auto savedCards = u"panTumbler"_s;
const auto verifyButton = u"verifyButton"_s;

} // namespace

class Payer::Hands
{
public:
    explicit Hands(Means means) : m_means(InputMeans::of(means)) {}

    bool waitFor(const std::function<bool()> &condition, const QString &what);
    QString firstOf(const QStringList &names, const QString &what);
    bool press(const QString &name, const QString &what, const QString &picture = {});
    bool reachScreen(bool takesWallet);
    bool fill(std::optional<int> savedRow, const Card &card);
    bool submit();
    void shoot(const QString &name);

    std::chrono::milliseconds patience = 20s;
    std::function<bool()> givesUp;
    QString problem;
    QString folder;

private:
    bool enter(const QString &field, const QString &text, const QString &what);
    bool pickSavedCard(int row);
    bool pickExpiry(const QString &expiry);
    bool turnTo(const QString &wheel, const QString &title);

    InputMeans &m_means;
    int m_pictures = 0;
};

bool Payer::Hands::waitFor(const std::function<bool()> &condition, const QString &what)
{
    QElapsedTimer waited;
    waited.start();
    while (!condition()) {
        if (waited.hasExpired(patience.count()) || (givesUp && givesUp())) {
            problem = u"waited %1 s in vain for %2"_s.arg(static_cast<double>(waited.elapsed()) / 1000).arg(what);
            return false;
        }
        QTest::qWait(20);
    }
    return true;
}

/// The first of the items that can be used and has stood still for a moment: a person waits for a screen to stop
/// moving.
QString Payer::Hands::firstOf(const QStringList &names, const QString &what)
{
    QString seen;
    QPointF at;
    QElapsedTimer still;
    const auto stands = [&] {
        const auto ready = std::find_if(names.begin(), names.end(), Screen::isReady);
        const QString name = ready == names.end() ? QString() : *ready;
        const QPointF now = name.isEmpty() ? QPointF() : Screen::find(name)->mapToScene({});
        if (name != seen || now != at) {
            seen = name;
            at = now;
            still.start();
        }
        return !seen.isEmpty() && still.hasExpired(400);
    };
    return waitFor(stands, what) ? seen : QString();
}

bool Payer::Hands::press(const QString &name, const QString &what, const QString &picture)
{
    if (firstOf({name}, what).isEmpty())
        return false;
    shoot(picture);
    if (m_means.press(name))
        return true;
    problem = u"%1 can't be pressed"_s.arg(what);
    return false;
}

bool Payer::Hands::reachScreen(bool takesWallet)
{
    const auto screen = u"the payment screen"_s;
    const auto offer = u"the wallet's offer"_s;
    if (takesWallet)
        return press(alertButton, offer, u"wallet"_s);
    const QString seen = firstOf({alertButton, cancelButton}, screen);
    if (seen == alertButton) {
        shoot(u"wallet"_s);
        return press(alertCancelButton, offer) && waitFor([] { return !Screen::find(alertButton); }, screen) &&
               !firstOf({cancelButton}, screen).isEmpty();
    }
    shoot(seen.isEmpty() ? QString() : u"payment"_s);
    return !seen.isEmpty();
}

bool Payer::Hands::fill(std::optional<int> savedRow, const Card &card)
{
    if (firstOf({payButton}, u"the pay button"_s).isEmpty())
        return false;
    if (savedRow) {
        if (!pickSavedCard(*savedRow))
            return false;
    } else if (Screen::isReady(cardField) && !Screen::find(cardField)->property("readOnly").toBool()) {
        if (!enter(cardField, card.number, u"the card number's field"_s))
            return false;
    }
    if (!enter(pinField, card.pin, u"the PIN's field"_s))
        return false;
    if (!Screen::isReady(cvvField))
        return true;
    if (card.cvv2.isEmpty()) {
        problem = u"the form asks for CVV2 and expiry: pay with a whole Card"_s;
        return false;
    }
    return enter(cvvField, card.cvv2, u"the CVV2's field"_s) && pickExpiry(card.expiry);
}

bool Payer::Hands::submit()
{
    shoot(u"payment-filled"_s);
    return press(payButton, u"the pay button"_s);
}

bool Payer::Hands::enter(const QString &field, const QString &text, const QString &what)
{
    // Typed elsewhere, a PIN would be seen.
    if (!m_means.focus(field)) {
        problem = u"%1 can't be reached"_s.arg(what);
        return false;
    }
    QTest::qWait(50);
    m_means.type(text);
    return true;
}

bool Payer::Hands::pickSavedCard(int row)
{
    m_means.focus(cardField);
    if (!press(savedCardsButton, u"the button of the saved cards"_s) ||
        firstOf({savedCards}, u"the saved cards"_s).isEmpty())
        return false;
    shoot(u"saved-cards"_s);
    m_means.pick(row);
    return waitFor([] { return !Screen::find(savedCards); }, u"the end of the saved cards"_s);
}

bool Payer::Hands::pickExpiry(const QString &expiry)
{
    const QQuickItem *shown = Screen::find(u"expirationDateText"_s);
    if (expiry.isEmpty() || (shown && !shown->property("text").toString().isEmpty()))
        return true;
    const QStringList parts = expiry.split(u'/');
    if (!press(expiryField, u"the expiry's field"_s) ||
        firstOf({expiryDoneButton}, u"the expiry's sheet"_s).isEmpty() || !turnTo(u"yearTumbler"_s, parts.value(0)) ||
        !turnTo(u"monthTumbler"_s, parts.value(1)))
        return false;
    shoot(u"expiry"_s);
    return press(expiryDoneButton, u"the expiry's button"_s) &&
           waitFor([] { return !Screen::find(expiryDoneButton); }, u"the end of the expiry's sheet"_s);
}

bool Payer::Hands::turnTo(const QString &wheel, const QString &title)
{
    const auto row = [&wheel] { return Screen::find(wheel)->property("currentIndex").toInt(); };
    const auto rows = Screen::find(wheel) ? Screen::find(wheel)->property("model").toStringList() : QStringList();
    const auto target = rows.indexOf(title);
    if (target < 0)
        problem = u"the expiry's sheet doesn't offer \"%1\""_s.arg(title);
    for (int turn = 0; target >= 0 && turn < 3 * rows.size(); ++turn) {
        const int before = row();
        if (before == target)
            return true;
        m_means.turn(wheel, before < target);
        // A turn that came too early is made again; one that was taken comes to rest first.
        (void)QTest::qWaitFor([&] { return row() != before; }, 500);
        QTest::qWait(250);
    }
    return target >= 0 && row() == target;
}

void Payer::Hands::shoot(const QString &name)
{
    if (folder.isEmpty() || name.isEmpty())
        return;
    const QString path = u"%1/%2-%3.png"_s.arg(folder).arg(++m_pictures, 2, 10, QChar(u'0')).arg(name);
    if (!QDir().mkpath(folder) || !Screen::save(path))
        qWarning("%s can't be saved: check that the folder can be written", qPrintable(path));
}

Payer::Payer(Means means) : m_hands(std::make_unique<Hands>(means)) {}

Payer::~Payer() = default;

void Payer::setPatience(std::chrono::milliseconds patience)
{
    m_hands->patience = patience;
}

void Payer::setGivesUpWhen(std::function<bool()> condition)
{
    m_hands->givesUp = std::move(condition);
}

QString Payer::problem() const
{
    return m_hands->problem;
}

bool Payer::pay(const QString &card, const QString &pin)
{
    return pay(Card{.number = card, .pin = pin});
}

bool Payer::pay(const Card &card)
{
    return waitForPaymentScreen() && m_hands->fill(std::nullopt, card) && m_hands->submit();
}

bool Payer::payWithSavedCard(int row, const Card &rest)
{
    return waitForPaymentScreen() && m_hands->fill(row, rest) && m_hands->submit();
}

bool Payer::payWithWallet()
{
    return m_hands->reachScreen(true);
}

bool Payer::verify()
{
    if (!waitForPaymentScreen() || !m_hands->press(verifyButton, u"the verification link"_s))
        return false;
    const QString seen = m_hands->firstOf({banner, backButton}, u"the merchant's page"_s);
    m_hands->shoot(seen == banner ? u"banner"_s : u"verification"_s);
    if (seen == banner)
        m_hands->problem = u"the merchant has no verification link"_s;
    return seen == backButton && m_hands->press(backButton, u"the way back from the merchant's page"_s);
}

bool Payer::cancel()
{
    return waitForPaymentScreen() && m_hands->press(cancelButton, u"the cancel button"_s);
}

bool Payer::expire()
{
    if (!waitForPaymentScreen())
        return false;
    const auto patience = std::exchange(m_hands->patience, 11min);
    const bool hasEnded = m_hands->waitFor([] { return !Screen::find(cancelButton); }, u"the end of the time to pay"_s);
    m_hands->patience = patience;
    return hasEnded;
}

bool Payer::closeReceipt()
{
    return m_hands->press(doneButton, u"the receipt"_s, u"receipt"_s);
}

bool Payer::waitForPaymentScreen()
{
    return m_hands->reachScreen(false);
}

bool Payer::press(const QString &objectName, const QString &picture)
{
    return m_hands->press(objectName, objectName, picture);
}

bool Payer::screenshot(const QString &path)
{
    return Screen::save(path);
}

void Payer::setScreenshots(const QString &folder)
{
    m_hands->folder = folder;
}

void Payer::shoot(const QString &name)
{
    m_hands->shoot(name);
}

} // namespace kelpay::testing
