// SPDX-License-Identifier: Apache-2.0

// The medium widget, the packages that it has no room for, and what is to be remarked.

import QtQuick 2.15
import QtQuick.Controls 2.15 as Controls
import QtQuick.Layouts 1.15
import org.kde.plasma.components 3.0 as PlasmaComponents3
import org.kde.plasma.core 2.0 as PlasmaCore

FocusScope {
    id: view

    required property LiveHost host
    /// Of Qt's units to the widget's points.
    required property real pointScale
    readonly property size picturePoints: Qt.size(338, 158)
    readonly property real pictureWidth: picturePoints.width * pointScale

    function open(link) {
        if (link)
            host.open(link)
    }

    LayoutMirroring.enabled: Qt.application.layoutDirection === Qt.RightToLeft
    LayoutMirroring.childrenInherit: true
    Layout.minimumWidth: PlasmaCore.Units.gridUnit * 10
    Layout.minimumHeight: PlasmaCore.Units.gridUnit * 7
    // A line of a package has room for 44 columns, as the host has it.
    Layout.preferredWidth: Math.max(pictureWidth, PlasmaCore.Units.gridUnit * 15) + 2 * PlasmaCore.Units.smallSpacing
    Layout.preferredHeight: picturePoints.height * pointScale + Math.max(1, others.count) * PlasmaCore.Units.gridUnit * 1.6
                            + PlasmaCore.Units.gridUnit * 3
    Accessible.role: Accessible.Grouping
    Accessible.name: "Vela"

    ColumnLayout {
        id: content

        anchors.fill: parent
        spacing: PlasmaCore.Units.smallSpacing

        Controls.AbstractButton {
            id: first

            focus: true
            activeFocusOnTab: true
            hoverEnabled: true
            Layout.alignment: Qt.AlignHCenter
            Layout.preferredWidth: Math.min(view.pictureWidth, view.width)
            Layout.preferredHeight: width * view.picturePoints.height / view.picturePoints.width
            onClicked: view.open(view.host.panel.link)
            Keys.onReturnPressed: clicked()
            Keys.onEnterPressed: clicked()
            Accessible.role: Accessible.Link
            Accessible.name: view.host.panel.spoken
            Accessible.onPressAction: clicked()

            contentItem: Item {
                SteadyPicture {
                    anchors.fill: parent
                    source: view.host.picture
                }
                PlainLabel {
                    anchors.centerIn: parent
                    width: Math.min(implicitWidth, parent.width)
                    visible: view.host.picture === ""
                    text: view.host.panel.text
                    elide: Text.ElideRight
                    Accessible.ignored: true
                }
            }
            background: Rectangle {
                color: "transparent"
                radius: 22 * view.pointScale
                border.width: first.visualFocus ? 2 * view.pointScale : 0
                border.color: PlasmaCore.Theme.highlightColor
                // Over the picture.
                z: 1
            }
        }

        PlainLabel {
            visible: text !== ""
            text: view.host.panel.remark || ""
            wrapMode: Text.Wrap
            font.italic: true
            Layout.fillWidth: true
            Layout.leftMargin: PlasmaCore.Units.largeSpacing
            Layout.rightMargin: PlasmaCore.Units.largeSpacing
        }

        PlasmaComponents3.ScrollView {
            Layout.fillWidth: true
            Layout.fillHeight: true

            contentItem: ListView {
                id: others

                // As text, which is another for others alone: else it would lose its place with every remark.
                readonly property string packages: JSON.stringify(view.host.panel.packages.slice(1))

                model: JSON.parse(packages)
                clip: true
                keyNavigationEnabled: true
                activeFocusOnTab: count > 0
                Accessible.role: Accessible.List
                Accessible.name: "Vela"

                delegate: PlasmaComponents3.ItemDelegate {
                    id: line

                    required property var modelData

                    width: ListView.view.width
                    text: modelData.text
                    highlighted: ListView.isCurrentItem && ListView.view.activeFocus
                    onClicked: view.open(modelData.link)
                    Keys.onReturnPressed: clicked()
                    Keys.onEnterPressed: clicked()
                    Accessible.role: Accessible.Link
                    Accessible.name: modelData.spoken
                    Accessible.onPressAction: clicked()

                    contentItem: PlainLabel {
                        text: line.text
                        elide: Text.ElideRight
                        verticalAlignment: Text.AlignVCenter
                        Accessible.ignored: true
                    }
                }
            }
        }

        PlasmaComponents3.ToolButton {
            text: "Reload"
            font: PlasmaCore.Theme.defaultFont
            icon.name: "view-refresh"
            Layout.alignment: Qt.AlignRight
            onClicked: view.host.reload()
        }
    }
}
