pragma ComponentBehavior: Bound
import QtQuick
import KelPay.Components
import KelPay.Payment

/// The payment screen.
FocusScope {
    id: view

    required property PaymentViewController controller

    /// What stands in the keyboard's place.
    enum Sheet { None, Expiry, Cards }
    property int sheet: PaymentView.None

    readonly property real keyboardHeight: {
        const keyboard = Qt.inputMethod.keyboardRectangle;
        return Qt.inputMethod.visible && keyboard.height > 0 ? Math.max(0, Window.height - keyboard.y) : 0;
    }
    readonly property real accessoryHeight: accessory.visible ? accessory.height : 0
    readonly property real sheetHeight: sheet === PaymentView.Expiry ? expirySheet.sheetHeight
                                        : sheet === PaymentView.Cards ? cardSheet.sheetHeight + accessoryHeight : 0

    readonly property Item firstInput: controller.form.cardNumberEnabled ? cards.cardInput : cards.pinInput

    function endEditing() {
        sheet = PaymentView.None;
        idle.forceActiveFocus();
    }
    function pay() {
        endEditing();
        controller.verifyPayment();
    }

    focus: true

    // An alert has the keys as long as it is there.
    onActiveFocusChanged: {
        const alert = [walletPanel, leavePanel].find(panel => panel.item && panel.item.visible);
        if (activeFocus && alert)
            alert.item.forceActiveFocus();
    }
    // A finger opens an on-screen keyboard where it wants one; keys have a place to go from the beginning.
    Component.onCompleted: if (!Appearance.hasTouch) firstInput.focus = true

    Item {
        id: idle
        focus: true
        // KeyNavigation would bind Shift+Tab of the field too.
        Keys.onTabPressed: view.firstInput.forceActiveFocus(Qt.TabFocusReason)
    }

    FormArea {
        id: form
        width: parent.width
        height: Math.min(footer.y, parent.height - view.keyboardHeight - view.accessoryHeight)
        onTapped: view.endEditing()
        aside: PurchaseSection {
            controller: view.controller
        }

        CardSection {
            id: cards
            form: view.controller.form
            afterCard: accessory.visible ? accessory.button : null
            listIsInput: view.controller.isPanListShown
            expiryOpen: view.sheet === PaymentView.Expiry
            onEdited: field => {
                const isCard = cardInput.activeFocus;
                view.sheet = isCard && view.controller.isPanListShown ? PaymentView.Cards : PaymentView.None;
                form.reveal(field);
            }
            onExpiryOpened: {
                view.sheet = PaymentView.Expiry;
                (expirySheet.item as ExpirySheet).start();
            }
            onAccepted: view.pay()
        }
        Row {
            parent: Theme.wide ? form.sideColumn : form.mainColumn
            anchors.horizontalCenter: parent.horizontalCenter
            spacing: 2 * Theme.margin

            Logo {
                id: shaparakIcon
                objectName: "shaparakIcon"
                source: "image://kelpay/shaparak.png"
            }
            Logo {
                id: kelIcon
                objectName: "kelIcon"
                source: "image://kelpay/kel.png"
            }
        }
    }

    // Stands above an on-screen keyboard, so that the pay button is always at hand, unless that left no room for a field;
    // a sheet takes its place.
    ActionFooter {
        id: footer

        readonly property real below: view.keyboardHeight + view.accessoryHeight

        y: parent.height - height
           - Math.max(parent.height - below - height < 2 * Theme.controlHeight ? 0 : below, view.sheetHeight - height)
        button.objectName: "payButton"
        button.text: "پرداخت " + view.controller.amountText
        button.onClicked: view.pay()
    }

    AccessoryBar {
        id: accessory
        controller: view.controller
        next: cards.pinInput
        y: parent.height - height - (view.sheet === PaymentView.Cards ? cardSheet.sheetHeight : view.keyboardHeight)
        visible: view.controller.hasSavedCards
                 && (cards.cardInput.activeFocus || activeFocus || view.sheet === PaymentView.Cards)
        onCardsWanted: {
            view.sheet = PaymentView.Cards;
            view.controller.showPanList();
            (cardSheet.item as SavedCardSheet).start();
        }
        onKeyboardWanted: {
            view.controller.showKeyboard();
            view.sheet = PaymentView.None;
            cards.cardInput.forceActiveFocus();
        }
    }
    OnDemand {
        id: cardSheet

        readonly property real sheetHeight: (item as SavedCardSheet)?.height ?? 0

        anchors.fill: parent
        wanted: view.sheet === PaymentView.Cards
        sourceComponent: SavedCardSheet {
            delegational: view.controller.delegational
            room: view.height - accessory.height
            shown: view.sheet === PaymentView.Cards
            KeyNavigation.tab: accessory.button
            onDone: view.endEditing()
        }
    }
    OnDemand {
        id: expirySheet

        readonly property real sheetHeight: (item as ExpirySheet)?.height ?? 0

        anchors.fill: parent
        wanted: view.sheet === PaymentView.Expiry
        sourceComponent: ExpirySheet {
            form: view.controller.form
            room: view.height
            shown: view.sheet === PaymentView.Expiry
            onDone: {
                view.sheet = PaymentView.None;
                cards.expiryInput.forceActiveFocus();
            }
        }
    }

    OnDemand {
        id: walletPanel
        wanted: view.controller.walletAlert.shown
        sourceComponent: AlertPanel {
            alert: view.controller.walletAlert
        }
    }
    OnDemand {
        id: leavePanel
        wanted: view.controller.leaveAlert.shown
        sourceComponent: AlertPanel {
            alert: view.controller.leaveAlert
        }
    }
    Spoken {
        text: view.controller.timeNotice
    }
}
