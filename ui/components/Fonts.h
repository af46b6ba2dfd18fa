#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace kelpay {

/// Registers the bundle's font file `name`, without its ending, for this process and lets it answer to that name. Does
/// nothing where there is none, or the second time. Needs a GUI application; main queue.
void loadFont(const QString &name);

/// The faces of the screens, by the families under which they are found without a search. Registered on first use:
/// that takes some milliseconds, and lays out every text of the host's once more.
class Fonts : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QString text READ text CONSTANT FINAL)
    Q_PROPERTY(QString bold READ bold CONSTANT FINAL)
    Q_PROPERTY(QString cardDigits READ cardDigits CONSTANT FINAL)

public:
    /// Begins to read the list of the system's fonts in the background: where the host has shown no text yet, that
    /// takes longest.
    static void readList();
    static bool isListRead();
    /// Registers one of the faces; true once all are.
    static bool loadNext();

    static QString text();
    static QString bold();
    static QString message();
    static QString cardDigits();
};

} // namespace kelpay
