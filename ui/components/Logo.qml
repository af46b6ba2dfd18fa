import QtQuick

/// A square image that can be told on light and dark ground.
Item {
    property real size: Theme.logoSize
    property alias source: image.source
    readonly property bool isThere: image.status === Image.Ready

    implicitWidth: size
    implicitHeight: size
    Accessible.ignored: true

    Image {
        id: image
        anchors.fill: parent
        sourceSize.width: 2 * parent.size
        sourceSize.height: 2 * parent.size
        asynchronous: true
        fillMode: Image.PreserveAspectFit
    }
}
