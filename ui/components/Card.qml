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

    // By bindings, which are there before the texts inside are laid out; anchors come after them.
    Column {
        id: column
        x: Theme.margin
        y: Theme.margin
        width: parent.width - 2 * Theme.margin
        spacing: Theme.spacing
    }
}
