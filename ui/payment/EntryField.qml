pragma ComponentBehavior: Bound
import QtQuick
import KelPay.Components
import KelPay.Payment

/// A field for digits, which read left to right: its label above, an icon at its start, what the card tells at its end, a
/// fault below. `name` is the object name of the input itself.
Item {
    id: entry

    required property CardForm form
    required property int field
    required property string label
    required property string name
    property string hint
    property string fault
    property bool secret: false
    property string family: Theme.family
    /// How many digits are seen at once, whatever the width; 0 leaves the size as it is.
    property int digits: 0
    /// Said beside the label.
    property string note
    /// Why the last edit was not taken; gone with the next one.
    property string refusal
    readonly property string complaint: refusal !== "" ? refusal : fault
    // Not named "text" or "value": accessibility reads properties of those names from an item that stands for a field.
    property alias entered: input.text
    property alias input: input
    property alias icon: iconPlace.data
    property alias end: endPlace.data

    signal accepted

    implicitHeight: column.implicitHeight
    activeFocusOnTab: false

    SecretStandIn {
        anchors.fill: parent
        label: entry.label
        complaint: entry.complaint
        field: input
        Accessible.role: Accessible.EditableText
        Accessible.ignored: !entry.secret
    }
    Column {
        id: column
        width: parent.width
        spacing: Theme.spacing / 2

        Item {
            width: parent.width
            height: Math.max(caption.height, noteLabel.height)

            Label {
                id: caption
                anchors.left: parent.left
                text: entry.label
                color: Theme.inkSoft
                font.pixelSize: Theme.captionSize
                Accessible.ignored: true
            }
            Label {
                id: noteLabel
                objectName: entry.name + "Note"
                anchors {
                    left: caption.right
                    right: parent.right
                    leftMargin: Theme.spacing
                }
                text: entry.note
                color: Theme.inkSoft
                font.pixelSize: Theme.captionSize
                horizontalAlignment: Text.AlignRight
                wrapMode: Text.NoWrap
                elide: Text.ElideRight
            }
        }
        Rectangle {
            width: parent.width
            height: Theme.controlHeight
            radius: Theme.smallRadius
            color: entry.enabled ? Theme.surface : Theme.page
            border.width: input.activeFocus ? 2 : 1
            border.color: entry.complaint !== "" ? Theme.bannerColor : input.activeFocus ? Theme.blue : Theme.line

            MouseArea {
                anchors.fill: parent
                cursorShape: Qt.IBeamCursor
                onClicked: input.forceActiveFocus()
            }
            Item {
                id: iconPlace
                anchors {
                    left: parent.left
                    leftMargin: Theme.margin - 4
                    verticalCenter: parent.verticalCenter
                }
                width: childrenRect.width
                height: 24
            }
            Item {
                id: endPlace
                anchors {
                    right: parent.right
                    rightMargin: Theme.margin - 4
                    verticalCenter: parent.verticalCenter
                }
                width: childrenRect.width
                height: 36
            }
            Item {
                id: textPlace
                anchors {
                    left: iconPlace.right
                    right: endPlace.left
                    top: parent.top
                    bottom: parent.bottom
                    leftMargin: Theme.spacing
                    rightMargin: Theme.spacing
                }

                TextInput {
                    id: input

                    readonly property int size: Theme.bodySize + 3

                    anchors.fill: parent
                    LayoutMirroring.enabled: false
                    objectName: entry.name
                    horizontalAlignment: TextInput.AlignLeft
                    verticalAlignment: TextInput.AlignVCenter
                    clip: true
                    color: Theme.ink
                    selectionColor: Theme.blue
                    selectedTextColor: "white"
                    font.family: entry.family
                    font.pixelSize: entry.digits > 0 ? Math.min(size, Math.floor(width / (0.69 * entry.digits))) : size
                    font.letterSpacing: entry.digits > 0 ? 0 : 1
                    echoMode: entry.secret ? TextInput.Password : TextInput.Normal
                    passwordMaskDelay: 0
                    passwordCharacter: "●"
                    inputMethodHints: Qt.ImhDigitsOnly | Qt.ImhNoPredictiveText
                                      | (entry.secret ? Qt.ImhSensitiveData | Qt.ImhHiddenText : Qt.ImhNone)
                    selectByMouse: true
                    activeFocusOnTab: true
                    validator: EntryGuard {
                        form: entry.form
                        field: entry.field
                        target: input
                        secret: entry.secret
                        onRefused: why => entry.refusal = why
                    }
                    onAccepted: entry.accepted()
                    onTextChanged: entry.refusal = ""
                    onActiveFocusChanged: entry.refusal = ""
                    Accessible.role: Accessible.EditableText
                    Accessible.name: entry.label
                    Accessible.description: entry.complaint
                    Accessible.ignored: entry.secret
                }
                Label {
                    anchors.fill: parent
                    text: entry.hint
                    visible: input.text === "" && !input.activeFocus
                    color: Theme.inkSoft
                    opacity: 0.8
                    horizontalAlignment: Text.AlignLeft
                    verticalAlignment: Text.AlignVCenter
                    wrapMode: Text.NoWrap
                    elide: Text.ElideRight
                    Accessible.ignored: true
                }
            }
        }
        Label {
            objectName: entry.name + "Complaint"
            width: parent.width
            text: entry.complaint
            visible: text !== ""
            color: Theme.bannerColor
            font.pixelSize: Theme.captionSize
            horizontalAlignment: Text.AlignLeft
        }
    }
    Spoken {
        text: entry.complaint
    }
}
