pragma ComponentBehavior: Bound
import QtQuick
import KelPay.Components
import KelPay.Payment

/// The verification page, or a text where it can't be shown. The page is a file of its own, so that a missing Qt WebView
/// costs only the page.
FocusScope {
    id: view

    required property VerificationViewController controller

    // Whose page it is, since no certificate of the service vouches for it. The end of a name says whom it belongs to.
    Rectangle {
        id: bar
        width: parent.width
        height: host.implicitHeight + Theme.spacing
        color: Theme.page
        visible: page.status === Loader.Ready

        Label {
            id: host
            objectName: "verificationHost"
            anchors.centerIn: parent
            width: parent.width - 2 * Theme.margin
            text: "\u2066" + view.controller.host + "\u2069"
            color: Theme.inkSoft
            font.pixelSize: Theme.captionSize
            wrapMode: Text.NoWrap
            elide: Text.ElideLeft
            horizontalAlignment: Text.AlignHCenter
            Accessible.name: view.controller.host
        }
    }
    Loader {
        id: page
        objectName: "verificationPage"
        anchors {
            top: bar.bottom
            bottom: parent.bottom
            left: parent.left
            right: parent.right
        }
        active: view.controller.canLoad
        Component.onCompleted: {
            if (active)
                setSource("WebPage.qml", {controller: view.controller});
        }
    }
    Label {
        objectName: "verificationFault"
        anchors.centerIn: parent
        width: Math.min(parent.width - 2 * Theme.margin, Theme.columnWidth)
        visible: page.status !== Loader.Ready
        text: "نمایش صفحه تایید پذیرنده ممکن نیست."
        color: Theme.inkSoft
        horizontalAlignment: Text.AlignHCenter
        Accessible.role: Accessible.AlertMessage
    }
}
