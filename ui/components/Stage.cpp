#include "Stage.h"

#include "ScreenEngine.h"

#include <QGuiApplication>
#include <QQuickWindow>
#include <QScreen>
#include <QUrl>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

constexpr QSize ownWindowSize(440, 800);
constexpr auto ownWindowMark = "kelpayWindow";

bool isHostWindow(const QWindow *window)
{
    const Qt::WindowType type = window->type();
    return window->isVisible() && (type == Qt::Window || type == Qt::Dialog) &&
           !window->property(ownWindowMark).toBool();
}

} // namespace

QWindow *Stage::hostWindow()
{
    // A window that the host only hid is still its window.
    static QPointer<QWindow> last;
    if (QWindow *focused = QGuiApplication::focusWindow(); focused && isHostWindow(focused))
        return last = focused;
    for (QWindow *window : QGuiApplication::topLevelWindows()) {
        if (isHostWindow(window))
            return last = window;
    }
    return last;
}

QSize Stage::roomOver(const QWindow *host)
{
    return qobject_cast<const QQuickWindow *>(host) ? host->size() : ownWindowSize;
}

Stage::Stage()
{
    QWindow *host = hostWindow();
    if (auto *window = qobject_cast<QQuickWindow *>(host))
        openOver(window);
    else
        openOwnWindow(host);
}

Stage::~Stage()
{
    disconnect();
    delete m_layer;
    m_ownWindow.reset(); // Its content item still calls back: while the other members live.
    if (m_hostFocus)
        m_hostFocus->forceActiveFocus();
}

void Stage::openOver(QQuickWindow *window)
{
    if (!m_ownWindow)
        m_hostFocus = window->activeFocusItem();
    m_layer = ScreenEngine::create(QUrl(u"qrc:/qt/qml/KelPay/Components/Stage.qml"_s),
                                   {{u"parent"_s, QVariant::fromValue(window->contentItem())}});
    if (m_layer)
        m_content = m_layer->property("contentItem").value<QQuickItem *>();
    // The content item is the first thing a dying window deletes; later the layer could no longer let go of it.
    connect(window->contentItem(), &QObject::destroyed, this, [this] {
        delete m_layer;
        Q_EMIT lost();
    });
}

void Stage::openOwnWindow(QWindow *host)
{
    m_ownWindow = std::make_unique<QQuickWindow>();
    m_ownWindow->setProperty(ownWindowMark, true);
    m_ownWindow->setTitle(u"پرداخت"_s);
    m_ownWindow->setModality(Qt::ApplicationModal);
    m_ownWindow->setTransientParent(host);
    const QRect available =
        m_ownWindow->screen() ? m_ownWindow->screen()->availableGeometry() : QRect({}, ownWindowSize);
    QRect geometry({}, ownWindowSize.boundedTo(available.size()));
    geometry.moveCenter(host ? host->frameGeometry().center() : available.center());
    m_ownWindow->setGeometry(geometry);
    m_ownWindow->contentItem()->setSize(geometry.size()); // Not before it is shown by itself.
    m_ownWindow->installEventFilter(this);
    QCoreApplication::instance()->installEventFilter(this);
    if (host)
        connect(host, &QObject::destroyed, this, &Stage::lost);
    openOver(m_ownWindow.get());
    m_ownWindow->show();
    m_ownWindow->requestActivate();
}

bool Stage::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Quit && watched == QCoreApplication::instance() && !m_isQuitting) {
        // An application that quits closes its windows first; ours is not the one to object. Where another window does,
        // ours comes back.
        m_isQuitting = true;
        const QPointer self(this);
        QCoreApplication::sendEvent(watched, event);
        if (self) {
            m_isQuitting = false;
            if (!event->isAccepted())
                m_ownWindow->show();
        }
        return true;
    }
    if (watched != m_ownWindow.get() || event->type() != QEvent::Close || m_isQuitting)
        return false;
    event->ignore();
    Q_EMIT closeRequested();
    return true;
}

} // namespace kelpay
