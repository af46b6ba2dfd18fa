// A small round button that adds one or takes one away.

import QtQuick
import QtQuick.Controls.Basic

RoundButton {
    id: step

    implicitWidth: 36
    implicitHeight: 36
    font.pixelSize: 18
    contentItem: Label {
        text: step.text
        font: step.font
        color: "#3B2A1A"
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }
    background: Rectangle {
        radius: 18
        color: step.down ? "#EADCC3" : "#F5ECDB"
        border.width: step.visualFocus ? 2 : 0
        border.color: "#3B2A1A"
    }
}
