import QtQuick
import KelPay.Components
import KelPay.Payment

/// Shows the expiry, "YY/MM"; digits go in, a click, space or Down opens the wheels, and so does Return until it is whole.
Item {
    id: entry

    required property string label
    required property CardForm form
    readonly property string text: form.expiration
    property string fault
    property bool open: false
    property alias icon: iconPlace.data
    property alias input: expirationDateTextField

    signal opened
    signal accepted

    function takeReturn() {
        if (text.length === 5)
            accepted();
        else
            opened();
    }

    implicitHeight: column.implicitHeight

    Column {
        id: column
        width: parent.width
        spacing: Theme.spacing / 2

        Label {
            width: parent.width
            text: entry.label
            color: Theme.inkSoft
            font.pixelSize: Theme.captionSize
            horizontalAlignment: Text.AlignLeft
            Accessible.ignored: true
        }
        Rectangle {
            id: expirationDateTextField
            objectName: "expirationDateTextField"
            width: parent.width
            height: Theme.controlHeight
            radius: Theme.smallRadius
            color: press.pressed ? Theme.page : Theme.surface
            border.width: activeFocus || entry.open ? 2 : 1
            border.color: entry.fault !== "" ? Theme.fault : activeFocus || entry.open || press.containsMouse ? Theme.blue : Theme.outline
            activeFocusOnTab: true
            Keys.onSpacePressed: entry.opened()
            Keys.onReturnPressed: entry.takeReturn()
            Keys.onEnterPressed: entry.takeReturn()
            Keys.onPressed: event => {
                event.accepted = entry.form.typeExpiry(event.text) || event.key === Qt.Key_Backspace;
                if (event.key === Qt.Key_Backspace)
                    entry.form.eraseExpiry();
            }
            Keys.onDownPressed: entry.opened()

            Accessible.role: Accessible.ComboBox
            Accessible.name: entry.label
            Accessible.description: (entry.text + " " + entry.fault).trim()
            Accessible.focusable: true
            Accessible.focused: activeFocus
            Accessible.onPressAction: entry.opened()

            MouseArea {
                id: press
                anchors.fill: parent
                hoverEnabled: true
                onClicked: entry.opened()
            }
            Item {
                id: iconPlace
                anchors {
                    left: parent.left
                    leftMargin: Theme.margin - 4
                    verticalCenter: parent.verticalCenter
                }
                width: childrenRect.width
                height: Theme.iconSize
            }
            Item {
                anchors.left: iconPlace.right
                anchors.leftMargin: Theme.spacing
                width: parent.width - iconPlace.width - Theme.spacing - 2 * Theme.margin
                height: parent.height

                Text {
                    textFormat: Text.PlainText
                    objectName: "expirationDateText"
                    anchors.fill: parent
                    LayoutMirroring.enabled: false
                    text: entry.text
                    color: Theme.ink
                    font.family: Theme.family
                    font.pixelSize: Theme.titleSize
                    font.letterSpacing: 1
                    horizontalAlignment: Text.AlignLeft
                    verticalAlignment: Text.AlignVCenter
                    Accessible.ignored: true
                }
            }
            Label {
                anchors {
                    left: iconPlace.right
                    leftMargin: Theme.spacing
                    verticalCenter: parent.verticalCenter
                }
                text: "سال / ماه"
                visible: entry.text === ""
                color: Theme.hint
                Accessible.ignored: true
            }
        }
        Label {
            objectName: "expirationDateTextFieldComplaint"
            width: parent.width
            text: entry.fault
            visible: text !== ""
            color: Theme.fault
            font.pixelSize: Theme.captionSize
            horizontalAlignment: Text.AlignLeft
        }
    }
}
