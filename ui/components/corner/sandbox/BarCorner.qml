import QtQuick
import KelPay.Components

/// What stands at the end of the title bar: that no money moves here. A mark, not a text of the screen.
Rectangle {
    width: mark.implicitWidth + Theme.spacing
    height: mark.implicitHeight + 2
    radius: height / 2
    color: "transparent"
    border.color: Theme.brandMagenta

    Text {
        textFormat: Text.PlainText
        id: mark
        objectName: "sandboxMark"
        anchors.centerIn: parent
        text: "TEST"
        color: Theme.brandMagenta
        font.family: Theme.boldFamily
        font.pixelSize: Theme.zoomed(9)
        Accessible.ignored: true
    }
}
