import QtQuick

/// A surface with soft corners around a column.
Rectangle {
    default property alias content: column.data
    property alias spacing: column.spacing

    width: parent ? parent.width : implicitWidth
    implicitHeight: column.implicitHeight + 2 * Theme.margin
    radius: Theme.radius
    color: Theme.surface
    border.color: Theme.line

    Column {
        id: column
        anchors {
            left: parent.left
            right: parent.right
            top: parent.top
            margins: Theme.margin
        }
        spacing: Theme.spacing
    }
}
