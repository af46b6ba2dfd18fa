import QtQuick
import QtQuick.Templates as T

/// A button of text alone, for bars and second choices.
T.Button {
    id: button

    property color textColor: Theme.blue
    /// False where it can't be pressed for longer than a screen takes to come.
    property bool available: true
    property alias ring: focusRing.ring

    enabled: available
    implicitWidth: implicitContentWidth + 2 * Theme.margin
    implicitHeight: Math.max(Theme.buttonHeight, implicitContentHeight + Theme.spacing)
    padding: 0
    focusPolicy: Qt.TabFocus // A press that took the focus would close an on-screen keyboard, and move what is pressed.
    font.family: Theme.family
    font.pixelSize: Theme.bodySize
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
    // The second click of a double click then is none: it would be for whatever has come to stand there.
    onDoubleClicked: {}

    background: Rectangle {
        radius: Theme.smallRadius
        color: button.textColor
        opacity: button.down ? 0.16 : button.hovered ? 0.08 : 0
    }
    contentItem: Text {
        text: button.text
        color: button.available ? button.textColor : Theme.hint
        font: button.font
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }

    FocusRing {
        id: focusRing
        shown: button.visualFocus
    }

    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.onPressAction: if (enabled) clicked()
}
