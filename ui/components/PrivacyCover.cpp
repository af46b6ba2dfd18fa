#include "PrivacyCover.h"

#include <QGuiApplication>

namespace kelpay {

PrivacyCover::PrivacyCover(QObject *parent) : QObject(parent)
{
    const auto follow = [this](Qt::ApplicationState state) {
        const bool drawn = state == Qt::ApplicationHidden || state == Qt::ApplicationSuspended;
        if (drawn == m_drawn)
            return;
        m_drawn = drawn;
        Q_EMIT drawnChanged();
    };
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, follow);
}

} // namespace kelpay
