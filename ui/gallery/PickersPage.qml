import QtQuick
import KelPay.Payment

/// The sheets that stand in the keyboard's place.
Page {
    id: page

    Exhibit {
        name: "ExpirySheet"
        room: expiry.height
        ExpirySheet {
            id: expiry
            room: 600
            form: page.exhibits.form
            shown: true
        }
    }
    Exhibit {
        name: "SavedCardSheet"
        room: cards.height
        SavedCardSheet {
            id: cards
            room: 600
            delegational: page.exhibits.cards
            shown: true
            Component.onCompleted: start()
        }
    }
}
