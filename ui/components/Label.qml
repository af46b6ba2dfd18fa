import QtQuick

/// A text of the screens.
Text {
    color: Theme.ink
    font.family: Theme.family
    font.pixelSize: Theme.bodySize
    wrapMode: Text.Wrap
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
