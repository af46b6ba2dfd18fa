import QtQuick

/// A column of content in the middle of a screen, beside another one where there is room for two. It scrolls when it is
/// higher and keeps the field being edited in sight while an on-screen keyboard, or a sheet of the screen's own, makes
/// the area lower.
Flickable {
    id: area

    default property alias content: column.data
    /// What stands before the content, at its side where there is room.
    property alias aside: side.data
    readonly property Item sideColumn: side
    readonly property Item mainColumn: column
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

    /// The area, or where things stand in it, has another shape.
    function reshape() {
        if (!edited || edited.mapToItem(contentItem, 0, edited.height).y + shift <= height)
            contentY = 0;
        else
            reveal(edited);
    }

    onHeightChanged: reshape()
    onContentHeightChanged: reshape()

    objectName: "formArea"
    contentWidth: width
    contentHeight: grid.y + grid.height + grid.room
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
    Grid {
        id: grid

        readonly property real columnWidth:
            Math.min(Theme.wide ? (area.width - 3 * Theme.margin) / 2 : area.width - 2 * Theme.margin, Theme.columnWidth)
        // Above and below; a little less where that spares the scrolling.
        readonly property real room: Math.max(Theme.spacing, Math.min(Theme.margin, (area.height - height) / 2))

        x: (area.width - width) / 2
        // In a window much wider than its content, the room below is shared out above it too.
        y: Math.max(room, Theme.wide || area.width > 1.5 * columnWidth ? (area.height - height) / 3 : 0)
        columns: Theme.wide ? 2 : 1
        spacing: Theme.margin

        Column {
            id: side
            width: grid.columnWidth
            spacing: Theme.margin
        }
        Column {
            id: column
            width: grid.columnWidth
            spacing: Theme.margin
        }
    }
}
