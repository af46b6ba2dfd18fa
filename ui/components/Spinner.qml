pragma ComponentBehavior: Bound
import QtQuick

/// A ring of dots that light up in turn; drawn from rectangles, so that every renderer shows it.
Item {
    id: spinner

    property int step
    property bool turning: visible
    property color color: Theme.blue

    objectName: "spinner"
    implicitWidth: 36
    implicitHeight: 36

    NumberAnimation on step {
        from: 0
        to: 8
        duration: Theme.spinnerTurn
        loops: Animation.Infinite
        running: spinner.turning
    }

    Repeater {
        model: 8

        Rectangle {
            required property int index
            readonly property real angle: index * Math.PI / 4

            x: spinner.width / 2 + Math.cos(angle) * 13 - width / 2
            y: spinner.height / 2 + Math.sin(angle) * 13 - height / 2
            width: 7
            height: 7
            radius: 3.5
            color: spinner.color
            opacity: 1 - ((spinner.step - index + 8) % 8) / 9
        }
    }
}
