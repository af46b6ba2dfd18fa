pragma ComponentBehavior: Bound
import QtQuick

/// What a view stands in. It slides in from the bottom edge, or from the side that reading ends at.
FocusScope {
    id: frame

    /// Made inside the frame.
    property Item view: null
    required property bool horizontal
    required property int duration
    property bool animated: false
    property bool shown: false
    property real offset: shown ? 0 : 1

    anchors.fill: parent
    enabled: shown && offset === 0
    transform: Translate {
        x: frame.horizontal ? -frame.offset * frame.width : 0
        y: frame.horizontal ? 0 : frame.offset * frame.height
    }

    // What is below must not be seen through it while it slides.
    Rectangle {
        anchors.fill: parent
        color: Theme.page
    }
    Behavior on offset {
        enabled: frame.animated
        NumberAnimation {
            duration: frame.duration
            easing.type: Easing.OutCubic
        }
    }

    Binding {
        target: frame.view
        property: "width"
        value: frame.width
        restoreMode: Binding.RestoreNone
    }
    Binding {
        target: frame.view
        property: "height"
        value: frame.height
        restoreMode: Binding.RestoreNone
    }
}
