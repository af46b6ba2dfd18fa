#include "ProgressOverlay.h"

#include "NavigationController.h"
#include "Rehearsal.h"
#include "RootViewController.h"
#include "ScreenEngine.h"
#include "Stage.h"

#include <QQuickWindow>
#include <QTimer>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

// What is shown follows what was asked for at the end of the event, so that a show and a dismiss in one go cost
// nothing.
class Overlay : public QObject
{
public:
    static Overlay &shared()
    {
        static QPointer<Overlay> overlay;
        if (!overlay) {
            overlay = new Overlay;
            overlay->setParent(&RootViewController::shared());
        }
        return *overlay;
    }

    void request(bool shown, const QString &status = {}, const QString &imageUrl = {}, bool isSettled = false)
    {
        m_isRehearsed = m_isRehearsed || (m_rehearsal && m_rehearsal->isOver());
        m_rehearsal.reset();
        m_shown = shown;
        m_status = status;
        m_imageUrl = imageUrl;
        m_isSettled = isSettled;
        if (ScreenEngine::hasDisplay())
            m_update.start();
    }

    /// One rehearsal is enough: what comes of it is kept.
    void showBefore(const QString &scene)
    {
        request(true);
        if (m_isRehearsed || !ScreenEngine::hasDisplay())
            return;
        m_update.stop();
        m_rehearsal = std::make_unique<Rehearsal>(scene, Stage::hostWindow(), [this] { update(); });
    }

    bool isShown() const { return m_shown; }
    QString status() const { return m_status; }

private:
    Overlay()
    {
        m_update.setSingleShot(true);
        m_update.setInterval(0);
        connect(&m_update, &QTimer::timeout, this, &Overlay::update);
    }

    void update()
    {
        clear();
        if (!m_shown)
            return;
        ViewController *top = &RootViewController::shared();
        while (top->presentedViewController())
            top = top->presentedViewController();
        if (auto *navigation = qobject_cast<NavigationController *>(top)) {
            place(navigation->container(), false);
            m_covered = navigation;
            m_covered->setCovered(true);
        } else if (QWindow *host = Stage::hostWindow()) {
            placeOver(host);
        }
    }

    void clear()
    {
        delete m_panel;
        m_window.reset();
        if (m_covered)
            m_covered->setCovered(false);
        m_covered = nullptr;
    }

    void place(QQuickItem *parent, bool isAlone)
    {
        m_panel = ScreenEngine::createItem(QUrl(u"qrc:/qt/qml/KelPay/Components/ProgressPanel.qml"_s),
                                           {{u"status"_s, m_status},
                                            {u"imageUrl"_s, QUrl(m_imageUrl)},
                                            {u"settled"_s, m_isSettled},
                                            {u"alone"_s, isAlone}});
        if (!m_panel)
            return;
        m_panel->setParent(parent);
        m_panel->setParentItem(parent);
    }

    void placeOver(QWindow *host)
    {
        if (auto *window = qobject_cast<QQuickWindow *>(host)) {
            place(window->contentItem(), false);
            return;
        }
        // No Qt Quick to draw in: a bare window over the host's, which lets all input through.
        m_window = std::make_unique<QQuickWindow>();
        m_window->setFlags(Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowTransparentForInput |
                           Qt::WindowDoesNotAcceptFocus);
        m_window->setTransientParent(host);
        place(m_window->contentItem(), true);
        if (!m_panel)
            return;
        QRect geometry({}, m_panel->property("cardSize").toSizeF().toSize());
        geometry.moveCenter(host->geometry().center());
        m_window->setGeometry(geometry);
        m_window->show();
    }

    bool m_shown = false;
    bool m_isSettled = false;
    QString m_status;
    QString m_imageUrl;
    QTimer m_update;
    QPointer<QQuickItem> m_panel;
    std::unique_ptr<QQuickWindow> m_window;
    QPointer<NavigationController> m_covered;
    bool m_isRehearsed = false;
    std::unique_ptr<Rehearsal> m_rehearsal;
};

} // namespace

void ProgressOverlay::show()
{
    Overlay::shared().request(true);
}

void ProgressOverlay::showBefore(const QString &scene)
{
    Overlay::shared().showBefore(scene);
}

void ProgressOverlay::show(const QString &status, const QString &imageUrl)
{
    Overlay::shared().request(true, status, imageUrl);
}

void ProgressOverlay::settle(const QString &status)
{
    Overlay::shared().request(true, status, {}, true);
}

void ProgressOverlay::dismiss()
{
    Overlay::shared().request(false);
}

bool ProgressOverlay::isShown()
{
    return Overlay::shared().isShown();
}

QString ProgressOverlay::status()
{
    return Overlay::shared().status();
}

} // namespace kelpay
