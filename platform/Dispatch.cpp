#include "Dispatch.h"

#include "Log.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>
#include <QTimer>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <exception>
#include <future>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

namespace kelpay {

using namespace std::chrono_literals;

namespace {

std::atomic<bool> shuttingDown{false};
/// Receives what somebody waits for; null where nobody runs it any more.
std::atomic<QObject *> courier{nullptr};

/// A task that throws ends there. Above it is only what exceptions must not cross: Qt's loop, or a thread's start.
Dispatch::Task contained(Dispatch::Task task)
{
    return [task = std::move(task)] {
        try {
            task();
        } catch (...) {
            try {
                qCWarning(logPlatform, "a task threw and was left as it was; if memory is short, that is why");
            } catch (...) { // NOLINT(bugprone-empty-catch): not even memory for a line
            }
        }
    };
}

/// Threads that are made when tasks come, eight at most, and leave when none came for a while: an SDK at rest costs the
/// host nothing. Unlike Qt's pool it says so when a thread can't be had, where Qt's loses the task.
class Pool
{
public:
    /// Throws where nobody could run `task`.
    void start(Dispatch::Task task)
    {
        const std::scoped_lock lock(m_mutex);
        m_tasks.push_back(contained(std::move(task)));
        if (m_idle >= m_tasks.size())
            m_wake.notify_one();
        else if (m_threads < most)
            addThread();
    }
    bool waitForDone(std::chrono::milliseconds longest)
    {
        std::unique_lock lock(m_mutex);
        return m_done.wait_for(lock, longest, [this] { return m_tasks.empty() && m_running == 0; });
    }

private:
    static constexpr std::size_t most = 8;

    void addThread()
    try {
        std::thread([this] { run(); }).detach();
        ++m_threads;
    } catch (...) {
        // Those that are there come to it.
        if (m_threads > 0)
            return;
        m_tasks.pop_back();
        throw;
    }

    void run()
    {
        std::unique_lock lock(m_mutex);
        for (;;) {
            ++m_idle;
            const bool hasTask = m_wake.wait_for(lock, 30s, [this] { return !m_tasks.empty(); });
            --m_idle;
            if (!hasTask)
                break;
            Dispatch::Task task = std::move(m_tasks.front());
            m_tasks.pop_front();
            ++m_running;
            lock.unlock();
            task();
            task = nullptr;
            lock.lock();
            if (--m_running == 0 && m_tasks.empty())
                m_done.notify_all();
        }
        --m_threads;
    }

    std::mutex m_mutex; // over what follows
    std::condition_variable m_wake;
    std::condition_variable m_done;
    std::deque<Dispatch::Task> m_tasks;
    std::size_t m_threads = 0;
    std::size_t m_idle = 0;
    std::size_t m_running = 0;
};

struct Pools
{
    Pool global;
    Pool transfers;
};

/// Never destroyed: its end would wait without limit for a stalled transfer. The application's end waits
/// for it, within bounds, instead.
Pools &pools()
{
    static auto *const instance = new Pools;
    return *instance;
}

/// Brought by a plugin, the library may start on another thread than the application's.
template <typename Object> std::unique_ptr<Object> onMainThread(std::unique_ptr<Object> object)
{
    object->moveToThread(QCoreApplication::instance()->thread());
    return object;
}

/// What is queued for the main queue. Qt is only asked to wake it, for which it gets an event without content.
class MainQueue : public QObject
{
public:
    static void open()
    {
        auto opened = onMainThread(std::make_unique<MainQueue>());
        const std::scoped_lock lock(mutex);
        instance = std::move(opened);
    }
    static void close()
    {
        std::list<Dispatch::Task> dropped; // ended outside the lock
        std::unique_ptr<MainQueue> closed;
        const std::scoped_lock lock(mutex);
        dropped.swap(tasks);
        closed.swap(instance);
    }
    /// False where there is no main queue. Throws, and has not queued it, where memory is short.
    static bool add(Dispatch::Task task)
    {
        auto wake = std::make_unique<QEvent>(QEvent::User);
        const std::scoped_lock lock(mutex);
        if (!instance)
            return false;
        tasks.push_back(contained(std::move(task)));
        try {
            QCoreApplication::postEvent(instance.get(), wake.release());
        } catch (...) {
            tasks.pop_back();
            throw;
        }
        return true;
    }
    /// What is queued by now. On the main thread.
    static void deliver() { QCoreApplication::sendPostedEvents(instance.get(), QEvent::User); }
    void customEvent(QEvent *) override
    {
        Dispatch::Task task;
        {
            const std::scoped_lock lock(mutex);
            if (tasks.empty())
                return;
            task = std::move(tasks.front());
            tasks.pop_front();
        }
        task();
    }

private:
    static inline std::mutex mutex; // over what follows
    static inline std::unique_ptr<MainQueue> instance;
    static inline std::list<Dispatch::Task> tasks;
};

void finishTasks()
{
    shuttingDown = true;
    const std::unique_ptr<QObject> receiver(courier.exchange(nullptr));
    QCoreApplication::removePostedEvents(receiver.get()); // who waits goes on
    pools().global.waitForDone(2s);
    pools().transfers.waitForDone(2s);
    MainQueue::close();
}

void beginTasks()
{
    shuttingDown = false;
    courier = onMainThread(std::make_unique<QObject>()).release();
    MainQueue::open();
    qAddPostRoutine(finishTasks);
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(beginTasks)

void Dispatch::main(Task task)
{
    if (!MainQueue::add(std::move(task)))
        qCWarning(logPlatform, "a task for the main queue was dropped: create a QCoreApplication first");
}

void Dispatch::mainAfter(std::chrono::milliseconds delay, Task task)
{
    main([delay, task = contained(std::move(task))] { QTimer::singleShot(delay, QCoreApplication::instance(), task); });
}

void Dispatch::mainAndWait(Task task)
{
    if (isMain())
        task();
    else if (QObject *receiver = courier)
        QMetaObject::invokeMethod(receiver, contained(std::move(task)), Qt::BlockingQueuedConnection);
}

void Dispatch::global(Priority, Task task)
{
    pools().global.start(std::move(task));
}

void Dispatch::both(const Task &here, Task aside)
{
    struct Aside
    {
        explicit Aside(Task given) : task(std::move(given)) {}

        std::packaged_task<void()> task;
        std::atomic<bool> isTaken{false};

        void run()
        {
            if (!isTaken.exchange(true))
                task();
        }
    };
    const auto shared = std::make_shared<Aside>(std::move(aside));
    std::future<void> end = shared->task.get_future();
    try {
        global(Priority::High, [shared] { shared->run(); });
    } catch (const std::exception &) { // NOLINT(bugprone-empty-catch): then it runs below
    }
    std::exception_ptr failure;
    try {
        here();
    } catch (...) {
        failure = std::current_exception();
    }
    shared->run();
    end.wait(); // What it works on may be this caller's.
    if (failure)
        std::rethrow_exception(failure);
    end.get();
}

void Dispatch::transfer(Task task)
{
    pools().transfers.start(std::move(task));
}

void Dispatch::waitForGlobal(std::chrono::milliseconds longest)
{
    const QDeadlineTimer deadline(longest);
    while (!pools().global.waitForDone(5ms) && !deadline.hasExpired())
        QCoreApplication::sendPostedEvents(courier, QEvent::MetaCall);
    MainQueue::deliver();
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
