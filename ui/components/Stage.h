#pragma once

#include <QObject>
#include <QPointer>
#include <QQuickItem>

QT_BEGIN_NAMESPACE
class QQuickWindow;
class QWindow;
QT_END_NAMESPACE

namespace kelpay {

/// The surface of the SDK's screens: a modal layer over the host's Qt Quick window, or a window of its own, modal and
/// above the host's, where the host has none.
class Stage : public QObject
{
    Q_OBJECT

public:
    Stage();
    ~Stage() override;

    /// Null where no layer could be made.
    QQuickItem *content() const { return m_content; }

    /// The host's active window: the focused one, else the first that is shown, else the last of these that it only
    /// hid; null where it has none.
    static QWindow *hostWindow();
    /// The size of the layer over such a window, or of the window of our own.
    static QSize roomOver(const QWindow *host);

Q_SIGNALS:
    /// The host's window is gone, and the layer with it.
    void lost();
    /// The person wants the window of our own closed.
    void closeRequested();

private:
    void openOver(QQuickWindow *window);
    void openOwnWindow(QWindow *host);
    bool eventFilter(QObject *watched, QEvent *event) override;

    std::unique_ptr<QQuickWindow> m_ownWindow;
    QPointer<QObject> m_layer;
    QPointer<QQuickItem> m_content;
    QPointer<QQuickItem> m_hostFocus;
    bool m_isQuitting = false;
};

} // namespace kelpay
