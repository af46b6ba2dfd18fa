pragma ComponentBehavior: Bound
import QtQuick
import KelPay.Components

/// The question and its answers, in the middle of the screen.
FocusScope {
    id: scope

    required property AlertView alert

    focus: true
    Keys.onEscapePressed: alert.pressCancel()
    LayoutMirroring.enabled: true
    LayoutMirroring.childrenInherit: true

    Rectangle {
        id: card
        anchors.centerIn: parent
        width: Math.min(parent.width, 380)
        height: Math.min(column.implicitHeight + 3 * Theme.margin, parent.height)
        radius: Theme.radius
        color: Theme.surface

        Accessible.role: Accessible.Dialog
        Accessible.name: scope.alert.title

        Column {
            id: column
            anchors {
                left: parent.left
                right: parent.right
                verticalCenter: parent.verticalCenter
                margins: 1.5 * Theme.margin
            }
            spacing: Theme.margin

            Text {
                width: parent.width
                text: scope.alert.title
                color: Theme.blue
                font: scope.alert.titleFont
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            Text {
                width: parent.width
                text: scope.alert.message
                color: Theme.ink
                font: scope.alert.messageFont
                horizontalAlignment: Text.AlignHCenter
                lineHeight: 1.2
                wrapMode: Text.Wrap
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
            Repeater {
                model: scope.alert.buttons

                ActionButton {
                    required property int index
                    required property string modelData

                    objectName: index === 0 ? "alertButton" : "alertButton" + index
                    width: column.width
                    text: modelData
                    font: scope.alert.buttonFont
                    focus: index === 0
                    onClicked: scope.alert.press(index)
                }
            }
            TextButton {
                objectName: "alertCancelButton"
                width: column.width
                text: scope.alert.cancelButton
                font: scope.alert.cancelButtonFont
                onClicked: scope.alert.pressCancel()
            }
        }
    }
}
