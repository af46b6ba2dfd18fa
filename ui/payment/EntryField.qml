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
    property bool available: true
    property bool secret: false
    /// Something else is the input: no on-screen keyboard opens.
    property bool quiet: false
    /// What is known of the text, beside the label.
    property alias note: noteLabel.text
    property alias noteName: noteLabel.objectName
    /// Such a text, and any that is as long, must be seen whole: the digits get smaller where it would not fit.
    property string sample: field === CardForm.CardNumber ? "1234567890123456" : ""
    readonly property string family: field === CardForm.CardNumber ? Fonts.cardDigits : Theme.family
    /// Why the last edit was not taken; gone with the next one.
    property string refusal
    readonly property string complaint: refusal !== "" ? refusal : fault
    // Not named "text" or "value": accessibility reads properties of those names from an item that stands for a field.
    property alias entered: input.text
    property alias input: input
    property alias icon: iconPlace.data
    property alias end: endPlace.data

    signal accepted

    enabled: available
    implicitHeight: column.implicitHeight
    activeFocusOnTab: false

    SecretStandIn {
        anchors.fill: parent
        label: entry.label
        complaint: entry.complaint
        field: input
        visible: entry.secret
        Accessible.role: Accessible.EditableText
        Accessible.ignored: !entry.secret
    }
    Column {
        id: column
        width: parent.width
        spacing: Theme.spacing / 2

        Item {
            width: parent.width
            height: caption.height

            Label {
                id: caption
                anchors.left: parent.left
                text: entry.label
                color: Theme.inkSoft
                font.pixelSize: Theme.captionSize
                wrapMode: Text.NoWrap
                Accessible.ignored: true
            }
            Label {
                id: noteLabel
                anchors {
                    left: caption.right
                    right: parent.right
                    leftMargin: Theme.spacing
                }
                color: Theme.inkSoft
                font.pixelSize: Theme.captionSize
                horizontalAlignment: Text.AlignRight
                wrapMode: Text.NoWrap
                elide: Text.ElideRight
                Accessible.ignored: true
            }
        }
        Rectangle {
            width: parent.width
            height: Theme.controlHeight
            radius: Theme.smallRadius
            color: entry.available ? Theme.surface : Theme.page
            border.width: input.activeFocus ? 2 : 1
            border.color: entry.complaint !== "" ? Theme.fault : input.activeFocus || hover.hovered ? Theme.blue : Theme.outline

            HoverHandler {
                id: hover
                enabled: entry.available
            }

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
                height: Theme.iconSize
            }
            Item {
                id: endPlace
                anchors {
                    right: parent.right
                    rightMargin: Theme.margin - 4
                    verticalCenter: parent.verticalCenter
                }
                width: childrenRect.width
                height: Theme.logoSize
            }
            Item {
                id: textPlace
                // No anchor at the other end: its text would be laid out for no width first.
                anchors.left: iconPlace.right
                anchors.leftMargin: Theme.spacing
                width: parent.width - iconPlace.width - endPlace.width - 2 * (Theme.margin - 4 + Theme.spacing)
                height: parent.height

                TextMetrics {
                    id: whole
                    text: entry.entered.length < entry.sample.length ? entry.sample : entry.entered
                    font.family: entry.family
                    font.pixelSize: Theme.titleSize
                    font.letterSpacing: 1
                }
                TextInput {
                    id: input
                    anchors.fill: parent
                    LayoutMirroring.enabled: false
                    objectName: entry.name
                    horizontalAlignment: TextInput.AlignLeft
                    verticalAlignment: TextInput.AlignVCenter
                    clip: true
                    color: Theme.ink
                    selectionColor: Theme.selection
                    selectedTextColor: Theme.onColor
                    font.family: entry.family
                    font.pixelSize: {
                        const most = Theme.titleSize;
                        const width = whole.advanceWidth + most / 4;
                        return entry.sample === "" ? most : Math.floor(most * Math.min(1, textPlace.width / width));
                    }
                    font.letterSpacing: 1
                    echoMode: entry.secret ? TextInput.Password : TextInput.Normal
                    passwordMaskDelay: 0
                    passwordCharacter: "•" // in the bundled font
                    inputMethodHints: Qt.ImhDigitsOnly | Qt.ImhNoPredictiveText
                                      | (entry.secret ? Qt.ImhSensitiveData | Qt.ImhHiddenText : Qt.ImhNone)
                    selectByMouse: true
                    activeFocusOnTab: true
                    validator: EntryGuard {
                        form: entry.form
                        field: entry.field
                        target: input
                        secret: entry.secret
                        quiet: entry.quiet
                        onRefused: why => {
                            // Told by its change; the same once more is told as well.
                            if (entry.refusal === why)
                                spoken.announce();
                            entry.refusal = why;
                        }
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
                    visible: input.text === ""
                    color: Theme.hint
                    horizontalAlignment: Text.AlignLeft
                    verticalAlignment: Text.AlignVCenter
                    wrapMode: Text.NoWrap
                    fontSizeMode: Text.HorizontalFit
                    minimumPixelSize: 12
                    Accessible.ignored: true
                }
            }
        }
        Label {
            objectName: entry.name + "Complaint"
            width: parent.width
            text: entry.complaint
            visible: text !== ""
            color: Theme.fault
            font.pixelSize: Theme.captionSize
            horizontalAlignment: Text.AlignLeft
        }
    }
    // A fault comes with a banner, which is told.
    Spoken {
        id: spoken
        text: entry.refusal
    }
}
