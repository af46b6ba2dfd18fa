import QtQuick

/// Shows where the keyboard is.
Rectangle {
    property bool shown: false
    property color ring: Theme.magenta

    anchors.fill: parent
    anchors.margins: -3
    visible: shown
    color: "transparent"
    radius: Theme.radius + 3
    border.width: 2
    border.color: ring
}
