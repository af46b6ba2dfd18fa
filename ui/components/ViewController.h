#pragma once

#include "NotificationBanner.h"
#include "ScreenFrame.h"

#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <memory>
#include <new>

namespace kelpay {

class NavigationController;

/// One screen: it holds every decision, its QML view binds to it as the required property `controller`. A controller
/// owns the one it presents; a navigation controller owns its stack. All of it on the main queue. A controller that was
/// dismissed, or whose window the host destroyed, is deleted later, from the event loop.
class ViewController : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Screens are made in C++")
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString barButtonText READ barButtonText CONSTANT)
    Q_PROPERTY(QString barButtonName READ barButtonName CONSTANT)
    Q_PROPERTY(kelpay::NotificationBanner *banner READ banner CONSTANT)

public:
    using Completion = std::function<void()>;

    /// `view` is the QML file of the view; an empty one has none.
    explicit ViewController(const QUrl &view = {}, QObject *parent = nullptr);
    ~ViewController() override;
    /// Whoever deletes a controller, and however: its view goes before any member that it binds to.
    void operator delete(ViewController *controller, std::destroying_delete_t);

    /// Shows `controller` over this one and everything it shows. `completion` runs when it stands, also where no frame
    /// is ever drawn. Dropped, with a log line, while this controller presents another or where there is no display.
    void present(std::unique_ptr<ViewController> controller, bool animated, Completion completion = {});
    /// Takes away what this controller presents; where it presents nothing, what was pushed leaves its stack, and any
    /// other leaves its presenter. `completion` always runs, once, after the controller is gone from sight.
    void dismiss(bool animated, Completion completion = {});

    ViewController *presentedViewController() const { return m_presented; }
    ViewController *presentingViewController() const { return m_presenting; }
    NavigationController *navigationController() const;

    /// The view, made on first use after viewDidLoad has filled the controller, inside `place` and as large; null where
    /// the QML can't be made.
    QQuickItem *view(QQuickItem *place = nullptr);
    QQuickItem *viewIfLoaded() const { return m_view; }
    const QUrl &viewUrl() const { return m_viewUrl; }
    QVariantMap viewProperties(QQuickItem *place);

    /// Sets up the screen's state; runs once, before the view binds to it. Needs no window.
    virtual void viewDidLoad() {}
    /// In its place for a view that nobody will see: texts as they will be, and nothing beyond the controller.
    virtual void rehearse() {}
    virtual void viewWillAppear() {}
    virtual void viewDidAppear() {}

    /// What was above it has finished for good, and this screen stays on display.
    virtual void resume() {}

    /// What the navigation bar shows: a title, and a button at its start with an object name; "" for no button.
    virtual QString title() const { return {}; }
    virtual QString barButtonText() const { return {}; }
    virtual QString barButtonName() const { return {}; }
    Q_INVOKABLE virtual void barButtonPressed() {}
    /// The Escape key, where nothing on the screen took it.
    Q_INVOKABLE virtual void escapePressed() { barButtonPressed(); }
    /// The person closes the window that the SDK opened for its screens.
    virtual void closeRequested() { barButtonPressed(); }

    /// The host takes the screens away and wants no word of them; the controller is deleted next.
    virtual void abandon() {}

    NotificationBanner *banner() { return &m_banner; }

    /// How long a screen slides in or out, unless the person wants no motion.
    static constexpr int transitionMilliseconds = 250;
    /// What becomes of a wish to animate when the person wants no motion.
    static bool moves(bool animated);

protected:
    /// Takes the presented controller away at once, without its window; what presents nothing does nothing.
    void dropPresented();
    /// Deletes the view, and those that stand in it.
    virtual void unloadView();

private:
    friend class NavigationController;

    /// Makes the view in a frame inside `place`; false where it can't be made, and there is no frame then.
    bool frameIn(QQuickItem *place, ScreenFrame::Edge edge, bool slides);

    QUrl m_viewUrl;
    QPointer<QQuickItem> m_view;
    QPointer<ViewController> m_presented;
    QPointer<ViewController> m_presenting;
    NavigationController *m_navigation = nullptr; // owns this controller while set
    std::unique_ptr<ScreenFrame> m_frame;
    NotificationBanner m_banner;
};

} // namespace kelpay
