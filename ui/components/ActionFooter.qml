import QtQuick

/// The main action of a screen, at its bottom whatever scrolls above.
FocusScope {
    property alias button: action

    width: parent.width
    height: action.height + 2 * (Theme.low ? 6 : Theme.margin - 4)

    Rectangle {
        anchors.fill: parent
        color: Theme.surface
    }
    Rectangle {
        width: parent.width
        height: 1
        color: Theme.line
    }
    ActionButton {
        id: action
        anchors.centerIn: parent
        width: Math.min(parent.width - 2 * Theme.margin, Theme.columnWidth)
        focus: true
    }
}
