// One exchange over the wire, as the screens send it, and what the host learns of it, as one line of JSON.
//
//     kelpay-fault-host token|payment
//
// When its standard input ends the payer gives up; the process waits two seconds for what follows.

#include "device/CoreFunctions.h"
#include "device/HostProfile.h"
#include "device/Outcomes.h"
#include "platform/Dispatch.h"
#include "protocol/CoreNetworking.h"

#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSocketNotifier>
#include <QTimer>

#include <array>
#include <cstdio>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace kelpay;

namespace {

constexpr std::array kinds{"Started",  "Refused",          "TokenAsked", "ScreenShown", "Submitted", "TransportError",
                           "Answered", "AnswerUnreadable", "Withdrawn",  "Reported",    "Abandoned", "Ended"};

int peakKilobytes()
{
    QFile status(u"/proc/self/status"_s);
    if (status.open(QIODevice::ReadOnly)) {
        for (const QByteArray &line : status.readAll().split('\n')) {
            if (line.startsWith("VmHWM:"))
                return line.mid(6).simplified().split(' ').first().toInt();
        }
    }
    return 0;
}

/// Its members are the main thread's.
struct Host
{
    bool isPayment;
    QJsonArray called = {};
    QJsonArray events = {};
    int silence = 0;
    std::shared_ptr<Attempt> attempt = {};

    void send()
    {
        HostProfile::shared().setObserver([this](const PaymentEvent &event) {
            const QString name = QString::fromLatin1(kinds[static_cast<std::size_t>(event.kind)]);
            events.append(event.mayHaveMoved ? name + u'!' : name);
        });
        attempt = Attempt::begin(u"a row"_s);
        if (!attempt) {
            leave();
            return;
        }
        attempt->setPurchase(u"1000"_s, u"T1"_s);
        attempt->setSilenceListener([this](Attempt::Silence kept) {
            silence = static_cast<int>(kept);
            leave();
        });
        if (isPayment)
            attempt->submitted();
        else
            attempt->takeOff();
        Dispatch::global(Dispatch::Priority::High, [this] {
            CoreFunctions().returnThings();
            Surroundings surroundings;
            surroundings.attempt = attempt;
            const auto network = CoreNetworking::create(std::move(surroundings));
            const auto block = [this](bool ok, const QString &, const QString &code) { receive(ok, code); };
            if (isPayment)
                network->sendPaymentRequest(u"724|T1|6037991234567893|12345|5|NA|NA|R|T"_s, block);
            else
                network->sendTokenRequest(u"09120000000||a row||724|1000|x"_s, block);
        });
    }

    void receive(bool ok, const QString &code)
    {
        attempt->end();
        if (isPayment || !ok)
            attempt->reported(code, isPayment);
        Dispatch::main([this, ok, code] {
            called.append(QJsonArray{ok, code});
            leave();
        });
    }

    /// When the observer has heard the rest.
    static void leave()
    {
        QTimer::singleShot(50, [] { QCoreApplication::exit(); });
    }

    void cancel() const
    {
        attempt->withdraw();
        attempt->end();
        attempt->reported(Outcomes::cancelled.code.toString(), false);
        QTimer::singleShot(2s, [] { QCoreApplication::exit(); });
    }
};

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"kelpay-fault-host"_s);
    QCoreApplication::setOrganizationDomain(u"example.org"_s);
    CoreKeychain().setString(u"1001"_s, u"mid"_s);
    Host host{.isPayment = QCoreApplication::arguments().value(1) == u"payment"_s};
    host.send();
    QSocketNotifier payer(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&payer, &QSocketNotifier::activated, [&] {
        payer.setEnabled(false);
        if (host.attempt)
            host.cancel();
    });
    QCoreApplication::exec();
    const QJsonObject line{{u"called"_s, host.called},
                           {u"events"_s, host.events},
                           {u"silence"_s, host.silence},
                           {u"listed"_s, static_cast<int>(AttemptLedger::shared().unsettled().size())},
                           {u"peak"_s, peakKilobytes()}};
    std::puts(QJsonDocument(line).toJson(QJsonDocument::Compact).constData());
    return 0;
}
