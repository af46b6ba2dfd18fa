// Takes one payment of 150,000 rials inside its window, prints its outcome, and ends with 0 when it was paid.

import QtQuick
import QtQuick.Controls.Basic
import KelPay

ApplicationWindow {
    width: 420
    height: 860
    visible: true
    title: "Books"

    Payment {
        id: payment

        merchantId: "1001"
        onFinished: (success, code, description, reference) => {
            console.log(success ? `paid, tracking number ${reference}` : `${code}: ${description}`)
            Qt.exit(success ? 0 : 1)
        }
    }

    Button {
        objectName: "buyButton"
        anchors.centerIn: parent
        text: "150,000 rials"
        enabled: !payment.busy
        onClicked: payment.start("09120000000", "order 17", "724|150000|Books")
    }
}
