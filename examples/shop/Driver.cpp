#include "Driver.h"

#include "Session.h"

#include <QCoreApplication>
#include <QMap>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using kelpay::testing::Payer;

namespace {

Payer::Means meansOf(const QString &input)
{
    static const QMap<QString, Payer::Means> means{{u"pointer"_s, Payer::Means::Pointer},
                                                   {u"touch"_s, Payer::Means::Touch},
                                                   {u"keyboard"_s, Payer::Means::Keyboard},
                                                   {u"accessibility"_s, Payer::Means::ScreenReader},
                                                   {u"on-screen"_s, Payer::Means::OnScreenKeyboard}};
    return means.value(input);
}

} // namespace

Driver::Driver(const ShopOptions &options, Session *session, QObject *parent)
    : QObject(parent), m_options(options), m_payer(meansOf(options.input))
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
    m_deadline.setSingleShot(true);
    connect(&m_deadline, &QTimer::timeout, this, &Driver::finish);
    m_payer.setScreenshots(options.screenshots);
    m_payer.setPatience(std::chrono::seconds(options.timeoutSeconds));
    m_payer.setGivesUpWhen([this] { return m_isOver || m_outcomes > 0; });
}

void Driver::start()
{
    m_deadline.start(std::chrono::seconds(m_options.timeoutSeconds));
    if (!buy() && m_outcomes == 0)
        qWarning("kelpay-shop: %s", qPrintable(m_payer.problem()));
}

bool Driver::buy()
{
    if (!m_payer.press(u"shopPayButton"_s, u"shop"_s))
        return false;
    if (m_options.idle)
        return m_payer.waitForPaymentScreen();
    if (m_options.wallet)
        return m_payer.payWithWallet() && m_payer.closeReceipt();
    if (m_options.verify && !m_payer.verify())
        return false;
    if (m_options.cancel)
        return m_payer.cancel();
    return pay() && m_payer.closeReceipt();
}

bool Driver::pay()
{
    const Payer::Card card{
        .number = m_options.card, .pin = m_options.pin, .cvv2 = m_options.cvv2, .expiry = m_options.expiry};
    return m_options.savedRow ? m_payer.payWithSavedCard(*m_options.savedRow, card) : m_payer.pay(card);
}

void Driver::receive(const JsonLine &outcome)
{
    if (++m_outcomes > 1)
        return;
    // At once: what is printed was told, whatever happens to the process next.
    printLine(outcome);
    m_deadline.stop();
    // A second more, in which nothing may follow.
    QTimer::singleShot(1s, this, &Driver::finish);
}

void Driver::finish()
{
    m_isOver = true;
    m_payer.shoot(m_outcomes > 0 ? u"outcome"_s : u"no-outcome"_s);
    if (m_outcomes == 0)
        printLine({{u"outcome"_s, u"none"_s}});
    QCoreApplication::exit(m_outcomes == 0 ? 3 : m_outcomes == 1 ? 0 : 4);
}
