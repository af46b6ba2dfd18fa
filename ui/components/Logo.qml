import QtQuick

/// A square image made for a light ground, which it gets in the dark scheme too.
Item {
    property real size: 36
    property alias source: image.source
    readonly property bool isThere: image.status === Image.Ready

    implicitWidth: size
    implicitHeight: size
    Accessible.ignored: true

    Rectangle {
        anchors.fill: parent
        radius: width / 6
        color: Theme.tile
        visible: Theme.dark && parent.isThere
    }
    Image {
        id: image
        anchors.fill: parent
        anchors.margins: Theme.dark ? 2 : 0
        sourceSize.width: 2 * parent.size
        sourceSize.height: 2 * parent.size
        asynchronous: true
        fillMode: Image.PreserveAspectFit
    }
}
