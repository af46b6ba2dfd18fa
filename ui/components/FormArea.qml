import QtQuick

/// A column of content in the middle of a screen, which scrolls when it is higher and keeps the field being edited in
/// sight while an on-screen keyboard, or a sheet of the screen's own, makes the area lower.
Flickable {
    id: area

    default property alias content: column.data
    /// What stays free below the field.
    readonly property real shift: 50
    property Item edited: null

    signal tapped

    /// Scrolls so that `item` and the margin below it are in sight, or its top where both can't be.
    function reveal(item: Item) {
        edited = item;
        if (!item)
            return;
        const top = item.mapToItem(contentItem, 0, 0).y;
        const bottom = top + item.height + shift;
        const aim = slide.running ? glide.targetValue : contentY;
        if (bottom > aim + height)
            contentY = Math.max(0, Math.min(bottom - height, top, contentHeight - height));
        else if (top < aim)
            contentY = Math.max(0, top - shift);
    }

    onHeightChanged: edited ? reveal(edited) : returnToBounds()

    contentWidth: width
    contentHeight: column.y + column.height + Theme.margin
    boundsBehavior: Flickable.StopAtBounds
    clip: true

    Behavior on contentY {
        id: glide
        enabled: !area.moving
        NumberAnimation {
            id: slide
            duration: Theme.motion
            easing.type: Easing.OutCubic
        }
    }

    MouseArea {
        width: area.width
        height: Math.max(area.height, area.contentHeight)
        onClicked: area.tapped()
    }
    ScrollMark {
        area: area
    }
    Column {
        id: column
        x: (area.width - width) / 2
        // In a window much wider than the column, the room below is shared out above it too.
        y: Math.max(Theme.margin, area.width > 1.5 * width ? (area.height - height) / 3 : 0)
        width: Math.min(area.width - 2 * Theme.margin, Theme.columnWidth)
        spacing: Theme.margin
    }
}
