import QtQuick
import KelPay.Components

/// "Please wait": a card with a turning arc, an image and a text, drawn over its parent. It takes no input.
Item {
    id: overlay

    required property string status
    required property url imageUrl

    objectName: "progressOverlay"
    anchors.fill: parent
    z: 1000002 // above any popup of the host's
    LayoutMirroring.enabled: true
    LayoutMirroring.childrenInherit: true

    Spoken {
        text: overlay.status !== "" ? overlay.status : "لطفا صبر کنید"
    }
    Rectangle {
        anchors.fill: parent
        color: Theme.page
        opacity: 0.72
    }

    Rectangle {
        anchors.centerIn: parent
        width: Math.min(Math.max(content.implicitWidth + 2 * Theme.margin, 132), parent.width - 2 * Theme.margin)
        height: content.implicitHeight + 3 * Theme.margin
        radius: Theme.radius
        color: Theme.surface
        border.color: Theme.line

        Column {
            id: content
            anchors.centerIn: parent
            spacing: Theme.margin

            Image {
                anchors.horizontalCenter: parent.horizontalCenter
                source: overlay.imageUrl
                sourceSize.width: 128
                sourceSize.height: 128
                width: 64
                height: 64
                fillMode: Image.PreserveAspectFit
                visible: status === Image.Ready
            }
            Spinner {
                anchors.horizontalCenter: parent.horizontalCenter
            }
            Text {
                anchors.horizontalCenter: parent.horizontalCenter
                text: overlay.status
                visible: text !== ""
                color: Theme.ink
                font.family: Theme.family
                font.pixelSize: Theme.bodySize
                Accessible.ignored: true
            }
        }
    }
}
