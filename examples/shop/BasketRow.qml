// One article of the basket, with its quantity.

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts

Rectangle {
    id: row

    required property int index
    required property string name
    required property string detail
    required property int unitPrice
    required property int quantity
    required property color tint
    property string price

    signal quantityAsked(int wanted)

    implicitHeight: 92
    radius: 16
    color: "white"
    border.color: "#EFE5D3"

    RowLayout {
        anchors.fill: parent
        anchors.margins: 14
        spacing: 12

        Rectangle {
            Layout.preferredWidth: 48
            Layout.preferredHeight: 48
            radius: 24
            color: Qt.alpha(row.tint, 0.14)

            Rectangle {
                anchors.centerIn: parent
                width: 20
                height: 20
                radius: 10
                color: row.tint
            }
        }

        ColumnLayout {
            Layout.fillWidth: true
            spacing: 0

            Label {
                Layout.fillWidth: true
                text: row.name
                font.pixelSize: 15
                font.weight: Font.Medium
                color: "#3B2A1A"
                elide: Text.ElideRight
                horizontalAlignment: Text.AlignLeft
            }
            Label {
                Layout.fillWidth: true
                text: row.detail
                font.pixelSize: 12
                color: "#7A6650"
                elide: Text.ElideRight
                horizontalAlignment: Text.AlignLeft
            }
            Label {
                Layout.fillWidth: true
                text: row.price + " ریال"
                font.pixelSize: 13
                color: "#3B2A1A"
                horizontalAlignment: Text.AlignLeft
            }
        }

        RowLayout {
            spacing: 6

            StepButton {
                text: "+"
                Accessible.name: "یکی بیشتر از " + row.name
                onClicked: row.quantityAsked(row.quantity + 1)
            }
            Label {
                Layout.preferredWidth: 18
                text: row.quantity
                font.pixelSize: 16
                color: "#3B2A1A"
                horizontalAlignment: Text.AlignHCenter
            }
            StepButton {
                text: "−"
                enabled: row.quantity > 0
                Accessible.name: "یکی کمتر از " + row.name
                onClicked: row.quantityAsked(row.quantity - 1)
            }
        }
    }
}
