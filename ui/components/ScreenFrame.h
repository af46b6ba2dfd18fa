#pragma once

#include <QPointer>
#include <QQuickItem>

namespace kelpay {

/// What a view stands in: fills its place and slides in and out of it.
class ScreenFrame
{
public:
    enum class Edge { Bottom, Side };

    ScreenFrame(QQuickItem *view, QQuickItem *place, Edge edge);
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
