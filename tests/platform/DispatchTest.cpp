#include "platform/Dispatch.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <new>
#include <semaphore>
#include <thread>

namespace kelpay {

using namespace std::chrono_literals;

TEST(Dispatch, ATaskThatThrowsEndsThere)
{
    static std::atomic<int> reached;
    const auto global = [](Dispatch::Task task) { Dispatch::global(Dispatch::Priority::High, std::move(task)); };
    const auto later = [](Dispatch::Task task) { Dispatch::mainAfter(1ms, std::move(task)); };
    using Queue = std::function<void(Dispatch::Task)>;
    const std::array<Queue, 4> queues{global, Dispatch::transfer, Dispatch::main, later};
    for (const Queue &queue : queues) {
        // More than a queue has threads: each goes on after it.
        for (int i = 0; i < 4; ++i) {
            queue([] {
                ++reached;
                throw std::bad_alloc();
            });
        }
    }
    const QDeadlineTimer deadline(10s);
    while (reached < 16 && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    EXPECT_EQ(reached, 16);
    Dispatch::waitForGlobal(1s);
}

TEST(Dispatch, RunsEightAtATimeAndWaitsForThem)
{
    static std::atomic<int> running;
    static std::atomic<int> most;
    static std::atomic<int> done;
    for (int i = 0; i < 24; ++i) {
        Dispatch::global(Dispatch::Priority::High, [] {
            most = std::max(most.load(), ++running);
            std::this_thread::sleep_for(20ms);
            --running;
            ++done;
        });
    }
    Dispatch::waitForGlobal(10s);
    EXPECT_EQ(done, 24);
    EXPECT_GT(most, 1);
    EXPECT_LE(most, 8);
}

TEST(Dispatch, BothRunAtOnceAndWhatEitherThrowsComesOut)
{
    std::binary_semaphore here{0};
    std::binary_semaphore aside{0};
    const auto meet = [](std::binary_semaphore &own, std::binary_semaphore &other) {
        own.release();
        EXPECT_TRUE(other.try_acquire_for(10s));
    };
    Dispatch::both([&] { meet(here, aside); }, [&] { meet(aside, here); });
    const auto fail = [] { throw std::bad_alloc(); };
    EXPECT_THROW(Dispatch::both(fail, [] {}), std::bad_alloc);
    EXPECT_THROW(Dispatch::both([] {}, fail), std::bad_alloc);

    // Within as many as there are threads, nobody waits for one.
    static std::atomic<int> done;
    for (int i = 0; i < 8; ++i)
        Dispatch::global(Dispatch::Priority::High,
                         [] { Dispatch::both([] { std::this_thread::sleep_for(20ms); }, [] { ++done; }); });
    Dispatch::waitForGlobal(10s);
    EXPECT_EQ(done, 8);
}

TEST(Dispatch, AnEndDeliversWhatIsToldTheMainQueue)
{
    bool isTold = false;
    Dispatch::global(Dispatch::Priority::High, [&] { Dispatch::main([&] { isTold = true; }); });
    Dispatch::waitForGlobal(10s);
    EXPECT_TRUE(isTold);
}

} // namespace kelpay
