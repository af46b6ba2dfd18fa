// The shop's window: the basket, and the outcome of the payment once there is one.

import QtQuick
import QtQuick.Controls.Basic
import KelPay
import Shop

ApplicationWindow {
    id: window

    required property Session session

    width: 420
    height: 860
    minimumWidth: 320
    minimumHeight: 480
    visible: true
    title: "چای‌خانهٔ نارنج"
    color: "#FBF6EC"
    font.family: "Vazirmatn UI FD"

    LayoutMirroring.enabled: true
    LayoutMirroring.childrenInherit: true

    Payment {
        id: payment

        property bool busy: false

        merchantId: window.session.merchant
        onFinished: (success, code, description, reference, merchantReference) => {
            busy = false
            outcome.show(success, code, description, reference)
            window.session.report(success, code, description, reference, merchantReference)
        }
    }

    Basket {
        id: basket

        anchors.fill: parent
        visible: !outcome.visible && about.status === Loader.Null
        enabled: !payment.busy
        aboutText: window.session.knowsDevice ? "دربارهٔ این دستگاه" : ""
        onAbout: about.setSource("AboutDevice.qml", {session: window.session})
        onPay: amount => {
            // One payment at a time. Where no outcome ever comes, the shop opens again after the longest one can take.
            outcome.reset()
            payment.busy = true
            patience.restart()
            payment.start(window.session.msisdn, window.session.additional,
                window.session.params || `724|${amount}|خرید از چای‌خانهٔ نارنج`)
        }
    }

    // Only a sandbox build has this page.
    Loader {
        id: about

        anchors.fill: parent
        Component.onCompleted: if (window.session.about) basket.about()
    }
    Connections {
        target: about.item
        ignoreUnknownSignals: true

        function onBack() {
            about.source = ""
        }
    }

    Timer {
        id: patience

        interval: 11 * 60 * 1000
        onTriggered: payment.busy = false
    }

    Outcome {
        id: outcome

        anchors.fill: parent
        visible: false
        onBack: visible = false
    }
}
