#pragma once

#include <QString>

namespace kelpay {

/// The one "please wait" of the process, over the top-most screen. Over the host's own window it lets all input
/// through; over the SDK's screens it covers everything below the title bar. Any show replaces the former one. Main
/// queue.
class ProgressOverlay
{
public:
    static void show();
    /// While the person waits for the scene, which is rehearsed meanwhile. What is left of that goes with the next
    /// thing that is asked of the overlay.
    static void showBefore(const QString &scene);
    /// With a text, and an image above it ("" for none).
    static void show(const QString &status, const QString &imageUrl);
    /// Stands still with a text: what was waited for will not come. Shown until it is dismissed, as the others are.
    static void settle(const QString &status);
    static void dismiss();
    static bool isShown();
    static QString status();
};

} // namespace kelpay
