import QtQuick
import KelPay.Components
import KelPay.Payment

/// Fields in each state.
Page {
    id: page

    Card {
        spacing: Theme.margin

        EntryField {
            width: parent.width
            form: page.exhibits.form
            field: CardForm.CardNumber
            name: "empty"
            label: "Empty"
            hint: "۱۶ رقم روی کارت"
        }
        EntryField {
            width: parent.width
            form: page.exhibits.form
            field: CardForm.Pin
            name: "focused"
            label: "With the keyboard"
            hint: "رمز اینترنتی کارت"
            Component.onCompleted: input.forceActiveFocus()
        }
        EntryField {
            width: parent.width
            form: page.exhibits.form
            field: CardForm.CardNumber
            name: "filled"
            label: "Filled"
            note: "بانک ملی"
            entered: "6037991234567893"
            end: Logo {
                source: "image://kelpay/603799.png"
            }
        }
        EntryField {
            width: parent.width
            form: page.exhibits.form
            field: CardForm.CardNumber
            name: "faulty"
            label: "Faulty"
            entered: "6037991234567890"
            fault: "شماره کارت وارد شده صحیح نمیباشد"
        }
        EntryField {
            width: parent.width
            form: page.exhibits.form
            field: CardForm.CardNumber
            name: "disabled"
            label: "Disabled"
            entered: "6037991234567893"
            available: false
        }
        EntryField {
            width: parent.width
            form: page.exhibits.form
            field: CardForm.Pin
            name: "secret"
            label: "Secret"
            secret: true
            entered: "•••••"
            icon: BundleIcon {
                file: "ic_lock_white_3x.png"
                color: Theme.blue
            }
        }
        ExpiryField {
            width: parent.width
            form: page.exhibits.form
            label: "Expiry, empty"
            icon: BundleIcon {
                file: "ic_event_white_3x.png"
                color: Theme.blue
            }
        }
        ExpiryField {
            width: parent.width
            form: page.exhibits.form
            label: "Expiry, open, with a fault"
            fault: "سال و ماه انقضا را وارد کنید"
            open: true
        }
    }
}
