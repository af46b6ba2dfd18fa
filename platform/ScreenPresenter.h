#pragma once

#include <QString>

#include <functional>

namespace kelpay {

/// How code below the screens shows one: the screens fill the slot, everybody else only calls it. Main queue.
class ScreenPresenter
{
public:
    using Present = std::function<void(const QString &storyboardIdentifier)>;

    static void setPresent(Present present);
    /// Presents the scene over the top-most view controller; does nothing, with a log line, where no screens are
    /// linked.
    static void present(const QString &storyboardIdentifier);
};

} // namespace kelpay
