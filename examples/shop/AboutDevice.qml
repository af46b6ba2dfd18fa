// What the SDK knows about the device and the shop, one line each.

pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import KelPay
import Shop

Item {
    id: about

    required property Session session

    signal back()

    DeviceReport {
        id: report

        onChanged: if (isComplete) about.session.describe(names, values)
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.leftMargin: Math.max(20, (parent.width - 640) / 2)
        anchors.rightMargin: anchors.leftMargin
        anchors.topMargin: 24
        anchors.bottomMargin: 20
        spacing: 14

        Label {
            Layout.fillWidth: true
            text: "دربارهٔ این دستگاه"
            font.pixelSize: 24
            font.weight: Font.Bold
            color: "#3B2A1A"
            horizontalAlignment: Text.AlignLeft
        }

        ListView {
            Layout.fillWidth: true
            Layout.fillHeight: true
            objectName: "aboutFacts"
            clip: true
            spacing: 2
            model: report.names
            delegate: Column {
                id: fact

                required property int index
                required property string modelData

                width: ListView.view.width
                bottomPadding: 8
                LayoutMirroring.enabled: false
                LayoutMirroring.childrenInherit: true

                Label {
                    width: parent.width
                    text: fact.modelData
                    font.pixelSize: 12
                    color: "#7A6650"
                }
                Label {
                    width: parent.width
                    text: report.values[fact.index] || "—"
                    font.family: "monospace" // the shop's own would draw Persian digits
                    font.pixelSize: 15
                    color: "#3B2A1A"
                    horizontalAlignment: Text.AlignLeft
                    wrapMode: Text.Wrap
                }
            }
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: 12

            PlainButton {
                objectName: "aboutPaymentViewButton"
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                text: "نمایش صفحهٔ پرداخت"
                onClicked: report.showPaymentView()
            }
            PlainButton {
                objectName: "aboutBackButton"
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                text: "بازگشت"
                onClicked: about.back()
            }
        }
    }
}
