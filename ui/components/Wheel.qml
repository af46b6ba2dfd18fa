pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Templates as T

/// A wheel of texts: a drag, a click on a row, Up and Down turn it. `turned` tells what a person did, and nothing else.
T.Tumbler {
    id: tumbler

    property string label

    /// A person has had a hand on it: whatever row it comes to is meant.
    property bool handled: false

    signal turned

    function set(row: int) {
        if (row === currentIndex)
            return;
        handled = false;
        currentIndex = row;
    }
    function turnTo(row: int) {
        handled = true;
        if (row >= 0 && row < count)
            currentIndex = row;
    }

    implicitWidth: Theme.holding(48, 48)
    implicitHeight: 3 * Theme.holding(28, 24)
    visibleItemCount: 3
    wrap: false
    focusPolicy: Qt.StrongFocus
    Keys.onUpPressed: turnTo(currentIndex - 1)
    Keys.onDownPressed: turnTo(currentIndex + 1)
    onMovingChanged: if (moving) handled = true
    onCurrentIndexChanged: if (handled) turned()

    HoverHandler {
        id: hover
    }
    background: Rectangle {
        anchors.verticalCenter: parent.verticalCenter
        width: parent.width
        height: parent.height / 3
        radius: Theme.smallRadius
        color: Theme.page
        border.width: tumbler.activeFocus ? 2 : 1
        border.color: tumbler.activeFocus ? Theme.magenta : hover.hovered ? Theme.blue : Theme.outline
    }
    contentItem: ListView {
        model: tumbler.model
        delegate: tumbler.delegate
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

        width: tumbler.width
        height: tumbler.height / 3
        text: modelData
        color: index === tumbler.currentIndex ? Theme.blue : Theme.hint
        font.family: Theme.family
        font.pixelSize: Theme.titleSize
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter

        MouseArea {
            anchors.fill: parent
            onPressed: {
                tumbler.handled = true; // A press stops it wherever it is.
                tumbler.forceActiveFocus(Qt.MouseFocusReason);
            }
            onClicked: tumbler.turnTo(parent.index)
        }
    }

    Accessible.role: Accessible.SpinBox
    Accessible.name: label
    Accessible.description: model[currentIndex]
    Accessible.onIncreaseAction: turnTo(currentIndex + 1)
    Accessible.onDecreaseAction: turnTo(currentIndex - 1)
}
