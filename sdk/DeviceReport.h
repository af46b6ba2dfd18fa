#pragma once

#include "device/CoreFunctions.h"

#include <QObject>
#include <QQmlEngine>
#include <QStringList>

#include <vector>

namespace kelpay {

/// All that the SDK knows about the device and its host, as pairs of texts for a page that a person reads. Sandbox
/// builds only. Reachability and position follow their changes. Main queue.
class DeviceReport : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QStringList names READ names CONSTANT)
    /// One for each name; "…" where the answer is still on its way.
    Q_PROPERTY(QStringList values READ values NOTIFY changed)
    Q_PROPERTY(bool isComplete READ isComplete NOTIFY changed)

public:
    explicit DeviceReport(QObject *parent = nullptr);

    QStringList names() const;
    QStringList values() const;
    bool isComplete() const;

    /// Shows the payment screen with the last token answer.
    Q_INVOKABLE void showPaymentView() const;

Q_SIGNALS:
    void changed();

private:
    struct Fact
    {
        QString name;
        QString value;
    };
    void add(const char *name, const QString &value);
    void set(const char *name, const QString &value);
    void addFacts();
    void askSlowFacts();
    void follow();

    CoreFunctions m_functions;
    std::vector<Fact> m_facts;
};

} // namespace kelpay
