// A stranger's program whose payer types by the keyboard. Each end of a payment that its arguments name is reached in
// turn; then it prints the name and waits for a line, while somebody looks through its memory. "typed" ends in abort().

#include "testing/Screen.h"

#include <KelPay/KelPayCore.h>
#include <KelPay/KelPaySandbox.h>

#include <QGuiApplication>
#include <QQuickWindow>
#include <QTest>

#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;
using kelpay::KelPayCore;
using kelpay::testing::Screen;
using Kind = kelpay::PaymentEvent::Kind;

namespace {

// Each digit inverted, and read one by one, so that no copy stands in the program itself.
const volatile uchar pin[] = {0xc8, 0xcc, 0xcf, 0xc6, 0xca, 0xce, 0xc7, 0xc9, 0xcb, 0xcd, 0xc6, 0xc8};
const volatile uchar cvv2[] = {0xca, 0xc7, 0xcf, 0xcb, 0xce, 0xcc};

struct End
{
    const char *name;
    const char *card;
    double clockRate = 1;
};
constexpr End ends[] = {{"approved", "6037990000000006"},
                        {"refused", "6037990000000519"},
                        {"transport error", "6037990000005229"},
                        {"cancelled", ""},
                        {"expired", "", 200},
                        {"window destroyed", ""},
                        {"typed", ""}};

std::unique_ptr<QQuickWindow> window;
std::vector<kelpay::PaymentEvent> events;

bool hasSeen(Kind kind)
{
    return std::any_of(events.begin(), events.end(), [kind](const auto &event) { return event.kind == kind; });
}

void wait(const std::function<bool()> &condition)
{
    if (!QTest::qWaitFor(condition, 20'000))
        qFatal("nothing comes");
}

void click(const QString &name)
{
    wait([&] { return Screen::isReady(name); });
    QTest::qWait(350);
    Screen::click(name, Screen::Touch::Mouse);
}

template <std::size_t size> void typeSecret(const volatile uchar (&digits)[size])
{
    for (const volatile uchar &digit : digits)
        Screen::type(QString(QLatin1Char(static_cast<char>(~digit))));
    Screen::press(Qt::Key_Return);
}

/// Each field is left by Return, and the last one pays.
void type(const End &end)
{
    wait([] { return Screen::isReady(u"payButton"_s); });
    QTest::qWait(400);
    Screen::type(QString::fromLatin1(end.card));
    Screen::press(Qt::Key_Return);
    typeSecret(pin);
    typeSecret(cvv2);
    Screen::type(u"0411"_s);
}

void reach(const End &end)
{
    events.clear();
    window = std::make_unique<QQuickWindow>();
    window->resize(375, 812);
    window->show();
    wait([] { return window->isExposed(); });
    kelpay::sandbox::setClockRate(end.clockRate);
    KelPayCore::sharedInstance().startPaymentWithMSISDN(u"09120000106"_s, u"order"_s, u"724|1000|x"_s,
                                                        [](auto &&...) {});
    type(end);
    const std::string_view name(end.name);
    if (name == "typed") {
        std::puts(end.name);
        std::fflush(stdout);
        std::abort();
    }
    if (*end.card) {
        Screen::press(Qt::Key_Return);
        wait([] { return hasSeen(Kind::TransportError) || Screen::isReady(u"doneButton"_s); });
        click(hasSeen(Kind::TransportError) ? u"cancelButton"_s : u"doneButton"_s);
    } else if (name == "cancelled") {
        click(u"cancelButton"_s);
    } else if (name == "window destroyed") {
        window.reset();
    }
    wait([] { return !KelPayCore::sharedInstance().isBusy(); });
    QTest::qWait(500);
}

void beSearched(const char *name)
{
    std::puts(name);
    std::fflush(stdout);
    (void)std::getchar();
}

/// What a search must find.
void plant()
{
    std::string text;
    QString wide;
    for (const volatile uchar &digit : pin) {
        text += static_cast<char>(~digit);
        wide += QLatin1Char(static_cast<char>(~digit));
    }
    beSearched("planted");
    std::fill(text.begin(), text.end(), ' ');
    wide.fill(u' ');
}

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"kelpay-secrets"_s);
    QCoreApplication::setOrganizationDomain(u"example.org"_s);
    QCoreApplication::setApplicationVersion(u"1.0"_s);
    QGuiApplication::setQuitOnLastWindowClosed(false);
    KelPayCore::initWithMerchantID(u"1001"_s);
    KelPayCore::setObserver([](const kelpay::PaymentEvent &event) { events.push_back(event); });
    const QStringList wanted = QCoreApplication::arguments();
    if (wanted.contains("planted"_L1))
        plant();
    for (const End &end : ends) {
        if (!wanted.contains(QLatin1StringView(end.name)))
            continue;
        reach(end);
        beSearched(end.name);
    }
    window.reset();
}
