pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T
import KelPay.Components

/// Shows an AlertView over its parent: a dark cover, a card, the buttons one below the other.
T.Popup {
    id: panel

    required property AlertView alert

    parent: T.Overlay.overlay
    width: parent ? parent.width : 0
    height: parent ? parent.height : 0
    modal: true
    focus: true
    padding: Theme.margin
    closePolicy: T.Popup.NoAutoClose
    visible: alert.shown

    background: Rectangle {
        color: Theme.scrim
    }

    contentItem: AlertCard {
        alert: panel.alert
    }
}
