// One exchange over the wire, as the screens send it, or a token's and its payment's, and what the host learns of it,
// as one line of JSON.
//
//     kelpay-fault-host token|payment|whole
//     kelpay-fault-host list|echo URL         says only how many bytes came, or -1
//
// When its standard input ends the payer gives up; the process waits two seconds for what follows.

#include "device/CoreFunctions.h"
#include "device/HostProfile.h"
#include "device/Outcomes.h"
#include "platform/Dispatch.h"
#include "platform/UrlSession.h"
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
#include <dlfcn.h>
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
    bool isWhole;
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
        CoreFunctions().returnThings();
        if (isPayment)
            exchange(&CoreNetworking::sendPaymentRequest, u"724|T1|6037991234567893|12345|5|NA|NA|R|T"_s);
        else
            exchange(&CoreNetworking::sendTokenRequest, u"09120000000||a row||724|1000|x"_s);
    }

    void exchange(CoreNetworking::Send kind, const QString &input)
    {
        const auto answered = [this](bool ok, const QString &, const QString &code) {
            if (ok && isWhole && !isPayment)
                Dispatch::main([this] { pay(); });
            else
                receive(ok, code);
        };
        CoreNetworking::sendInBackground(attempt, kind, Bytes::fromText(input), answered);
    }

    /// With the token that was stored.
    void pay()
    try {
        isPayment = true;
        const Rd rd = CoreFunctions().storedTokenAnswer().value_or(BaseClass()).rd;
        const auto text = [](const QJsonValue &value) { return textValue(value).value_or(u"NA"_s); };
        attempt->setPurchase(text(rd.amn), text(rd.t));
        attempt->submitted();
        exchange(&CoreNetworking::sendPaymentRequest,
                 QStringList{u"724"_s, text(rd.t), u"6037990000000006"_s, u"12345"_s, u"59"_s, u"123"_s, u"0612"_s,
                             text(rd.rn), text(rd.tb)}
                     .join(u'|'));
    } catch (const std::bad_alloc &) {
        attempt->withdraw();
        attempt->end();
        leave();
    }

    void receive(bool ok, const QString &code)
    {
        std::fputs("told\n", stderr);
        attempt->end();
        Dispatch::main([this, ok, code] {
            called.append(QJsonArray{ok, code});
            leave();
        });
        if (isPayment || !ok)
            attempt->reported(code, isPayment);
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
    const QString what = QCoreApplication::arguments().value(1);
    if (what == u"list"_s || what == u"echo"_s) {
        const QUrl url(QCoreApplication::arguments().value(2));
        const UrlResult result = what == u"list"_s ? UrlSession::contents(url) : UrlSession::publicContents(url);
        const auto *const response = std::get_if<UrlResponse>(&result);
        std::printf("%lld\n", response ? static_cast<long long>(response->body.size()) : -1);
        return 0;
    }
    Host host{.isPayment = what == u"payment"_s, .isWhole = what == u"whole"_s};
    // There where calls are made to fail; up to here is what any application does.
    if (const auto begin = reinterpret_cast<void (*)()>(dlsym(RTLD_DEFAULT, "beginTorture")))
        begin();
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
