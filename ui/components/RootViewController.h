#pragma once

#include "ViewController.h"

namespace kelpay {

class Stage;

/// Stands for the host's active window: what it presents covers that window, or gets a window of its own above it where
/// the host has none of Qt Quick. When the host destroys its window, the screens go with it.
class RootViewController : public ViewController
{
    Q_OBJECT

public:
    /// The one root of the process; made on first use, gone with the application object.
    static RootViewController &shared();
    ~RootViewController() override;

    /// Whether the host has a window of its own, shown or hidden. Main queue.
    static bool hostHasWindow();

    /// The surface that presented views stand on; opened over the host's active window when it is not open yet. Null
    /// where there is no display.
    QQuickItem *openStage();
    void closeStageIfUnused();

    /// Deletes all screens at once, those that are sliding away among them; each says its last word while it goes.
    static void removeAllScreens();
    /// The same, but nobody says a word.
    void abandonScreens();

private:
    RootViewController();
    void removeScreens();

    std::unique_ptr<Stage> m_stage;
};

} // namespace kelpay
