import QtQuick
import KelPay.Components

/// Buttons in each state.
Page {
    Exhibit {
        name: "ActionButton"
        ActionButton {
            width: parent.width
            text: "پرداخت 1,250,000 ریال"
        }
    }
    Exhibit {
        name: "ActionButton, down"
        ActionButton {
            width: parent.width
            text: "پرداخت 1,250,000 ریال"
            down: true
        }
    }
    Exhibit {
        name: "ActionButton, with the keyboard"
        ActionButton {
            width: parent.width
            text: "پرداخت 1,250,000 ریال"
            FocusRing {
                shown: true
            }
        }
    }
    Exhibit {
        name: "ActionButton, disabled"
        ActionButton {
            width: parent.width
            text: "پرداخت 1,250,000 ریال"
            available: false
        }
    }
    Exhibit {
        name: "ActionButton, busy"
        ActionButton {
            width: parent.width
            text: "پرداخت 1,250,000 ریال"
            busy: true
        }
    }
    Exhibit {
        name: "TextButton; down; with the keyboard; disabled"
        Flow {
            width: parent.width
            spacing: Theme.spacing

            TextButton {
                text: "انصراف"
            }
            TextButton {
                text: "انصراف"
                down: true
            }
            TextButton {
                text: "انصراف"
                FocusRing {
                    shown: true
                }
            }
            TextButton {
                text: "انصراف"
                available: false
            }
        }
    }
    Exhibit {
        name: "BundleIcon, Logo, Spinner"
        Row {
            anchors.left: parent.left
            spacing: Theme.margin

            BundleIcon {
                file: "ic_lock_white_3x.png"
                color: Theme.blue
            }
            BundleIcon {
                file: "ic_verified_user_white_3x.png"
                color: Theme.magenta
            }
            BundleIcon {
                file: "ic_event_white_3x.png"
                color: Theme.blue
            }
            Logo {
                source: "image://kelpay/kel.png"
            }
            Logo {
                source: "image://kelpay/603799.png"
            }
            Spinner {}
        }
    }
}
