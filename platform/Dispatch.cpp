#include "Dispatch.h"

#include "Log.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>
#include <QThreadPool>
#include <QTimer>

#include <atomic>

namespace kelpay {

namespace {

std::atomic<bool> shuttingDown{false};
/// Receives what somebody waits for; null where nobody runs it any more.
std::atomic<QObject *> courier{nullptr};

/// Idle threads leave after a while, so an SDK at rest costs the host nothing.
struct Pools
{
    QThreadPool global;
    QThreadPool transfers;

    Pools()
    {
        for (QThreadPool *pool : {&global, &transfers}) {
            pool->setMaxThreadCount(8);
            pool->setExpiryTimeout(30'000);
        }
        global.setThreadPriority(QThread::HighPriority);
    }
};

/// Never destroyed: the pool's destructor would wait without limit for a stalled transfer. The application's end waits
/// for it, within bounds, instead.
Pools &pools()
{
    static auto *const instance = new Pools;
    return *instance;
}

void finishTasks()
{
    shuttingDown = true;
    QCoreApplication::removePostedEvents(courier.exchange(nullptr)); // who waits goes on
    pools().global.waitForDone(2'000);
    pools().transfers.waitForDone(2'000);
}

void beginTasks()
{
    shuttingDown = false;
    courier = new QObject(QCoreApplication::instance());
    qAddPostRoutine(finishTasks);
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(beginTasks)

void Dispatch::main(Task task)
{
    auto *application = QCoreApplication::instance();
    if (!application) {
        qCWarning(logPlatform, "a task for the main queue was dropped: create a QCoreApplication first");
        return;
    }
    QMetaObject::invokeMethod(application, std::move(task), Qt::QueuedConnection);
}

void Dispatch::mainAfter(std::chrono::milliseconds delay, Task task)
{
    main([delay, task = std::move(task)] { QTimer::singleShot(delay, QCoreApplication::instance(), task); });
}

void Dispatch::mainAndWait(Task task)
{
    if (isMain())
        task();
    else if (QObject *receiver = courier)
        QMetaObject::invokeMethod(receiver, std::move(task), Qt::BlockingQueuedConnection);
}

void Dispatch::global(Priority, Task task)
{
    pools().global.start(std::move(task));
}

void Dispatch::transfer(Task task)
{
    pools().transfers.start(std::move(task));
}

void Dispatch::waitForGlobal(std::chrono::milliseconds longest)
{
    const QDeadlineTimer deadline(longest);
    while (!pools().global.waitForDone(5) && !deadline.hasExpired())
        QCoreApplication::sendPostedEvents(courier, QEvent::MetaCall);
}

bool Dispatch::isShuttingDown() noexcept
{
    return shuttingDown;
}

void Dispatch::setShuttingDown(bool isShuttingDown) noexcept
{
    shuttingDown = isShuttingDown;
}

bool Dispatch::isMain()
{
    const auto *application = QCoreApplication::instance();
    return application && application->thread() == QThread::currentThread();
}

} // namespace kelpay
