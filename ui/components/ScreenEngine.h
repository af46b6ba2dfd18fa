#pragma once

#include <QVariantMap>

QT_BEGIN_NAMESPACE
class QQmlEngine;
class QQuickItem;
class QUrl;
QT_END_NAMESPACE

namespace kelpay {

/// The QML engine of all the SDK's screens, apart from any engine of the host. Made on first use, gone with the
/// application object. Main queue.
class ScreenEngine
{
public:
    /// False for a process without windows: nothing can be shown there.
    static bool hasDisplay();
    static QQmlEngine &shared();
    /// Begins to compile the QML file in the background, and keeps what comes of it.
    static void loadAhead(const QUrl &file);
    static bool isLoadingAhead();
    /// The object of the QML file, owned by the caller; null, with a log line, when the file is faulty or there is no
    /// display.
    static QObject *create(const QUrl &file, const QVariantMap &properties);
    static QQuickItem *createItem(const QUrl &file, const QVariantMap &properties);
};

} // namespace kelpay
