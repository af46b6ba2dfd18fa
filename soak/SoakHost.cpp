// A kiosk: one payment after the other over the SDK's real screens, in random order. Prints a line of JSON for each,
// what the observer said of it beside what the callback got; ends with 10 where a payment made it quit.
//
//     kelpay-soak-host SECONDS SEED FIRST      payments FIRST, FIRST + 1, … until the time is over
//     kelpay-soak-host --unsettled             the ledger's list

#include "examples/shop/JsonLine.h"
#include "testing/Screen.h"

#include <KelPay/KelPayCore.h>
#include <KelPay/KelPaySandbox.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QJsonArray>
#include <QQuickWindow>
#include <QRandomGenerator>
#include <QTest>
#include <QTimer>

#include <array>
#include <mutex>

using namespace Qt::StringLiterals;
using kelpay::KelPayCore;
using kelpay::testing::Screen;
using Kind = kelpay::PaymentEvent::Kind;

namespace {

/// What a payer, a service or a host can do to a payment.
struct Day
{
    const char *name;
    int weight; ///< How often, of all.
    const char *msisdn;
    const char *card;
    enum { Pays, Cancels, CancelsOnTheWay, LetsTimeRunOut, Waits } payer;
    /// What the host does once the payment is where it can do it.
    enum { Nothing, Abandons, LosesWindow, Quits } host = Nothing;
};

constexpr auto good = "09120000000";
constexpr auto approves = "6037990000000006";
constexpr auto takesThreeSeconds = "6037990000005245";

constexpr std::array days{
    Day{"approved", 34, good, approves, Day::Pays},
    Day{"declined", 12, good, "6037990000000519", Day::Pays},
    Day{"refused", 4, "09120000410", "", Day::Waits},
    Day{"token answered with 500", 4, "09120000500", "", Day::Waits},
    Day{"token cut", 4, "09120000522", "", Day::Waits},
    Day{"cancelled", 10, good, "", Day::Cancels},
    Day{"cancelled on the way", 5, good, takesThreeSeconds, Day::CancelsOnTheWay},
    Day{"expired", 6, good, "", Day::LetsTimeRunOut},
    Day{"cut", 6, good, "6037990000005229", Day::Pays},
    Day{"answered with 500", 3, good, "6037990000005005", Day::Pays},
    Day{"unreadable", 4, good, "6037990000005104", Day::Pays},
    Day{"abandoned", 2, good, "", Day::Waits, Day::Abandons},
    Day{"abandoned on the way", 2, good, takesThreeSeconds, Day::Pays, Day::Abandons},
    Day{"receipt lost its window", 2, good, approves, Day::Pays, Day::LosesWindow},
    Day{"quit over the receipt", 1, good, approves, Day::Pays, Day::Quits},
    Day{"quit on the way", 1, good, takesThreeSeconds, Day::Pays, Day::Quits},
};

int processNumber(const QString &folder)
{
    return static_cast<int>(QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System).size());
}

int residentKilobytes()
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).simplified().split(' ').first().toInt();
    }
    return 0;
}

class Kiosk
{
public:
    Kiosk()
    {
        openWindow();
        KelPayCore::setObserver([this](const kelpay::PaymentEvent &event) { m_events.push_back(event); });
    }

    /// One payment; false when it made the host quit, and the rest comes after the event loop has ended.
    bool take(const Day &day, int number)
    {
        m_day = &day;
        m_number = number;
        m_events.clear();
        forget();
        kelpay::sandbox::setClockRate(day.payer == Day::LetsTimeRunOut ? 2000 : 1);
        KelPayCore::sharedInstance().startPaymentWithMSISDN(
            QString::fromLatin1(day.msisdn), u"soak-%1"_s.arg(number), u"724|%1|x"_s.arg(1000 + number),
            [this](bool, const QString &code, const QString &, const QString &, const QString &) {
                const std::scoped_lock lock(m_mutex);
                m_codes.append(code);
            });
        play();
        if (day.host == Day::Quits) {
            QCoreApplication::quit();
            return false;
        }
        finish();
        return true;
    }

    /// What the payment came to.
    void print()
    {
        const std::scoped_lock lock(m_mutex);
        printLine({{u"number"_s, m_number},
                   {u"kind"_s, QString::fromLatin1(m_day->name)},
                   {u"codes"_s, m_codes},
                   {u"submissions"_s, count(Kind::Submitted)},
                   {u"reports"_s, count(Kind::Reported)},
                   {u"late"_s, m_isLate},
                   {u"memory"_s, residentKilobytes()},
                   {u"descriptors"_s, processNumber(u"/proc/self/fd"_s)},
                   {u"threads"_s, processNumber(u"/proc/self/task"_s)}});
    }

private:
    void openWindow()
    {
        m_window = std::make_unique<QQuickWindow>();
        m_window->resize(375, 812);
        m_window->show();
        wait([this] { return m_window->isExposed(); });
    }

    void forget()
    {
        const std::scoped_lock lock(m_mutex);
        m_codes = {};
        m_isLate = false;
    }

    bool isTold()
    {
        const std::scoped_lock lock(m_mutex);
        return !m_codes.isEmpty();
    }

    int count(Kind kind) const
    {
        return static_cast<int>(
            std::count_if(m_events.begin(), m_events.end(), [=](const auto &event) { return event.kind == kind; }));
    }

    void wait(const std::function<bool()> &condition)
    {
        if (!QTest::qWaitFor(condition, 20'000))
            m_isLate = true;
    }

    /// Waits until the item stands still, as a person does, and clicks it.
    void click(const QString &name)
    {
        wait([&] { return Screen::isReady(name); });
        QTest::qWait(350);
        Screen::click(name, Screen::Touch::Mouse);
    }

    void play()
    {
        if (m_day->payer == Day::Waits && m_day->host == Day::Nothing)
            return wait([this] { return isTold() || count(Kind::TransportError) > 0; });
        if (m_day->payer == Day::LetsTimeRunOut)
            return wait([this] { return isTold(); });
        wait([] { return Screen::isReady(u"payButton"_s); });
        if (m_day->payer == Day::Cancels)
            return click(u"cancelButton"_s);
        if (m_day->payer != Day::Waits)
            pay();
        switch (m_day->host) {
        case Day::Abandons:
            KelPayCore::sharedInstance().abandon();
            break;
        case Day::LosesWindow:
            openWindowAnew();
            break;
        default:
            break;
        }
    }

    void pay()
    {
        click(u"cardNumberTextField"_s);
        Screen::type(QString::fromLatin1(m_day->card));
        click(u"passwordTextField"_s);
        Screen::type(u"12345"_s);
        click(u"payButton"_s);
        if (m_day->card == std::string_view(takesThreeSeconds)) {
            wait([this] { return count(Kind::Submitted) > 0; });
            QTest::qWait(400);
        } else {
            wait([this] { return count(Kind::TransportError) > 0 || Screen::isReady(u"doneButton"_s); });
        }
        if (m_day->host != Day::Nothing)
            return;
        click(count(Kind::TransportError) > 0 || m_day->payer == Day::CancelsOnTheWay ? u"cancelButton"_s
                                                                                      : u"doneButton"_s);
    }

    void openWindowAnew()
    {
        const auto old = std::exchange(m_window, nullptr);
        openWindow();
    }

    void finish()
    {
        wait([] { return !KelPayCore::sharedInstance().isBusy(); });
        QTest::qWait(300); // in which nothing more may follow
    }

    std::unique_ptr<QQuickWindow> m_window;
    std::vector<kelpay::PaymentEvent> m_events;
    const Day *m_day = nullptr;
    int m_number = 0;
    std::mutex m_mutex; // over what follows
    QJsonArray m_codes;
    bool m_isLate = false;
};

const Day &draw(QRandomGenerator &random)
{
    int weight = 0;
    for (const Day &day : days)
        weight += day.weight;
    int drawn = random.bounded(weight);
    const auto *day = days.begin();
    while (drawn >= day->weight)
        drawn -= day++->weight;
    return *day;
}

void printUnsettled()
{
    for (const auto &attempt : KelPayCore::unsettledAttempts())
        printLine({{u"additional"_s, attempt.additionalData}, {u"code"_s, attempt.code}});
}

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"kelpay-soak"_s);
    QCoreApplication::setOrganizationDomain(u"example.org"_s);
    QCoreApplication::setApplicationVersion(u"1.0"_s);
    QGuiApplication::setQuitOnLastWindowClosed(false);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 4) {
        printUnsettled();
        return 0;
    }
    KelPayCore::initWithMerchantID(u"1001"_s);
    Kiosk kiosk;
    int status = 0;
    QTimer::singleShot(0, &application, [&] {
        QElapsedTimer elapsed;
        elapsed.start();
        for (int number = arguments[3].toInt(); !elapsed.hasExpired(arguments[1].toInt() * 1000LL); ++number) {
            QRandomGenerator random(arguments[2].toUInt() + static_cast<quint32>(number));
            if (!kiosk.take(draw(random), number)) {
                status = 10;
                return;
            }
            kiosk.print();
        }
        QCoreApplication::exit(0);
    });
    QGuiApplication::exec();
    if (status == 10)
        kiosk.print();
    return status;
}
