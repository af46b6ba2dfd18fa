import QtQuick
import KelPay.Components

/// "Please wait": a card with a turning arc, an image and a text, drawn over its parent. Settled, it waits no more. It
/// takes no input.
Item {
    id: overlay

    required property string status
    required property url imageUrl
    property bool settled: false
    /// In a window of its own, as large as the card, with nothing of the screens' below it.
    property bool alone: false
    readonly property size cardSize: Qt.size(card.width, card.height)

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
        visible: !overlay.alone
    }

    Rectangle {
        id: card

        readonly property real wanted: Math.max(content.implicitWidth + 2 * Theme.margin, Math.round(132 * Theme.zoom))

        anchors.centerIn: parent
        width: overlay.alone ? wanted : Math.min(wanted, overlay.width - 2 * Theme.margin)
        height: content.implicitHeight + 3 * Theme.margin
        radius: overlay.alone ? 0 : Theme.radius
        color: Theme.surface
        border.color: Theme.line

        Column {
            id: content
            anchors.centerIn: parent
            spacing: Theme.margin

            Logo {
                anchors.horizontalCenter: parent.horizontalCenter
                source: overlay.imageUrl
                size: Theme.zoomed(64)
                visible: isThere
            }
            Spinner {
                anchors.horizontalCenter: parent.horizontalCenter
                turning: visible && !overlay.settled
                opacity: overlay.settled ? 0.4 : 1
            }
            Text {
                textFormat: Text.PlainText
                anchors.horizontalCenter: parent.horizontalCenter
                width: overlay.alone ? implicitWidth : Math.min(implicitWidth, overlay.width - 4 * Theme.margin)
                text: overlay.status
                visible: text !== ""
                color: Theme.ink
                font.family: Theme.family
                font.pixelSize: Theme.bodySize
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
                Accessible.ignored: true
            }
        }
    }
}
