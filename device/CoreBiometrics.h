#pragma once

namespace kelpay {

/// Whether the device can tell its owner by body, and which kind of device it is. The availability queries ask the
/// fingerprint service each time, block for two seconds at most, log why they answer no, and run on any thread.
class CoreBiometrics
{
public:
    enum class Idiom { Unspecified, Phone, Pad };

    /// What the classification looks at. Lengths are device-independent pixels.
    struct Screen
    {
        Idiom idiom = Idiom::Unspecified;
        double height = 0;
        double topInset = 0; ///< what the window leaves free at the top
    };

    /// 8 tablet; 7 phone with a notch; 1, 2, 3, 4 phone of height 480, 568, 667, 736; 0 anything else, a process
    /// without a screen among them. Main queue.
    static int getDeviceType();
    /// The same for a given screen. Any thread.
    static int deviceType(const Screen &screen);
    /// How a device with a touch screen of this diagonal (in millimetres, 0 for unknown) is held.
    static Idiom idiom(bool hasTouchScreen, double diagonal);

    /// True exactly for device type 7. Main queue.
    static bool supportFaceID();
    static bool isBiometricIDAvailable();
    static bool isTouchIDAvailable();
    /// The platform's one biometric service knows no faces, so this is false wherever only fingers are enrolled.
    static bool isFaceIDAvailable();
};

} // namespace kelpay
