import QtQuick

/// Stands at the bottom of a screen in the place of an on-screen keyboard, and takes taps so that nothing below does.
FocusScope {
    id: sheet

    property bool shown: false
    property bool made: false
    default property alias content: holder.data

    width: parent.width
    y: shown && made ? parent.height - height : parent.height
    visible: y < parent.height
    enabled: shown
    Component.onCompleted: made = true // Slides in the first time as well.

    Behavior on y {
        NumberAnimation {
            duration: Theme.motion
            easing.type: Easing.OutCubic
        }
    }

    Rectangle {
        anchors.fill: parent
        color: Theme.surface
    }
    MouseArea {
        anchors.fill: parent
    }
    Rectangle {
        width: parent.width
        height: 1
        color: Theme.line
    }
    Item {
        id: holder
        anchors {
            top: parent.top
            bottom: parent.bottom
            horizontalCenter: parent.horizontalCenter
        }
        width: Math.min(parent.width, Theme.columnWidth)
    }
}
