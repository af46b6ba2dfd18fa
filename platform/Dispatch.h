#pragma once

#include <chrono>
#include <functional>

namespace kelpay {

/// The SDK's queues. Every task runs once, in the order queued for `main`, concurrently for `global`. One that throws
/// ends there, with a log line; who queues it sees to it that nobody waits for it then.
class Dispatch
{
public:
    using Task = std::function<void()>;
    enum class Priority { High };

    /// Queues `task` on the main queue: Qt's event loop on the application's thread. Dropped, with a log line, where no
    /// application object exists.
    static void main(Task task);
    /// The same, `delay` later.
    static void mainAfter(std::chrono::milliseconds delay, Task task);
    /// Runs `task` on the main queue and returns when it has run, at once where this is that queue. At the
    /// application's end waitForGlobal runs it; later it is dropped.
    static void mainAndWait(Task task);
    /// Queues `task` on the global concurrent queue, which has threads of its own, apart from Qt's shared pool.
    /// Throws, as `transfer` does, where there is no memory or no thread for it.
    static void global(Priority priority, Task task);
    /// Runs `here` on this thread and `aside` as a `global` task meanwhile, or on this thread after it where no other
    /// came to it. Returns when both have run, or throws what one of them threw.
    static void both(const Task &here, Task aside);
    /// Queues a blocking transfer. These have threads of their own so that a stalled one delays no `global` task.
    static void transfer(Task task);

    /// Waits until no `global` task runs or is queued, `longest` at most. From the main queue; of that it runs what
    /// others wait for, and at the end what is queued there.
    static void waitForGlobal(std::chrono::milliseconds longest);
    /// True once the application is going away; transfers give up when they see it.
    static bool isShuttingDown() noexcept;
    static void setShuttingDown(bool isShuttingDown) noexcept;
    /// True on the application's thread.
    static bool isMain();
};

} // namespace kelpay
