import QtQuick
import KelPay.Components

/// What covers a screen, each over a piece of one.
Page {
    id: page

    Exhibit {
        name: "Banner"
        room: 64
        Banner {
            width: parent.width
            banner: page.exhibits.banner
            Component.onCompleted: page.exhibits.lowerBanner()
        }
    }
    Exhibit {
        name: "ProgressPanel"
        room: 240
        Label {
            width: parent.width
            text: "پرداخت 1,250,000 ریال"
        }
        ProgressPanel {
            status: "در حال بررسی پرداخت"
            imageUrl: "image://kelpay/kel.png"
        }
    }
    Exhibit {
        name: "ProgressPanel, without image and text"
        room: 120
        ProgressPanel {
            status: ""
            imageUrl: ""
        }
    }
    Exhibit {
        name: "AlertCard"
        room: 360
        Rectangle {
            anchors.fill: parent
            color: Theme.scrim
        }
        AlertCard {
            anchors.fill: parent
            anchors.margins: Theme.margin
            alert: page.exhibits.alert
        }
    }
}
