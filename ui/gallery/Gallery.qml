pragma ComponentBehavior: Bound
import QtQuick
import KelPay.Components
import KelPay.Gallery

/// The pages, and the tabs between them.
Rectangle {
    id: gallery

    required property Exhibits exhibits
    property int page: 0
    readonly property var pages: ["Buttons", "Fields", "Pickers", "Overlays"]

    function open() {
        loader.setSource(pages[page] + "Page.qml", {exhibits: exhibits});
    }

    color: Theme.page
    LayoutMirroring.enabled: true
    LayoutMirroring.childrenInherit: true
    onPageChanged: open()
    Component.onCompleted: open()

    Rectangle {
        id: tabs
        width: parent.width
        height: tabRow.height
        color: Theme.barSurface

        Flow {
            id: tabRow
            width: parent.width

            Repeater {
                model: gallery.pages

                TextButton {
                    required property int index
                    required property string modelData

                    text: modelData
                    textColor: index === gallery.page ? Theme.brandMagenta : Theme.brandBlue
                    ring: Theme.brandMagenta
                    onClicked: gallery.page = index
                }
            }
        }
    }
    Loader {
        id: loader
        anchors {
            top: tabs.bottom
            bottom: parent.bottom
            left: parent.left
            right: parent.right
        }
    }
}
