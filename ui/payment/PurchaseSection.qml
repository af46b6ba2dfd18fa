import QtQuick
import KelPay.Components
import KelPay.Payment

/// What is paid, to whom, and how long there is.
Card {
    id: purchase

    required property PaymentViewController controller

    spacing: Theme.spacing / 2

    // Side by side, or one below the other where the name would be left with less than half.
    Grid {
        id: header

        readonly property bool stacked: verify.implicitWidth > width / 2

        width: parent.width
        columns: stacked ? 1 : 2
        verticalItemAlignment: Grid.AlignVCenter

        Item {
            width: header.stacked ? header.width : header.width - verify.width + Theme.margin
            height: Math.max(merchantLabel.implicitHeight, verifiedIcon.height)

            BundleIcon {
                id: verifiedIcon
                objectName: "verifiedIcon"
                anchors.left: parent.left
                anchors.verticalCenter: parent.verticalCenter
                file: "ic_verified_user_white_3x.png"
                color: Theme.magenta
            }
            Label {
                id: merchantLabel
                objectName: "merchantLabel"
                anchors {
                    left: verifiedIcon.right
                    right: parent.right
                    leftMargin: Theme.spacing / 2
                    verticalCenter: parent.verticalCenter
                }
                text: purchase.controller.merchantText
                font.family: Theme.boldFamily
                font.bold: true
                horizontalAlignment: Text.AlignLeft
            }
        }
        TextButton {
            id: verify
            objectName: "verifyButton"
            text: "تایید پذیرنده"
            textColor: Theme.magenta
            font.pixelSize: Theme.captionSize
            onClicked: purchase.controller.openVerifyURL()
        }
    }
    Label {
        id: amountLabel
        objectName: "amountLabel"
        width: parent.width
        text: purchase.controller.amountText
        color: Theme.blue
        font.family: Theme.boldFamily
        font.bold: true
        font.pixelSize: Theme.amountSize
        fontSizeMode: Text.HorizontalFit
        minimumPixelSize: Theme.bodySize
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.NoWrap
    }
    Label {
        id: detailLabel
        objectName: "detailLabel"
        width: parent.width
        text: purchase.controller.detailText
        visible: text.trim() !== ""
        color: Theme.inkSoft
        horizontalAlignment: Text.AlignHCenter
    }
    Rectangle {
        anchors.horizontalCenter: parent.horizontalCenter
        width: timeLabel.implicitWidth + 2 * Theme.margin
        height: timeLabel.implicitHeight + Theme.spacing
        radius: height / 2
        color: Theme.page
        opacity: timeLabel.text === "" ? 0 : 1

        Label {
            id: timeLabel
            objectName: "timeLabel"
            anchors.centerIn: parent
            text: purchase.controller.timeText
            color: purchase.controller.isLastMinute ? Theme.magenta : Theme.inkSoft
            font.pixelSize: Theme.captionSize
            wrapMode: Text.NoWrap
        }
    }
}
