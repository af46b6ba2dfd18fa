// A button for what is not the main action.

import QtQuick
import QtQuick.Controls.Basic

Button {
    id: button

    leftPadding: 28
    rightPadding: 28
    implicitHeight: 48
    font.pixelSize: 15
    Accessible.name: text

    contentItem: Label {
        text: button.text
        font: button.font
        color: "#C2410C"
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }
    background: Rectangle {
        radius: 14
        color: button.down ? "#F5ECDB" : "transparent"
        border.color: "#C2410C"
        border.width: button.visualFocus ? 3 : 1
    }
}
