pragma ComponentBehavior: Bound
import QtQuick
import KelPay.Components

/// The question and its answers, in the middle of the screen. The question scrolls where it leaves no room for them.
FocusScope {
    id: scope

    required property AlertView alert

    /// The alert's font in the person's size.
    function scaled(alertFont: font): font {
        return Qt.font({family: alertFont.family, pixelSize: Theme.scaled(alertFont.pixelSize)});
    }

    focus: true
    Keys.onEscapePressed: alert.dismiss()
    LayoutMirroring.enabled: true
    LayoutMirroring.childrenInherit: true

    Rectangle {
        anchors.centerIn: parent
        width: Math.min(parent.width, Theme.zoomed(380))
        height: Math.min(texts.implicitHeight + answers.implicitHeight + 3.5 * Theme.margin, parent.height)
        radius: Theme.radius
        color: Theme.surface

        Accessible.role: Accessible.Dialog
        Accessible.name: scope.alert.title

        Flickable {
            id: question
            anchors {
                left: parent.left
                right: parent.right
                top: parent.top
                bottom: answers.top
                margins: Theme.spacing
                topMargin: 1.5 * Theme.margin
                bottomMargin: Theme.margin
            }
            contentHeight: texts.implicitHeight
            boundsBehavior: Flickable.StopAtBounds
            interactive: contentHeight > height
            clip: true

            ScrollMark {
                area: question
            }
            Column {
                id: texts
                x: Theme.spacing
                width: parent.width - 2 * Theme.spacing
                spacing: Theme.margin

                Text {
                    textFormat: Text.PlainText
                    width: parent.width
                    text: scope.alert.title
                    color: Theme.blue
                    font: scope.scaled(scope.alert.titleFont)
                    horizontalAlignment: Text.AlignHCenter
                    wrapMode: Text.Wrap
                    Accessible.role: Accessible.Heading
                    Accessible.name: text
                }
                Text {
                    textFormat: Text.PlainText
                    width: parent.width
                    text: scope.alert.message
                    color: Theme.ink
                    font: scope.scaled(scope.alert.messageFont)
                    horizontalAlignment: Text.AlignHCenter
                    lineHeight: 1.2
                    wrapMode: Text.Wrap
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }
            }
        }
        Column {
            id: answers
            anchors {
                left: parent.left
                right: parent.right
                bottom: parent.bottom
                margins: Theme.margin
            }
            spacing: Theme.spacing

            Repeater {
                model: scope.alert.buttons

                ActionButton {
                    required property int index
                    required property string modelData

                    objectName: index === 0 ? "alertButton" : "alertButton" + index
                    width: answers.width
                    text: modelData
                    font: scope.scaled(scope.alert.buttonFont)
                    focus: index === 0 && !scope.alert.startsAtCancel
                    onClicked: scope.alert.press(index)
                }
            }
            TextButton {
                objectName: "alertCancelButton"
                focus: scope.alert.startsAtCancel
                width: answers.width
                text: scope.alert.cancelButton
                font: scope.scaled(scope.alert.cancelButtonFont)
                onClicked: scope.alert.pressCancel()
            }
        }
    }
}
