pragma ComponentBehavior: Bound
import QtQuick
import KelPay.Components
import KelPay.Payment

/// The payer's saved cards, with the banks' logos.
BottomSheet {
    id: sheet

    required property PickerViewDelegate delegational

    signal done

    function start() {
        list.forceActiveFocus();
    }
    function choose(row: int) {
        delegational.didSelectRow(row);
        if (row > 0)
            done();
    }

    height: 240
    Keys.onEscapePressed: done()

    ListView {
        id: list
        anchors.fill: parent
        anchors.margins: Theme.spacing
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

            objectName: "panRow" + index
            width: ListView.view.width
            height: 56

            Accessible.role: Accessible.ListItem
            Accessible.name: pan + " " + bank.text
            Accessible.onPressAction: sheet.choose(index)

            Rectangle {
                anchors.fill: parent
                radius: Theme.smallRadius
                color: row.ListView.isCurrentItem && list.activeFocus ? Theme.page : "transparent"
                border.width: row.ListView.isCurrentItem && list.activeFocus ? 2 : 0
                border.color: Theme.magenta
            }
            Image {
                id: logo
                anchors {
                    left: parent.left
                    leftMargin: Theme.margin
                    verticalCenter: parent.verticalCenter
                }
                width: 36
                height: 36
                sourceSize.width: 72
                sourceSize.height: 72
                source: sheet.delegational.bankLogo(row.modelData)
                fillMode: Image.PreserveAspectFit
            }
            Text {
                id: number
                anchors {
                    left: row.index === 0 ? parent.left : logo.right
                    leftMargin: Theme.margin
                    verticalCenter: parent.verticalCenter
                }
                text: row.pan
                color: row.index === 0 ? Theme.inkSoft : Theme.ink
                font.family: Theme.family
                font.pixelSize: Theme.bodySize
            }
            Label {
                id: bank
                anchors {
                    left: number.right
                    right: parent.right
                    margins: Theme.margin
                    verticalCenter: parent.verticalCenter
                }
                text: sheet.delegational.bankName(row.modelData)
                color: Theme.inkSoft
                horizontalAlignment: Text.AlignRight
                wrapMode: Text.NoWrap
                elide: Text.ElideRight
                Accessible.ignored: true
            }
            MouseArea {
                anchors.fill: parent
                onClicked: {
                    list.currentIndex = row.index;
                    sheet.choose(row.index);
                }
            }
        }
    }
}
