import QtQuick
import KelPay.Components

/// A title bar over the screens of a navigation controller. The bar keeps a light surface, because its title's colour is
/// fixed.
FocusScope {
    id: navigation

    required property NavigationController controller
    readonly property Item container: screens

    focus: true
    Keys.onEscapePressed: controller.topViewController.escapePressed()

    Rectangle {
        anchors.fill: parent
        color: Theme.page
    }

    FocusScope {
        id: screens
        anchors {
            top: bar.bottom
            bottom: parent.bottom
            left: parent.left
            right: parent.right
        }
        focus: true
        clip: true
        enabled: !navigation.controller.covered
    }

    Rectangle {
        id: bar
        width: parent.width
        height: Theme.barHeight
        color: Theme.surface

        Text {
            anchors.centerIn: parent
            text: navigation.controller.topViewController.title
            color: Theme.blue
            font.family: Theme.family
            font.pixelSize: Theme.titleSize
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }

        TextButton {
            anchors {
                left: parent.left
                leftMargin: Theme.spacing
                verticalCenter: parent.verticalCenter
            }
            objectName: navigation.controller.topViewController.barButtonName
            text: navigation.controller.topViewController.barButtonText
            visible: text !== ""
            onClicked: navigation.controller.topViewController.barButtonPressed()
        }

        Rectangle {
            anchors.bottom: parent.bottom
            width: parent.width
            height: 1
            color: Theme.line
        }
    }

    Banner {
        banner: navigation.controller.topViewController.banner
        width: parent.width
    }
    // Not the banner's own: that is still out of sight when its message must be told.
    Spoken {
        readonly property NotificationBanner banner: navigation.controller.topViewController.banner

        text: banner.lowered ? banner.message : ""
    }

    // No card data in the pictures that a system takes of applications that are put away.
    Rectangle {
        objectName: "veil"
        anchors.fill: parent
        color: Theme.page
        visible: veil.drawn || navigation.Window.visibility === Window.Minimized

        Image {
            anchors.centerIn: parent
            width: 64
            height: 64
            source: "image://kelpay/kel.png"
            sourceSize.width: 128
            sourceSize.height: 128
            fillMode: Image.PreserveAspectFit
            Accessible.ignored: true
        }
        Veil {
            id: veil
        }
    }
}
