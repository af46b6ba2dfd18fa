pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import KelPay.Components

/// A title bar over the screens of a navigation controller. The bar keeps a light surface, because its title's colour is
/// fixed.
FocusScope {
    id: navigation

    required property NavigationController controller
    readonly property Item container: screens
    readonly property Item overlay: T.Overlay.overlay

    focus: true

    Binding {
        target: Theme
        property: "room"
        value: Qt.size(navigation.width, navigation.height)
    }
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
        enabled: !navigation.controller.covered && !navigation.controller.moving
    }

    // From below the bar, whose button stays at hand.
    Banner {
        banner: navigation.controller.topViewController.banner
        width: parent.width
        raised: bar.height
    }

    Rectangle {
        id: bar
        width: parent.width
        height: Theme.barHeight
        color: Theme.barSurface

        Text {
            textFormat: Text.PlainText
            // In the middle, or as near to it as the button at the start, which is at the right, and the corner let it.
            readonly property real end: corner.width > 0 ? corner.width + Theme.spacing : 0
            readonly property real room: (barButton.visible ? barButton.x : bar.width) - end - 2 * Theme.spacing

            anchors.verticalCenter: parent.verticalCenter
            x: Math.max(end + Theme.spacing, Math.min((bar.width - width) / 2, end + room + Theme.spacing - width))
            width: Math.min(implicitWidth, room)
            text: navigation.controller.topViewController.title
            color: Theme.brandBlue
            font.family: Theme.family
            font.pixelSize: Theme.titleSize
            elide: Text.ElideRight
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }

        BarCorner {
            id: corner
            anchors {
                right: parent.right
                rightMargin: Theme.spacing
                verticalCenter: parent.verticalCenter
            }
        }
        TextButton {
            id: barButton
            anchors.left: parent.left
            anchors.verticalCenter: parent.verticalCenter
            objectName: navigation.controller.topViewController.barButtonName
            text: navigation.controller.topViewController.barButtonText
            textColor: Theme.brandBlue
            ring: Theme.brandMagenta
            visible: text !== ""
            enabled: !navigation.controller.moving
            onClicked: navigation.controller.topViewController.barButtonPressed()
        }

        Rectangle {
            anchors.bottom: parent.bottom
            width: parent.width
            height: 1
            color: Theme.line
        }
    }

    // Not the banner's own: that is still out of sight when its message must be told.
    Spoken {
        readonly property NotificationBanner banner: navigation.controller.topViewController.banner

        text: banner.lowered ? banner.message : ""
    }

    // No card data in the pictures that a system takes of applications that are put away.
    OnDemand {
        // Above alerts too, which are popups over the window.
        parent: navigation.overlay
        anchors.fill: parent
        z: 1000
        visible: wanted
        wanted: privacyCover.drawn || navigation.Window.visibility === Window.Minimized
        sourceComponent: Rectangle {
            objectName: "privacyCover"
            anchors.fill: parent
            color: Theme.page

            Logo {
                anchors.centerIn: parent
                size: Theme.zoomed(64)
                source: "image://kelpay/kel.png"
            }
        }
    }
    PrivacyCover {
        id: privacyCover
    }
}
