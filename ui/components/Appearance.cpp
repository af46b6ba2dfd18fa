#include "Appearance.h"

#include "ScreenEngine.h"

#include <QCoreApplication>
#include <QInputDevice>
#include <QJSEngine>

#include <algorithm>
#include <utility>

namespace kelpay {

namespace {

Appearance *sharedAppearance = nullptr;

void deleteAppearance()
{
    delete std::exchange(sharedAppearance, nullptr);
}

} // namespace

Appearance &Appearance::shared()
{
    if (!sharedAppearance) {
        sharedAppearance = new Appearance;
        qAddPostRoutine(deleteAppearance);
    }
    return *sharedAppearance;
}

Appearance *Appearance::create(QQmlEngine *, QJSEngine *)
{
    QJSEngine::setObjectOwnership(&shared(), QJSEngine::CppOwnership);
    return &shared();
}

Appearance::Appearance()
{
    connect(&m_desktop, &DesktopSettings::answered, this, &Appearance::set);
    if (ScreenEngine::hasDisplay())
        m_desktop.follow();
}

bool Appearance::hasTouch()
{
    const auto devices = QInputDevice::devices();
    return std::any_of(devices.begin(), devices.end(), [](const QInputDevice *device) {
        return device->type() == QInputDevice::DeviceType::TouchScreen;
    });
}

void Appearance::pin(const Look &look)
{
    disconnect(&m_desktop, nullptr, this, nullptr);
    set(look);
}

void Appearance::set(const Look &look)
{
    if (m_look == look)
        return;
    m_look = look;
    Q_EMIT changed();
}

} // namespace kelpay
