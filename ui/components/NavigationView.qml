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
        color: Theme.barSurface

        Text {
            anchors.centerIn: parent
            width: parent.width - 2 * (barButton.visible ? barButton.width + Theme.spacing : Theme.margin)
            text: navigation.controller.topViewController.title
            color: Theme.brandBlue
            font.family: Theme.family
            font.pixelSize: Theme.titleSize
            fontSizeMode: Text.HorizontalFit
            minimumPixelSize: Theme.captionSize
            elide: Text.ElideRight
            horizontalAlignment: Text.AlignHCenter
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }

        TextButton {
            id: barButton
            anchors {
                left: parent.left
                leftMargin: Theme.spacing
                verticalCenter: parent.verticalCenter
            }
            objectName: navigation.controller.topViewController.barButtonName
            text: navigation.controller.topViewController.barButtonText
            textColor: Theme.brandBlue
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
