#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace kelpay {

/// Whether a screen's content should be covered: the application is hidden or suspended, so that the next picture of it
/// may be one in a list of applications. An application that merely lost the focus is still in use. Main queue.
class PrivacyCover : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool drawn READ isDrawn NOTIFY drawnChanged)

public:
    explicit PrivacyCover(QObject *parent = nullptr);

    bool isDrawn() const { return m_drawn; }

Q_SIGNALS:
    void drawnChanged();

private:
    bool m_drawn = false;
};

} // namespace kelpay
