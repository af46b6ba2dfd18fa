// What came of the payment.

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts

Item {
    id: outcome

    property bool success: false
    property string code
    property string description
    property string reference

    signal back()

    // A host that cancels or runs out of time can't know whether a payment on its way was booked.
    readonly property bool unsure: code === "2525342" || code === "2525343"

    function reset() {
        outcome.success = false
    }

    function show(success: bool, code: string, description: string, reference: string) {
        // What was paid stays paid, whatever is reported later.
        if (outcome.success)
            return
        outcome.success = success
        outcome.code = code
        outcome.description = description
        outcome.reference = reference
        outcome.visible = true
    }

    ColumnLayout {
        anchors.centerIn: parent
        width: Math.min(parent.width - 48, 420)
        spacing: 16

        Rectangle {
            Layout.alignment: Qt.AlignHCenter
            Layout.preferredWidth: 88
            Layout.preferredHeight: 88
            radius: 44
            color: outcome.success ? "#E4F2E1" : "#FBE4DC"

            Label {
                anchors.centerIn: parent
                text: outcome.success ? "✓" : "!"
                font.pixelSize: 44
                font.weight: Font.Bold
                color: outcome.success ? "#2F6B2A" : "#A3320B"
            }
        }
        Label {
            objectName: "shopOutcome"
            Layout.fillWidth: true
            text: outcome.success ? "خرید شما ثبت شد" : "پرداخت انجام نشد"
            font.pixelSize: 22
            font.weight: Font.Bold
            color: "#3B2A1A"
            horizontalAlignment: Text.AlignHCenter
        }
        Label {
            Layout.fillWidth: true
            text: outcome.success ? "سفارش امروز برایتان فرستاده می‌شود."
                : outcome.unsure ? outcome.description + "\nاگر مبلغی از حساب شما کم شده است، پیش از پرداخت دوباره به ما خبر دهید."
                : outcome.description
            font.pixelSize: 15
            color: "#7A6650"
            wrapMode: Text.Wrap
            horizontalAlignment: Text.AlignHCenter
        }
        Label {
            Layout.fillWidth: true
            text: outcome.success ? "شمارهٔ پیگیری: " + outcome.reference : "کد: " + outcome.code
            font.pixelSize: 14
            color: "#7A6650"
            horizontalAlignment: Text.AlignHCenter
        }
        PlainButton {
            objectName: "shopBackButton"
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 12
            text: "بازگشت به سبد خرید"
            onClicked: outcome.back()
        }
    }
}
