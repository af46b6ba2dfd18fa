pragma ComponentBehavior: Bound
import QtQuick
import KelPay.Components
import KelPay.Receipt

/// The receipt: the verdict, the merchant, the amount, the lines of the receipt.
FocusScope {
    id: view

    required property ReceiptViewController controller
    readonly property color verdict: controller.isSuccess ? Theme.success : Theme.fault

    focus: true

    FormArea {
        anchors {
            top: parent.top
            left: parent.left
            right: parent.right
            bottom: footer.top
        }

        aside: Card {
            spacing: Theme.margin

            Rectangle {
                anchors.horizontalCenter: parent.horizontalCenter
                width: Theme.zoomed(64)
                height: width
                radius: width / 2
                color: view.controller.isSuccess ? Theme.successFill : Theme.bannerColor
                visible: view.controller.statusText !== ""

                BundleIcon {
                    anchors.centerIn: parent
                    width: Theme.zoomed(40)
                    height: width
                    file: view.controller.isSuccess ? "ic_check_white_3x.png" : "ic_close_white_3x.png"
                    color: Theme.onColor
                }
            }
            Label {
                id: statusLabel
                objectName: "statusLabel"
                width: parent.width
                text: view.controller.statusText
                color: view.verdict
                font.family: Theme.boldFamily
                font.bold: true
                font.pixelSize: Theme.titleSize + 4
                horizontalAlignment: Text.AlignHCenter
            }
            Spoken {
                text: view.controller.statusText
            }
            Label {
                id: amountLabel
                objectName: "amountLabel"
                width: parent.width
                text: view.controller.amountText
                font.family: Theme.boldFamily
                font.bold: true
                font.pixelSize: Theme.titleSize
                horizontalAlignment: Text.AlignHCenter
            }
            Label {
                id: merchantLabel
                objectName: "merchantLabel"
                width: parent.width
                text: view.controller.merchantText
                color: Theme.inkSoft
                horizontalAlignment: Text.AlignHCenter
            }
        }
        Card {
            visible: descriptionLabel.text !== ""

            Column {
                id: descriptionLabel

                readonly property string text: view.controller.descriptionText

                objectName: "descriptionLabel"
                width: parent.width
                spacing: Theme.spacing
                Accessible.role: Accessible.StaticText
                Accessible.name: text

                Label {
                    width: parent.width
                    text: descriptionLabel.text
                    visible: lines.count === 0
                    horizontalAlignment: Text.AlignHCenter
                    Accessible.ignored: true
                }
                // A value has an item of its own, so that a card number reads left to right whatever stands before it.
                Repeater {
                    id: lines
                    model: view.controller.lineNames

                    Item {
                        id: line

                        required property int index
                        required property string modelData

                        // Where both don't fit on one line, the value stands below its name.
                        readonly property bool stacked:
                            name.implicitWidth + whole.advanceWidth + Theme.margin > width

                        width: descriptionLabel.width
                        height: stacked ? name.height + value.height : Math.max(name.height, value.height)

                        TextMetrics {
                            id: whole
                            text: value.text
                            font: value.font
                        }
                        Label {
                            id: name
                            anchors.left: parent.left
                            text: line.modelData
                            color: Theme.inkSoft
                            wrapMode: Text.NoWrap
                            Accessible.ignored: true
                        }
                        Label {
                            id: value
                            objectName: "receiptValue" + line.index
                            anchors {
                                left: line.stacked ? parent.left : name.right
                                right: parent.right
                                leftMargin: line.stacked ? 0 : Theme.margin
                            }
                            y: line.stacked ? name.height : 0
                            text: view.controller.lineValues[line.index]
                            horizontalAlignment: line.stacked ? Text.AlignLeft : Text.AlignRight
                            wrapMode: Text.WrapAnywhere
                            Accessible.ignored: true
                        }
                    }
                }
            }
        }
    }
    ActionFooter {
        id: footer
        anchors.bottom: parent.bottom
        focus: true
        button.objectName: "doneButton"
        button.text: "تایید و بازگشت"
        button.onClicked: view.controller.donePayment()
    }
}
