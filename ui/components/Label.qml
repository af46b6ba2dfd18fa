import QtQuick

/// A text of the screens. As plain text, as every text here: a rich one would let the service's words draw, and load pictures.
Text {
    textFormat: Text.PlainText
    color: Theme.ink
    font.family: Theme.family
    font.pixelSize: Theme.bodySize
    wrapMode: Text.Wrap
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
