import QtQuick

/// A white template image of the bundle, drawn in one colour.
Item {
    id: icon

    required property string file
    required property color color

    width: Theme.iconSize
    height: Theme.iconSize
    Accessible.ignored: true

    Image {
        anchors.fill: parent
        source: "image://kelpay/" + icon.file + "/" + icon.color.toString().slice(1)
        sourceSize.width: 3 * icon.width
        sourceSize.height: 3 * icon.height
        asynchronous: true
        fillMode: Image.PreserveAspectFit
    }
}
