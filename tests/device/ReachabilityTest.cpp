#include "device/Reachability.h"
#include "platform/KernelRoutes.h"

#include <gtest/gtest.h>

#include <atomic>

#include <QEventLoop>
#include <QThread>
#include <QTimer>

#include <cstring>
#include <functional>

#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

const QString loopback = u"127.0.0.1"_s;

TEST(Reachability, StatusOfFacts)
{
    const QString cable = u"eth0"_s;
    const QString modem = u"wwan0"_s;
    const struct
    {
        Reachability::Facts facts;
        int status;
        const char *text;
    } rows[] = {
        // Without a network service the routes decide.
        {{std::nullopt, std::nullopt, false, std::nullopt, false}, 0, "No Connection"},
        {{std::nullopt, std::nullopt, false, cable, false}, 2, "WiFi"},
        {{std::nullopt, std::nullopt, false, modem, true}, 1, "Cellular"},
        // Its word stands for a host name, whatever the routes say.
        {{false, std::nullopt, false, cable, false}, 0, "No Connection"},
        {{true, std::nullopt, false, std::nullopt, false}, 2, "WiFi"},
        {{true, true, false, cable, false}, 1, "Cellular"},
        {{true, false, false, modem, true}, 2, "WiFi"},
        // An address is a matter of the routes.
        {{false, std::nullopt, true, cable, false}, 2, "WiFi"},
        {{true, false, true, std::nullopt, false}, 0, "No Connection"},
    };
    for (const auto &row : rows) {
        const Reachability::NetworkStatus status = Reachability::statusOf(row.facts);
        EXPECT_EQ(static_cast<int>(status), row.status) << "row " << &row - rows;
        EXPECT_EQ(Reachability::text(status), QLatin1StringView(row.text));
    }
}

void configureLoopback(unsigned long operation, const ifreq &values)
{
    ifreq request = values;
    std::strcpy(request.ifr_name, "lo");
    const int control = ::socket(AF_INET, SOCK_DGRAM, 0);
    EXPECT_EQ(::ioctl(control, operation, &request), 0);
    ::close(control);
}

void raiseLoopback()
{
    ifreq down{};
    configureLoopback(SIOCSIFFLAGS, down);
    ifreq up{};
    up.ifr_flags = IFF_UP;
    configureLoopback(SIOCSIFFLAGS, up);
}

/// The kernel goes on routing to an address of an interface that is down, until the address goes.
void clearLoopback()
{
    ifreq none{};
    none.ifr_addr.sa_family = AF_INET;
    configureLoopback(SIOCSIFADDR, none);
}

/// What the monitor says within a second after `act`; -1 for nothing.
int changeAfter(Reachability &reachability, const std::function<void()> &act)
{
    int told = -1;
    QEventLoop loop;
    QObject::connect(&reachability, &Reachability::changed, &loop, [&](Reachability::NetworkStatus status) {
        told = status;
        loop.quit();
    });
    QTimer::singleShot(1'000, &loop, &QEventLoop::quit);
    QTimer::singleShot(0, &loop, act);
    loop.exec();
    return told;
}

// A thread with a network of its own, in which the loopback interface is all there is.
TEST(Reachability, FollowsTheKernel)
{
    Reachability::reachabilityWithHostName(loopback)->currentReachabilityStatus(); // finds the network service on main
    std::atomic<bool> mayUnshare = true;
    const std::unique_ptr<QThread> thread(QThread::create([&mayUnshare] {
        mayUnshare = ::unshare(CLONE_NEWNET) == 0;
        if (!mayUnshare)
            return;
        for (const char *address : {"127.0.0.1", "192.0.2.1", "::1", "2001:db8::1"})
            EXPECT_FALSE(KernelRoutes::interfaceTo(QHostAddress(QLatin1StringView(address)))) << address;
        EXPECT_FALSE(KernelRoutes::defaultInterface());

        const auto reachability = Reachability::reachabilityWithHostName(loopback);
        ASSERT_TRUE(reachability->startNotifier());
        EXPECT_EQ(reachability->currentReachabilityStatus(), Reachability::NotReachable);
        EXPECT_EQ(changeAfter(*reachability, raiseLoopback), 2);
        EXPECT_EQ(KernelRoutes::interfaceTo(QHostAddress(loopback)), u"lo"_s);
        EXPECT_FALSE(KernelRoutes::defaultInterface());
        EXPECT_EQ(changeAfter(*reachability, clearLoopback), 0);
        reachability->stopNotifier();
        EXPECT_EQ(changeAfter(*reachability, raiseLoopback), -1);
    }));
    thread->start();
    thread->wait();
    if (!mayUnshare)
        GTEST_SKIP() << "this process may not make a network namespace";
}

} // namespace
} // namespace kelpay
