#pragma once

#include "DesktopSettings.h"

#include <QtQml/qqmlregistration.h>

QT_BEGIN_NAMESPACE
class QJSEngine;
class QQmlEngine;
QT_END_NAMESPACE

namespace kelpay {

/// How the screens are drawn: light, with motion, in the usual size of text, until the desktop says otherwise. It
/// follows the desktop while the screens are open. Main queue.
class Appearance : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool dark READ isDark NOTIFY changed FINAL)
    Q_PROPERTY(bool motionReduced READ isMotionReduced NOTIFY changed FINAL)
    Q_PROPERTY(qreal textScale READ textScale NOTIFY changed FINAL)
    /// Whether there is a screen to touch: a field is given the keys there only when it is touched.
    Q_PROPERTY(bool hasTouch READ hasTouch CONSTANT FINAL)

public:
    /// The one of the process; made on first use, gone with the application object.
    static Appearance &shared();
    static Appearance *create(QQmlEngine *, QJSEngine *);

    bool isDark() const { return m_look.isDark; }
    bool isMotionReduced() const { return m_look.isMotionReduced; }
    qreal textScale() const { return m_look.textScale; }
    static bool hasTouch();

    /// Like this from now on, whatever the desktop says.
    void pin(const Look &look);

Q_SIGNALS:
    void changed();

private:
    Appearance();
    void set(const Look &look);

    Look m_look;
    DesktopSettings m_desktop;
};

} // namespace kelpay
