import QtQuick
import KelPay.Components

/// A text for a screen reader alone, told whenever it changes.
Announcement {
    Accessible.role: Accessible.AlertMessage
    Accessible.name: text
    Accessible.ignored: text === ""
}
