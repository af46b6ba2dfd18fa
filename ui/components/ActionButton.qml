import QtQuick
import QtQuick.Templates as T

/// The one main action of a screen.
T.Button {
    id: button

    property color fill: Theme.action
    /// False where it can't be pressed for longer than a screen takes to come.
    property bool available: true
    /// What it was pressed for is under way.
    property bool busy: false

    enabled: available && !busy
    implicitWidth: implicitContentWidth + 4 * Theme.margin
    implicitHeight: Math.max(Theme.controlHeight, implicitContentHeight + 2 * Theme.spacing)
    horizontalPadding: Theme.spacing
    focusPolicy: Qt.TabFocus // A press that took the focus would close an on-screen keyboard, and move what is pressed.
    font.family: Theme.boldFamily
    font.bold: true
    font.pixelSize: Theme.bodySize
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
    // The second click of a double click then is none: it would be for whatever has come to stand there.
    onDoubleClicked: {}

    background: Rectangle {
        radius: Theme.radius
        color: !button.available ? Theme.disabled
               : button.down ? Qt.darker(button.fill, 1.25) : button.hovered ? Qt.darker(button.fill, 1.1) : button.fill
    }
    contentItem: Text {
        text: button.text
        color: button.available ? Theme.onColor : Theme.inkSoft
        font: button.font
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        wrapMode: Text.Wrap
        opacity: button.busy ? 0 : 1

        Spinner {
            anchors.centerIn: parent
            parent: button
            color: Theme.onColor
            visible: button.busy
        }
    }

    FocusRing {
        shown: button.visualFocus
    }

    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.onPressAction: if (enabled) clicked()
}
