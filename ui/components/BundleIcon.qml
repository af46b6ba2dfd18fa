import QtQuick

/// A white template image of the bundle, drawn in one colour; a brand colour stands on a light tile.
Image {
    id: icon

    required property string file
    required property color color

    width: 24
    height: 24
    source: "image://kelpay/" + file + "/" + color.toString().slice(1)
    fillMode: Image.PreserveAspectFit
    Accessible.ignored: true

    Rectangle {
        anchors.fill: parent
        anchors.margins: -4
        z: -1
        radius: Theme.smallRadius - 2
        color: Theme.tile
        visible: Theme.dark && (Qt.colorEqual(icon.color, Theme.brandBlue) || Qt.colorEqual(icon.color, Theme.brandMagenta))
    }
}
