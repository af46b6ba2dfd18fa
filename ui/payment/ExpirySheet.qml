pragma ComponentBehavior: Bound
import QtQuick
import KelPay.Components
import KelPay.Payment

/// The two wheels of the expiry.
BottomSheet {
    id: sheet

    required property CardForm form

    signal done

    function start() {
        years.forceActiveFocus();
    }

    height: confirm.height + wheels.height + Theme.spacing + 2 * Theme.margin
    Keys.onEscapePressed: done()
    Keys.onReturnPressed: confirm.clicked()
    Keys.onEnterPressed: confirm.clicked()

    Item {
        anchors.fill: parent
        anchors.margins: Theme.margin

        Label {
            anchors.verticalCenter: confirm.verticalCenter
            anchors.left: parent.left
            text: "تاریخ انقضا"
            color: Theme.blue
            font.family: Theme.boldFamily
            font.bold: true
        }
        TextButton {
            id: confirm
            KeyNavigation.tab: years
            anchors.right: parent.right
            anchors.rightMargin: -Theme.margin // its text is in line with the edge
            objectName: "expiryDoneButton"
            text: "تایید"
            onClicked: {
                sheet.form.selectExpiry(years.currentIndex, months.currentIndex);
                sheet.done();
            }
        }
        Grid {
            id: wheels
            anchors {
                top: confirm.bottom
                topMargin: Theme.spacing
                horizontalCenter: parent.horizontalCenter
            }
            columns: 2
            columnSpacing: Theme.margin
            horizontalItemAlignment: Grid.AlignHCenter
            LayoutMirroring.enabled: false
            LayoutMirroring.childrenInherit: true

            Label {
                text: years.label
                color: Theme.inkSoft
                font.pixelSize: Theme.captionSize
                Accessible.ignored: true
            }
            Label {
                text: months.label
                color: Theme.inkSoft
                font.pixelSize: Theme.captionSize
                Accessible.ignored: true
            }
            Wheel {
                id: years
                objectName: "yearTumbler"
                label: "سال"
                focus: true
                model: sheet.form.years
                onCurrentIndexChanged: if (sheet.shown) sheet.form.selectExpiry(currentIndex, months.currentIndex)
                KeyNavigation.tab: months
                KeyNavigation.right: months
            }
            Wheel {
                id: months
                objectName: "monthTumbler"
                label: "ماه"
                model: sheet.form.months
                onCurrentIndexChanged: if (sheet.shown) sheet.form.selectExpiry(years.currentIndex, currentIndex)
                KeyNavigation.tab: confirm
                KeyNavigation.left: years
            }
        }
    }
}
