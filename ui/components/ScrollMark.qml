import QtQuick

/// Shows at the side of an area that there is more of it, and where.
Rectangle {
    required property Flickable area

    parent: area
    anchors.right: parent.right
    anchors.rightMargin: 3
    y: area.contentY / Math.max(1, area.contentHeight - area.height) * (area.height - height)
    width: 4
    height: Math.max(24, area.visibleArea.heightRatio * area.height)
    radius: 2
    color: Theme.outline
    // Not for the margin alone.
    visible: area.contentHeight > area.height + Theme.margin
    Accessible.ignored: true
}
