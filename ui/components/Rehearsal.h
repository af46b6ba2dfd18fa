#pragma once

#include "ViewController.h"

#include <QImage>
#include <QQmlIncubator>
#include <QTimer>

#include <atomic>
#include <chrono>
#include <deque>

QT_BEGIN_NAMESPACE
class QQmlComponent;
class QQuickRenderControl;
class QQuickWindow;
class QWindow;
QT_END_NAMESPACE

namespace kelpay {

/// A screen that is made and drawn where nobody sees it, while the person waits for the real one: that one finds its
/// QML compiled, its faces opened and its letters drawn. It goes in steps of a few milliseconds from the event loop,
/// and is gone after the last one, or when it is deleted. Main queue.
class Rehearsal : public QObject
{
    Q_OBJECT

public:
    /// Of `scene` as it will be shown over `host`, which may be null. `opening` runs once, when anything can be shown
    /// without a long step.
    Rehearsal(const QString &scene, QWindow *host, std::function<void()> opening);
    ~Rehearsal() override;

    bool isOver() const { return m_steps.empty(); }
    /// How long the event loop waited for a step at most.
    std::chrono::nanoseconds longestStep() const { return m_longest; }

private:
    /// False as long as it wants to be called again.
    using Step = std::function<bool()>;

    void run();
    void addView(ViewController &controller);
    void addPainting();
    void addFrame(QQuickWindow &window);
    void leave();

    std::deque<Step> m_steps;
    QTimer m_next;
    std::chrono::nanoseconds m_longest{};
    std::unique_ptr<ViewController> m_screen;
    QQuickItem m_place;
    QQmlIncubationController m_slices;
    QQmlIncubator m_incubator;
    std::unique_ptr<QQmlComponent> m_component;
    std::vector<std::unique_ptr<QQuickItem>> m_views;
    std::unique_ptr<QQuickWindow> m_window;
    std::unique_ptr<QQuickRenderControl> m_control;
    QImage m_picture;
};

} // namespace kelpay
