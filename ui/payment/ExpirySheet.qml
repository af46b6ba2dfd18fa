pragma ComponentBehavior: Bound
import QtQuick
import KelPay.Components
import KelPay.Payment

/// The two wheels of the expiry. They open at the field's date, and write where the person turns one or confirms a first
/// choice.
BottomSheet {
    id: sheet

    required property CardForm form
    /// How high it may be.
    required property real room
    // Three rows, lower where texts are large on a phone on its side.
    readonly property real wheelHeight:
        Math.min(years.implicitHeight, room - confirm.height - caption.height - 3 * Theme.margin)

    signal done

    function rowOf(rows: var, text: string): int {
        for (let row = 0; row < rows.length; ++row) {
            if (rows[row] === text)
                return row;
        }
        return 0;
    }
    /// A date of other years stays as it is until a wheel is turned.
    function follow() {
        years.set(rowOf(form.years, form.expiration.slice(0, 2)));
        months.set(rowOf(form.months, form.expiration.slice(3)));
    }
    function start() {
        years.handled = months.handled = false;
        follow();
        years.forceActiveFocus();
    }

    function write() {
        form.selectExpiry(years.currentIndex, months.currentIndex);
    }

    height: confirm.height + wheels.height + Theme.spacing + 2 * Theme.margin
    Keys.onEscapePressed: done()
    Keys.onPressed: event => event.accepted = form.typeExpiry(event.text)
    Keys.onReturnPressed: confirm.clicked()
    Keys.onEnterPressed: confirm.clicked()

    Connections {
        target: sheet.form

        function onExpirationChanged() {
            sheet.follow();
        }
    }
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
                if (sheet.form.expiration.length < 5)
                    sheet.write();
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
                id: caption
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
                height: sheet.wheelHeight
                label: "سال"
                focus: true
                model: sheet.form.years
                onTurned: sheet.write()
                KeyNavigation.tab: months
                KeyNavigation.right: months
            }
            Wheel {
                id: months
                objectName: "monthTumbler"
                height: sheet.wheelHeight
                label: "ماه"
                model: sheet.form.months
                onTurned: sheet.write()
                KeyNavigation.tab: confirm
                KeyNavigation.left: years
            }
        }
    }
}
