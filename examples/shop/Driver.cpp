#include "Driver.h"

#include "Screen.h"
#include "Session.h"

#include <QCoreApplication>
#include <QDir>
#include <QQuickItem>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

using namespace std::chrono_literals;

const auto shopPayButton = u"shopPayButton"_s;
const auto alertButton = u"alertButton"_s;
const auto cardField = u"cardNumberTextField"_s;
const auto pinField = u"passwordTextField"_s;
const auto cvvField = u"cvvTwoTextField"_s;
const auto expiryField = u"expirationDateTextField"_s;
const auto payButton = u"payButton"_s;
const auto doneButton = u"doneButton"_s;

} // namespace

Driver::Driver(const ShopOptions &options, Session *session, QObject *parent)
    : QObject(parent), m_options(options), m_means(InputMeans::of(options.input))
{
    connect(session, &Session::finished, this,
            [this](bool success, const QString &code, const QString &description, const QString &reference,
                   const QString &merchantReference) {
                receive({{u"success"_s, success},
                         {u"code"_s, code},
                         {u"description"_s, description},
                         {u"reference"_s, reference},
                         {u"merchantReference"_s, merchantReference}});
            });
    m_glance.setInterval(40ms);
    connect(&m_glance, &QTimer::timeout, this, &Driver::look);
    m_deadline.setSingleShot(true);
    connect(&m_deadline, &QTimer::timeout, this, &Driver::finish);
}

void Driver::start()
{
    if (!m_options.screenshots.isEmpty())
        QDir().mkpath(m_options.screenshots);
    m_deadline.start(std::chrono::seconds(m_options.timeoutSeconds));
    m_glance.start();
}

void Driver::look()
{
    // Input spins the event loop; a glance in the middle of a step would start it again.
    m_glance.stop();
    const Step step = m_step;
    if (take(step) && m_step == step)
        m_step = static_cast<Step>(static_cast<int>(step) + 1);
    m_glance.start();
}

/// True once the item has stood there for a moment: a person waits for a screen to stop moving.
bool Driver::stands(const QString &name)
{
    if (!Screen::isReady(name)) {
        if (m_seen == name)
            m_seen.clear();
        return false;
    }
    if (m_seen != name) {
        m_seen = name;
        m_seenSince.start();
    }
    return m_seenSince.hasExpired(400);
}

bool Driver::take(Step step)
{
    switch (step) {
    case Step::Buy:
        if (!stands(shopPayButton))
            return false;
        shoot(u"shop"_s);
        return m_means.press(shopPayButton);
    case Step::AnswerWallet:
        return answerWallet();
    case Step::Verify:
        return verify();
    case Step::LeavePage:
        return leavePage();
    case Step::Fill:
        return fill();
    case Step::Pay:
        shoot(u"payment-filled"_s);
        return m_means.press(payButton);
    case Step::Close:
        return close();
    case Step::Watch:
        return false;
    }
    return false;
}

bool Driver::answerWallet()
{
    if (Screen::isReady(alertButton)) {
        if (!stands(alertButton))
            return false;
        shoot(u"wallet"_s);
        if (m_options.idle) {
            m_step = Step::Watch;
            return true;
        }
        if (m_options.wallet)
            m_step = Step::Close;
        return m_means.press(m_options.wallet ? alertButton : u"alertCancelButton"_s);
    }
    if (!stands(u"cancelButton"_s))
        return false;
    shoot(u"payment"_s);
    return true;
}

bool Driver::verify()
{
    if (m_options.idle) {
        m_step = Step::Watch;
        return true;
    }
    if (!m_options.verify) {
        m_step = Step::Fill;
        return true;
    }
    return stands(u"verifyButton"_s) && m_means.press(u"verifyButton"_s);
}

/// Either the banner says that there is no link, and the outcome follows, or the merchant's page opened: back from it.
bool Driver::leavePage()
{
    if (Screen::isReady(u"banner"_s)) {
        if (!stands(u"banner"_s))
            return false;
        shoot(u"banner"_s);
        m_step = Step::Watch;
        return true;
    }
    if (!stands(u"backButton"_s))
        return false;
    shoot(u"verification"_s);
    return m_means.press(u"backButton"_s);
}

bool Driver::fill()
{
    if (m_options.cancel) {
        m_step = Step::Watch;
        return m_means.press(u"cancelButton"_s);
    }
    if (!stands(payButton))
        return false;
    if (m_options.savedRow)
        pickSavedCard();
    else if (Screen::isReady(cardField) && !Screen::find(cardField)->property("readOnly").toBool())
        enter(cardField, m_options.card);
    enter(pinField, m_options.pin);
    if (Screen::isReady(cvvField)) {
        enter(cvvField, m_options.cvv2);
        pickExpiry();
    }
    return true;
}

void Driver::enter(const QString &field, const QString &text)
{
    // Typed elsewhere, a PIN would be seen.
    if (!m_means.focus(field))
        return;
    QTest::qWait(50);
    m_means.type(text);
}

void Driver::pickSavedCard()
{
    m_means.focus(cardField);
    QTest::qWait(300);
    m_means.press(u"savedCardsButton"_s);
    QTest::qWait(600);
    shoot(u"saved-cards"_s);
    m_means.pick(*m_options.savedRow);
    QTest::qWait(300);
}

void Driver::pickExpiry()
{
    const QQuickItem *shown = Screen::find(u"expirationDateText"_s);
    if (m_options.expiry.isEmpty() || (shown && !shown->property("text").toString().isEmpty()))
        return;
    m_means.press(expiryField);
    QTest::qWait(600);
    const QStringList parts = m_options.expiry.split(u'/');
    turnTo(u"yearTumbler"_s, parts[0]);
    turnTo(u"monthTumbler"_s, parts[1]);
    shoot(u"expiry"_s);
    m_means.press(u"expiryDoneButton"_s);
    QTest::qWait(300);
}

void Driver::turnTo(const QString &tumbler, const QString &title)
{
    QQuickItem *wheel = Screen::find(tumbler);
    if (!wheel)
        return;
    const auto rows = wheel->property("model").toStringList();
    const auto target = rows.indexOf(title);
    for (int turn = 0; target >= 0 && turn < 3 * rows.size(); ++turn) {
        const int current = wheel->property("currentIndex").toInt();
        if (current == target)
            return;
        m_means.turn(tumbler, current < target);
        QTest::qWait(300);
    }
}

bool Driver::close()
{
    if (!stands(doneButton))
        return false;
    shoot(u"receipt"_s);
    return m_means.press(doneButton);
}

void Driver::receive(const JsonLine &outcome)
{
    if (++m_outcomes > 1)
        return;
    // At once: what is printed was told, whatever happens to the process next.
    printLine(outcome);
    m_step = Step::Watch;
    m_deadline.stop();
    // A second more, in which nothing may follow.
    QTimer::singleShot(1s, this, &Driver::finish);
}

void Driver::finish()
{
    m_glance.stop();
    shoot(m_outcomes > 0 ? u"outcome"_s : u"no-outcome"_s);
    if (m_outcomes == 0)
        printLine({{u"outcome"_s, u"none"_s}});
    QCoreApplication::exit(m_outcomes == 0 ? 3 : m_outcomes == 1 ? 0 : 4);
}

void Driver::shoot(const QString &name)
{
    if (m_options.screenshots.isEmpty())
        return;
    const QString path = u"%1/%2-%3.png"_s.arg(m_options.screenshots).arg(++m_pictures, 2, 10, QChar(u'0')).arg(name);
    if (!Screen::save(path))
        qWarning("%s can't be saved: check that the folder can be written", qPrintable(path));
}
