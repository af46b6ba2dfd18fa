#include "CoreBiometrics.h"

#include "FingerprintService.h"
#include "platform/Log.h"

#include <QGuiApplication>
#include <QInputDevice>
#include <QScreen>
#include <QWindow>

#include <algorithm>
#include <cmath>

namespace kelpay {

namespace {

enum class BiometryType { None = 0, Fingerprint = 1, Face = 2 };

BiometryType biometryType()
{
    const FingerprintService::Answer answer = FingerprintService::ask();
    if (answer.hasEnrolledPrints)
        return BiometryType::Fingerprint;
    qCInfo(logDevice, "%s", qUtf8Printable(answer.reason));
    return BiometryType::None;
}

bool hasTouchScreen()
{
    const auto devices = QInputDevice::devices();
    return std::any_of(devices.begin(), devices.end(), [](const QInputDevice *device) {
        return device->type() == QInputDevice::DeviceType::TouchScreen;
    });
}

/// How far below the screen's top edge a full-screen window begins: where it may not, a camera or a notch is.
double topInset(const QScreen &screen)
{
    const auto windows = QGuiApplication::topLevelWindows();
    for (const QWindow *window : windows) {
        if (window->isVisible() && window->screen() == &screen && window->visibility() == QWindow::FullScreen)
            return std::max(0, window->geometry().top() - screen.geometry().top());
    }
    return 0;
}

} // namespace

CoreBiometrics::Idiom CoreBiometrics::idiom(bool hasTouchScreen, double diagonal)
{
    constexpr double inch = 25.4;
    if (!hasTouchScreen || diagonal <= 0 || diagonal > 14 * inch)
        return Idiom::Unspecified;
    return diagonal < 7 * inch ? Idiom::Phone : Idiom::Pad;
}

int CoreBiometrics::deviceType(const Screen &screen)
{
    if (screen.idiom == Idiom::Pad)
        return 8;
    if (screen.idiom != Idiom::Phone)
        return 0;
    if (screen.topInset > 0)
        return 7;
    if (screen.height == 480)
        return 1;
    if (screen.height == 568)
        return 2;
    if (screen.height == 667)
        return 3;
    return screen.height == 736 ? 4 : 0;
}

int CoreBiometrics::getDeviceType()
{
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return deviceType({});
    const QScreen *screen = QGuiApplication::primaryScreen();
    if (!screen)
        return deviceType({});
    const QSizeF size = screen->physicalSize();
    return deviceType({idiom(hasTouchScreen(), std::hypot(size.width(), size.height())),
                       static_cast<double>(screen->geometry().height()), topInset(*screen)});
}

bool CoreBiometrics::supportFaceID()
{
    return getDeviceType() == 7;
}

bool CoreBiometrics::isBiometricIDAvailable()
{
    return biometryType() != BiometryType::None;
}

bool CoreBiometrics::isTouchIDAvailable()
{
    return biometryType() == BiometryType::Fingerprint;
}

bool CoreBiometrics::isFaceIDAvailable()
{
    return biometryType() == BiometryType::Face;
}

} // namespace kelpay
