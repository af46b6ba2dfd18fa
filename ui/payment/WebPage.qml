import QtQuick
import QtWebView
import KelPay.Components
import KelPay.Payment

/// The page itself. Where it leads to what the screen may not show, the screen takes it away; Qt WebView tells only once
/// the way there has begun.
WebView {
    id: page

    required property VerificationViewController controller

    url: controller.url
    Component.onDestruction: deleteAllCookies()
    onLoadingChanged: request => {
        if (request.status === WebView.LoadStartedStatus && request.url.toString() !== "")
            controller.follow(request.url);
        else if (request.status === WebView.LoadSucceededStatus)
            controller.arrive(request.url);
    }

    Spinner {
        anchors.centerIn: parent
        visible: page.loading
    }
}
