import QtQuick
import KelPay.Components
import KelPay.Payment

/// Stands on the keyboard, or on the saved cards, while the card number is edited, and switches between the two.
FocusScope {
    id: bar

    required property PaymentViewController controller
    /// Where Tab leads from here.
    property Item next: null
    readonly property Item button: controller.isPanListShown ? keyboard : savedCards

    signal cardsWanted
    signal keyboardWanted

    width: parent.width
    height: Theme.holding(24, 26)

    Rectangle {
        anchors.fill: parent
        color: Theme.accessory
    }
    MouseArea {
        anchors.fill: parent
    }
    Item {
        anchors.horizontalCenter: parent.horizontalCenter
        width: Math.min(parent.width, Theme.columnWidth + 2 * Theme.margin)
        height: parent.height

        TextButton {
            id: savedCards
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            // KeyNavigation would bind Shift+Tab of the next item too, also while this is hidden.
            Keys.onTabPressed: bar.next.forceActiveFocus(Qt.TabFocusReason)
            objectName: "savedCardsButton"
            text: "کارت های پیشفرض"
            textColor: Theme.onColor
            visible: !bar.controller.isPanListShown
            onClicked: bar.cardsWanted()
        }
        TextButton {
            id: keyboard
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            // KeyNavigation would bind Shift+Tab of the next item too, also while this is hidden.
            Keys.onTabPressed: bar.next.forceActiveFocus(Qt.TabFocusReason)
            objectName: "keyboardButton"
            text: "وارد کردن شماره کارت"
            textColor: Theme.onColor
            visible: bar.controller.isPanListShown
            onClicked: bar.keyboardWanted()
        }
    }
}
