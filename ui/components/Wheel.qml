pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T

/// A wheel of texts; Up and Down turn it.
T.Tumbler {
    id: wheel

    property string label

    implicitWidth: Theme.holding(48, 48)
    implicitHeight: 3 * Theme.holding(28, 24)
    visibleItemCount: 3
    wrap: false
    focusPolicy: Qt.StrongFocus
    Keys.onUpPressed: if (currentIndex > 0) currentIndex -= 1
    Keys.onDownPressed: if (currentIndex < count - 1) currentIndex += 1

    background: Rectangle {
        anchors.verticalCenter: parent.verticalCenter
        width: parent.width
        height: parent.height / 3
        radius: Theme.smallRadius
        color: Theme.page
        border.width: wheel.activeFocus ? 2 : 1
        border.color: wheel.activeFocus ? Theme.magenta : Theme.outline
    }
    contentItem: ListView {
        model: wheel.model
        delegate: wheel.delegate
        clip: true
        snapMode: ListView.SnapToItem
        highlightRangeMode: ListView.StrictlyEnforceRange
        preferredHighlightBegin: height / 2 - height / 6
        preferredHighlightEnd: height / 2 + height / 6
        highlightMoveDuration: Theme.motion
    }
    delegate: Text {
        required property var modelData
        required property int index

        width: wheel.width
        height: wheel.height / 3
        text: modelData
        color: index === wheel.currentIndex ? Theme.blue : Theme.hint
        font.family: Theme.family
        font.pixelSize: Theme.titleSize
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }

    Accessible.role: Accessible.SpinBox
    Accessible.name: label
    Accessible.description: model[currentIndex]
    Accessible.onIncreaseAction: if (currentIndex < count - 1) currentIndex += 1
    Accessible.onDecreaseAction: if (currentIndex > 0) currentIndex -= 1
}
