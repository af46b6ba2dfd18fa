import QtQuick

/// A white template image of the bundle, drawn in one colour; a brand colour gets its light ground in the dark scheme
/// too.
Item {
    id: icon

    required property string file
    required property color color
    readonly property bool onTile:
        Theme.dark && (Qt.colorEqual(color, Theme.brandBlue) || Qt.colorEqual(color, Theme.brandMagenta))

    width: 24
    height: 24
    Accessible.ignored: true

    Rectangle {
        anchors.fill: parent
        radius: width / 4
        color: Theme.tile
        visible: icon.onTile
    }
    Image {
        anchors.fill: parent
        anchors.margins: icon.onTile ? 3 : 0
        source: "image://kelpay/" + icon.file + "/" + icon.color.toString().slice(1)
        sourceSize.width: 3 * icon.width
        sourceSize.height: 3 * icon.height
        asynchronous: true
        fillMode: Image.PreserveAspectFit
    }
}
