import QtQuick
import QtQuick.Templates as T

/// The modal layer over a window that the SDK's screens stand on.
T.Popup {
    id: stage

    width: parent ? parent.width : 0
    height: parent ? parent.height : 0
    padding: 0
    margins: 0
    modal: true
    focus: true
    closePolicy: T.Popup.NoAutoClose
    visible: true

    contentItem: FocusScope {
        objectName: "kelpayStage"
        focus: true
        clip: true
        LayoutMirroring.enabled: true
        LayoutMirroring.childrenInherit: true
    }
}
