import QtQuick
import KelPay.Components

/// The message that slides over the top of the screen.
Rectangle {
    id: bar

    required property NotificationBanner banner

    objectName: "banner"
    y: banner.lowered ? 0 : -height
    height: 64
    visible: y > -height
    color: Theme.bannerColor

    Behavior on y {
        NumberAnimation {
            duration: 300
            easing.type: Easing.InOutQuad
        }
    }

    Text {
        anchors.fill: parent
        anchors.margins: Theme.spacing
        text: bar.banner.message
        color: "white"
        font.family: Theme.family
        font.pixelSize: Theme.bodySize
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        wrapMode: Text.Wrap
        fontSizeMode: Text.Fit
        minimumPixelSize: 12
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
}
