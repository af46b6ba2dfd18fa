pragma ComponentBehavior: Bound
import QtQuick
import KelPay.Components
import KelPay.Payment

/// The verification page, or a text where it can't be shown. The page is a file of its own, so that a missing Qt WebView
/// costs only the page.
FocusScope {
    id: view

    required property VerificationViewController controller

    Loader {
        id: page
        objectName: "verificationPage"
        anchors.fill: parent
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
