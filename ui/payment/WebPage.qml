import QtQuick
import QtWebView
import KelPay.Payment

/// The page itself. It may not lead to where the screen doesn't.
WebView {
    required property VerificationViewController controller

    url: controller.url
    Component.onDestruction: deleteAllCookies()
    onLoadingChanged: request => {
        if (request.status === WebView.LoadStartedStatus && !controller.isAllowed(request.url))
            stop();
    }
}
