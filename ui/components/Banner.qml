import QtQuick
import KelPay.Components

/// The message that slides over the top of the screen, from behind what covers its upper `raised` pixels.
Rectangle {
    id: bar

    required property NotificationBanner banner
    property real raised: 0

    objectName: "banner"
    y: raised - (banner.lowered ? 0 : height)
    height: Math.max(Theme.low ? 44 : 64, message.implicitHeight + 2 * Theme.spacing)
    visible: y > raised - height
    color: Theme.bannerColor

    Behavior on y {
        NumberAnimation {
            duration: Theme.bannerMotion
            easing.type: Easing.InOutQuad
        }
    }

    Text {
        textFormat: Text.PlainText
        id: message
        anchors {
            left: parent.left
            right: parent.right
            margins: Theme.margin
            verticalCenter: parent.verticalCenter
        }
        text: bar.banner.message
        color: Theme.onColor
        font.family: Theme.family
        font.pixelSize: Theme.bodySize
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
}
