import QtQuick
import KelPay.Components
import KelPay.Payment

/// The card's fields. CVV2 and expiry are there only where the full form applies.
Card {
    id: section

    required property CardForm form
    property bool expiryOpen: false
    /// The saved cards stand in the place of the keyboard.
    property bool listIsInput: false
    readonly property alias cardInput: cardNumberTextField.input
    readonly property alias pinInput: passwordTextField.input
    /// What Tab leads to from the card number, before the PIN.
    property Item afterCard: null
    readonly property alias expiryInput: expirationDateView.input

    signal edited(Item field)
    signal accepted
    signal expiryOpened

    spacing: Theme.margin - 4

    Connections {
        target: section.form

        function onFaultFound(field: int) {
            const inputs = [cardNumberTextField.input, passwordTextField.input, cvvTwoTextField.input,
                            expirationDateView.input];
            inputs[field - CardForm.CardNumber].forceActiveFocus();
        }
    }
    EntryField {
        id: cardNumberTextField
        width: parent.width
        name: "cardNumberTextField"
        form: section.form
        field: CardForm.CardNumber
        label: "شماره کارت"
        hint: "۱۶ رقم روی کارت"
        fault: section.form.faults[CardForm.CardNumber]
        quiet: section.listIsInput
        available: section.form.cardNumberEnabled
        entered: section.form.cardNumber
        onEnteredChanged: section.form.cardNumber = entered
        onAccepted: passwordTextField.input.forceActiveFocus()
        input.KeyNavigation.tab: section.afterCard
        input.onActiveFocusChanged: {
            if (!input.activeFocus) {
                section.form.textFieldDidEndEditing(CardForm.CardNumber);
                return;
            }
            section.edited(cardNumberTextField);
            if (section.form.isSettledDown)
                input.selectAll();
        }
        noteName: "bankNameLabel"
        note: section.form.bankName
        end: Logo {
            id: bankIcon
            objectName: "bankIcon"
            source: section.form.bankIcon
            Accessible.ignored: false
            Accessible.role: Accessible.Graphic
            Accessible.name: section.form.bankName
        }
    }
    EntryField {
        id: passwordTextField
        width: parent.width
        name: "passwordTextField"
        form: section.form
        field: CardForm.Pin
        label: "رمز دوم"
        hint: "رمز اینترنتی کارت"
        fault: section.form.faults[CardForm.Pin]
        secret: true
        onAccepted: section.form.isSimple ? section.accepted() : cvvTwoTextField.input.forceActiveFocus()
        input.onActiveFocusChanged: if (input.activeFocus) section.edited(passwordTextField)
        icon: BundleIcon {
            id: lockIcon
            objectName: "lockIcon"
            file: "ic_lock_white_3x.png"
            color: Theme.blue
        }
    }
    // Side by side where that spares the scrolling.
    Grid {
        id: pair

        readonly property real each: columns === 2 ? (width - spacing) / 2 : width

        width: parent.width
        columns: Theme.wide && Theme.textScale < 1.5 ? 2 : 1
        spacing: section.spacing
        visible: !section.form.isSimple

        Item {
            id: cvvTwoView
            objectName: "cvvTwoView"
            width: pair.each
            implicitHeight: cvvTwoTextField.implicitHeight
            opacity: section.form.isSimple ? 0 : 1
            visible: opacity > 0

            EntryField {
                id: cvvTwoTextField
                width: parent.width
                name: "cvvTwoTextField"
                form: section.form
                field: CardForm.Cvv2
                label: "CVV2"
                hint: "کد ۳ یا ۴ رقمی"
                fault: section.form.faults[CardForm.Cvv2]
                secret: true
                onAccepted: expirationDateView.input.forceActiveFocus()
                input.onActiveFocusChanged: if (input.activeFocus) section.edited(cvvTwoView)
                icon: BundleIcon {
                    id: cvvTwoIcon
                    objectName: "cvvTwoIcon"
                    file: "ic_lock_white_3x.png"
                    color: Theme.blue
                }
            }
        }
        ExpiryField {
            id: expirationDateView
            objectName: "expirationDateView"
            width: pair.each
            label: "تاریخ انقضا"
            opacity: section.form.isSimple ? 0 : 1
            visible: opacity > 0
            form: section.form
            fault: section.form.faults[CardForm.Expiration]
            onAccepted: section.accepted()
            open: section.expiryOpen
            input.onActiveFocusChanged: if (input.activeFocus) section.edited(expirationDateView)
            onOpened: {
                section.edited(expirationDateView);
                section.expiryOpened();
            }
            icon: BundleIcon {
                id: expirationDate
                objectName: "expirationDate"
                file: "ic_event_white_3x.png"
                color: Theme.blue
            }
        }
    }
}
