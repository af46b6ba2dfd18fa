import QtQuick

/// Makes its content when it is first wanted and keeps it, so that the first frame waits for nothing it does not show.
/// No Loader: Qt 6.4's can't make a component that is bound to where it is written.
Item {
    id: place

    required property Component sourceComponent
    property bool wanted: false
    property QtObject item: null

    onWantedChanged: if (wanted && !item) item = sourceComponent.createObject(place)
}
