// What is in the basket, what it costs, and the button that pays.

pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts

Item {
    id: basket

    readonly property int total: {
        let sum = 0
        for (let row = 0; row < goods.count; ++row)
            sum += goods.get(row).unitPrice * goods.get(row).quantity
        return sum + changes * 0
    }
    property int changes: 0
    property string aboutText

    signal pay(int amount)
    signal about()

    function grouped(amount) {
        let text = amount.toString()
        for (let end = text.length - 3; end > 0; end -= 3)
            text = text.slice(0, end) + "," + text.slice(end)
        return text
    }

    ListModel {
        id: goods

        ListElement { name: "چای بهارهٔ لاهیجان"; detail: "بستهٔ نیم کیلویی"; unitPrice: 420000; quantity: 2; tint: "#5B7F3A" }
        ListElement { name: "زعفران سرگل قائنات"; detail: "یک مثقال"; unitPrice: 280000; quantity: 1; tint: "#C2410C" }
        ListElement { name: "نبات شاخه‌ای"; detail: "ده شاخه"; unitPrice: 130000; quantity: 1; tint: "#B7791F" }
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.leftMargin: Math.max(20, (parent.width - 520) / 2)
        anchors.rightMargin: anchors.leftMargin
        anchors.topMargin: 24
        anchors.bottomMargin: 20
        spacing: 14

        Column {
            Layout.fillWidth: true
            spacing: 2

            Label {
                width: parent.width
                text: "چای‌خانهٔ نارنج"
                font.pixelSize: 24
                font.weight: Font.Bold
                color: "#3B2A1A"
                horizontalAlignment: Text.AlignLeft
            }
            Label {
                width: parent.width
                text: "سبد خرید شما"
                font.pixelSize: 14
                color: "#7A6650"
                horizontalAlignment: Text.AlignLeft
            }
        }

        ListView {
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            spacing: 12
            model: goods
            delegate: BasketRow {
                id: row

                width: ListView.view.width
                price: basket.grouped(row.unitPrice * row.quantity)
                onQuantityAsked: wanted => {
                    goods.setProperty(row.index, "quantity", wanted)
                    basket.changes += 1
                }
            }
        }

        RowLayout {
            Layout.fillWidth: true

            Label {
                text: "جمع قابل پرداخت"
                font.pixelSize: 15
                color: "#7A6650"
            }
            Item { Layout.fillWidth: true }
            Label {
                objectName: "shopTotal"
                text: basket.grouped(basket.total) + " ریال"
                font.pixelSize: 20
                font.weight: Font.Bold
                color: "#3B2A1A"
            }
        }

        Button {
            id: payButton

            objectName: "shopPayButton"
            Layout.fillWidth: true
            Layout.preferredHeight: 54
            enabled: basket.total > 0
            text: "پرداخت با کارت"
            font.pixelSize: 17
            font.weight: Font.Bold
            onClicked: basket.pay(basket.total)
            Accessible.name: text
            Accessible.onPressAction: clicked()

            contentItem: Label {
                text: payButton.text
                font: payButton.font
                color: "white"
                horizontalAlignment: Text.AlignHCenter
                verticalAlignment: Text.AlignVCenter
            }
            background: Rectangle {
                radius: 14
                color: !payButton.enabled ? "#CBBFAE" : payButton.down ? "#8F3208" : "#C2410C"
                border.width: payButton.visualFocus ? 3 : 0
                border.color: "#3B2A1A"
            }
        }
        PlainButton {
            objectName: "shopAboutButton"
            Layout.fillWidth: true
            visible: text !== ""
            text: basket.aboutText
            onClicked: basket.about()
        }
    }
}
