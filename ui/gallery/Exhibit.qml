import QtQuick
import KelPay.Components

/// A part of the screens, named.
Column {
    id: exhibit

    property alias name: caption.text
    default property alias content: place.data
    /// How high the part may be; by default as high as it is.
    property real room: place.childrenRect.height

    width: parent ? parent.width : 0
    spacing: Theme.spacing / 2

    Label {
        id: caption
        width: parent.width
        color: Theme.inkSoft
        font.pixelSize: Theme.captionSize
        horizontalAlignment: Text.AlignLeft
    }
    Item {
        id: place
        width: parent.width
        height: exhibit.room
        clip: exhibit.room !== childrenRect.height
    }
}
