#pragma once

#include <QPointer>
#include <QQuickItem>

namespace kelpay {

class ViewController;

/// What a screen's view stands in: fills its place and slides in and out of it.
class ScreenFrame
{
public:
    enum class Edge { Bottom, Side };

    /// Has the view made inside the place, so that it is laid out once; without one nothing is ever shown.
    /// What is about to slide in stands at the `edge` first, disabled; anything else in its place.
    ScreenFrame(ViewController &screen, QQuickItem *place, Edge edge, bool slides);
    ~ScreenFrame();
    ScreenFrame(const ScreenFrame &) = delete;
    ScreenFrame &operator=(const ScreenFrame &) = delete;

    /// Slides in and takes the keyboard focus.
    void enter(bool animated);
    void leave(bool animated);
    /// Whether it is drawn, apart from sliding; what another screen covers whole needn't be.
    void setVisible(bool visible);

private:
    QPointer<QQuickItem> m_item;
};

} // namespace kelpay
