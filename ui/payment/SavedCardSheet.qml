pragma ComponentBehavior: Bound
import QtQuick
import KelPay.Components
import KelPay.Payment

/// The payer's saved cards, with the banks' logos.
BottomSheet {
    id: sheet

    required property PickerViewDelegate delegational
    /// How high it may be.
    required property real room

    signal done

    function start() {
        list.forceActiveFocus();
    }
    function choose(row: int) {
        delegational.didSelectRow(row);
        if (row > 0)
            done();
    }

    // A row cut in half says that there are more.
    height: Math.min(Math.min(list.count, 3.5) * Theme.rowHeight + 2 * Theme.spacing, room)
    Keys.onEscapePressed: done()

    ListView {
        id: list
        anchors.fill: parent
        anchors.margins: Theme.spacing
        anchors.bottomMargin: 0
        objectName: "panTumbler"
        clip: true
        focus: true
        model: sheet.delegational.panArray
        boundsBehavior: Flickable.StopAtBounds
        highlightMoveDuration: Theme.motion
        Keys.onReturnPressed: sheet.choose(currentIndex)
        Keys.onEnterPressed: sheet.choose(currentIndex)
        Keys.onSpacePressed: sheet.choose(currentIndex)
        Accessible.role: Accessible.List
        Accessible.name: "کارت های پیشفرض"

        delegate: Item {
            id: row

            required property int index
            required property string modelData
            readonly property string pan: sheet.delegational.shownPan(modelData)
            // The bank's name below the number where they don't fit side by side.
            readonly property bool stacked: number.implicitWidth + bank.implicitWidth + Theme.margin > place.width

            objectName: "panRow" + index
            width: ListView.view.width
            height: Math.max(Theme.rowHeight, stacked ? number.height + bank.height + Theme.spacing : 0)

            Accessible.role: Accessible.ListItem
            Accessible.focusable: true
            Accessible.focused: activeFocus
            Accessible.name: pan + " " + bank.text
            Accessible.onPressAction: sheet.choose(index)

            Rectangle {
                anchors.fill: parent
                radius: Theme.smallRadius
                color: press.pressed ? Theme.line
                       : press.containsMouse || (row.ListView.isCurrentItem && list.activeFocus) ? Theme.page
                                                                                                 : "transparent"
                border.width: row.ListView.isCurrentItem && list.activeFocus ? 2 : 0
                border.color: Theme.magenta
            }
            Logo {
                id: logo
                anchors {
                    left: parent.left
                    leftMargin: Theme.margin
                    verticalCenter: parent.verticalCenter
                }
                source: sheet.delegational.bankLogo(row.modelData)
            }
            Item {
                id: place
                anchors {
                    left: row.index === 0 ? parent.left : logo.right
                    right: parent.right
                    top: parent.top
                    bottom: parent.bottom
                    leftMargin: Theme.margin
                    rightMargin: Theme.margin
                }

                Text {
                    textFormat: Text.PlainText
                    id: number
                    objectName: "panText" + row.index
                    anchors.left: parent.left
                    y: row.stacked && bank.text !== "" ? (place.height - height - bank.height) / 2 : (place.height - height) / 2
                    width: Math.min(implicitWidth, place.width)
                    text: row.pan
                    color: row.index === 0 ? Theme.inkSoft : Theme.ink
                    font.family: Theme.family
                    font.pixelSize: Theme.bodySize
                    fontSizeMode: Text.HorizontalFit
                    minimumPixelSize: 12
                }
                Label {
                    id: bank
                    anchors.left: row.stacked ? parent.left : number.right
                    anchors.right: parent.right
                    y: row.stacked ? number.y + number.height : (place.height - height) / 2
                    text: sheet.delegational.bankName(row.modelData)
                    color: Theme.inkSoft
                    font.pixelSize: Theme.captionSize
                    horizontalAlignment: row.stacked ? Text.AlignLeft : Text.AlignRight
                    wrapMode: Text.NoWrap
                    elide: Text.ElideRight
                    Accessible.ignored: true
                }
            }
            MouseArea {
                id: press
                anchors.fill: parent
                hoverEnabled: true
                onClicked: {
                    list.currentIndex = row.index;
                    sheet.choose(row.index);
                }
            }
        }
    }
}
