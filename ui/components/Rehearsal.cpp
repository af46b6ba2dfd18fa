#include "Rehearsal.h"

#include "Fonts.h"
#include "NavigationController.h"
#include "ScreenEngine.h"
#include "Stage.h"
#include "Storyboard.h"

#include <QElapsedTimer>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickRenderControl>
#include <QQuickRenderTarget>
#include <QQuickWindow>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

using namespace std::chrono_literals;

constexpr auto slice = 3ms;
constexpr auto hostsTurn = 1ms;
/// A window that is hidden draws no frame.
constexpr auto longestFrame = 500ms;
/// The overlay in sight would grow with what is sized for a larger room.
constexpr QSize largestRoom(999, 999);

} // namespace

Rehearsal::Rehearsal(const QString &scene, QWindow *host, std::function<void()> opening)
    : m_screen(Storyboard::main().instantiateViewController(scene))
{
    m_place.setObjectName(u"kelpayRehearsal"_s);
    m_place.setEnabled(false);
    m_place.setSize(Stage::roomOver(host).boundedTo(largestRoom));
    m_steps.emplace_back(Fonts::isListRead);
    m_steps.emplace_back(Fonts::loadNext);
    m_steps.emplace_back([] { return !ScreenEngine::isLoadingAhead(); });
    m_steps.emplace_back([opening = std::move(opening)] {
        opening();
        return true;
    });
    connect(&m_next, &QTimer::timeout, this, &Rehearsal::run);
    m_next.start(hostsTurn);
    if (!m_screen)
        return;
    addView(*m_screen);
    if (auto *navigation = qobject_cast<NavigationController *>(m_screen.get()))
        addView(*navigation->topViewController());
    if (QQuickWindow::sceneGraphBackend() == "software"_L1)
        addPainting();
    else if (auto *window = qobject_cast<QQuickWindow *>(host))
        addFrame(*window);
    m_steps.emplace_back([this] {
        leave();
        return true;
    });
    ScreenEngine::shared().setIncubationController(&m_slices);
}

Rehearsal::~Rehearsal()
{
    leave();
}

void Rehearsal::run()
{
    QElapsedTimer timer;
    timer.start();
    if (m_steps.front()())
        m_steps.pop_front();
    // What is wrong with the QML, the real screen says.
    if (m_incubator.isError() || (m_component && m_component->isError()))
        m_steps.clear();
    if (m_steps.empty()) {
        m_next.stop();
        leave();
    }
    m_longest = std::max(m_longest, std::chrono::nanoseconds(timer.nsecsElapsed()));
}

void Rehearsal::addView(ViewController &controller)
{
    m_steps.emplace_back([this, &controller] {
        controller.rehearse();
        auto *place = m_views.empty() ? &m_place : m_views.back()->property("container").value<QQuickItem *>();
        m_incubator.setInitialProperties(controller.viewProperties(place));
        m_component = std::make_unique<QQmlComponent>(&ScreenEngine::shared(), controller.viewUrl());
        m_component->create(m_incubator);
        return true;
    });
    m_steps.emplace_back([this] {
        m_slices.incubateFor(slice.count());
        if (m_incubator.isLoading())
            return false;
        if (auto *view = qobject_cast<QQuickItem *>(m_incubator.object())) {
            m_views.emplace_back(view);
            m_incubator.clear();
        }
        return true;
    });
}

/// Qt Quick's software renderer draws letters into pictures that all windows share.
void Rehearsal::addPainting()
{
    m_steps.emplace_back([this] {
        m_control = std::make_unique<QQuickRenderControl>();
        m_window = std::make_unique<QQuickWindow>(m_control.get());
        m_window->setGeometry(QRect({}, m_place.size().toSize()));
        m_window->contentItem()->setSize(m_place.size());
        m_place.setParentItem(m_window->contentItem());
        m_control->polishItems();
        return true;
    });
    m_steps.emplace_back([this] {
        m_picture = QImage(m_place.size().toSize(), QImage::Format_RGB32);
        m_window->setRenderTarget(QQuickRenderTarget::fromPaintDevice(&m_picture));
        m_control->sync();
        return true;
    });
    m_steps.emplace_back([this] {
        m_control->render();
        return true;
    });
}

/// What a graphics processor needs is the window's own: a frame of the host's draws the screen too, beyond the edge.
void Rehearsal::addFrame(QQuickWindow &window)
{
    const auto isDrawn = std::make_shared<std::atomic<bool>>(false);
    m_steps.emplace_back([this, isDrawn, host = QPointer(&window)] {
        if (!host || !host->isExposed()) {
            *isDrawn = true;
            return true;
        }
        connect(
            host, &QQuickWindow::frameSwapped, this, [isDrawn] { *isDrawn = true; }, Qt::DirectConnection);
        m_place.setX(-m_place.width()); // Where no resizing shows it.
        m_place.setParentItem(host->contentItem());
        return true;
    });
    m_steps.emplace_back([isDrawn, since = std::make_shared<QElapsedTimer>()] {
        if (!since->isValid())
            since->start();
        return isDrawn->load() || since->hasExpired(std::chrono::milliseconds(longestFrame).count());
    });
}

void Rehearsal::leave()
{
    if (!m_screen)
        return;
    ScreenEngine::shared().setIncubationController(nullptr);
    m_incubator.clear();
    m_component.reset();
    while (!m_views.empty())
        m_views.pop_back();
    m_place.setParentItem(nullptr);
    m_control.reset();
    m_window.reset();
    m_screen.reset();
}

} // namespace kelpay
