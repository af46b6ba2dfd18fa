import QtQuick
import KelPay.Components

/// A title bar over the screens of a navigation controller. The bar keeps a light surface, because its title's colour is
/// fixed.
FocusScope {
    id: navigation

    required property NavigationController controller
    readonly property Item container: screens

    focus: true

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
}
