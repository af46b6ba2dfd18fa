import QtQuick

/// A square image made for a light ground, which it gets in the dark scheme too.
Image {
    id: logo

    required property int size

    width: size
    height: size
    sourceSize.width: 2 * size
    sourceSize.height: 2 * size
    fillMode: Image.PreserveAspectFit
    Accessible.ignored: true

    Rectangle {
        anchors.fill: parent
        anchors.margins: -4
        z: -1
        radius: Theme.smallRadius
        color: Theme.tile
        visible: Theme.dark && logo.status === Image.Ready
    }
}
