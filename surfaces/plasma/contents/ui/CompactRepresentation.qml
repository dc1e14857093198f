// SPDX-License-Identifier: Apache-2.0

// The item in a panel.

import QtQuick 2.15
import QtQuick.Layouts 1.15
import org.kde.kirigami 2.20 as Kirigami
import org.kde.plasma.core 2.0 as PlasmaCore
import org.kde.plasma.plasmoid 2.0

MouseArea {
    id: item

    required property LiveHost host
    readonly property bool isVertical: Plasmoid.formFactor === PlasmaCore.Types.Vertical
    readonly property bool isQuiet: host.panel.isStale || host.panel.hasTrouble || host.panel.barClass === "placeholder"

    function toggle() {
        Plasmoid.expanded = !Plasmoid.expanded
    }

    LayoutMirroring.enabled: Qt.application.layoutDirection === Qt.RightToLeft
    LayoutMirroring.childrenInherit: true
    Layout.minimumWidth: isVertical ? 0 : content.implicitWidth
    Layout.maximumWidth: isVertical ? Infinity : content.implicitWidth
    activeFocusOnTab: true
    hoverEnabled: true
    onClicked: toggle()
    Keys.onReturnPressed: toggle()
    Keys.onEnterPressed: toggle()
    Keys.onSpacePressed: toggle()
    Accessible.role: Accessible.Button
    Accessible.name: host.panel.remark ? host.panel.spoken + ", " + host.panel.remark : host.panel.spoken
    Accessible.onPressAction: toggle()

    RowLayout {
        id: content

        anchors.fill: parent
        spacing: PlasmaCore.Units.smallSpacing

        Kirigami.Icon {
            source: Qt.resolvedUrl("../icons/vela-symbolic.svg")
            isMask: true
            color: PlasmaCore.ColorScope.textColor
            active: item.containsMouse
            Layout.preferredWidth: PlasmaCore.Units.iconSizes.small
            Layout.preferredHeight: PlasmaCore.Units.iconSizes.small
            Layout.fillWidth: item.isVertical
            Layout.leftMargin: item.isVertical ? 0 : PlasmaCore.Units.smallSpacing
        }

        PlainLabel {
            // The state has room where the name before it leaves none.
            readonly property bool isWhole: whole.advanceWidth <= Layout.maximumWidth

            visible: !item.isVertical && text !== ""
            text: isWhole ? item.host.panel.text : item.host.panel.shortText
            elide: Text.ElideRight
            // Less, and reads at 5:1 at least in the themes that come with Plasma.
            opacity: item.isQuiet ? 0.7 : 1
            Layout.fillWidth: true
            Layout.maximumWidth: PlasmaCore.Units.gridUnit * 16
            Layout.rightMargin: PlasmaCore.Units.smallSpacing
            Accessible.ignored: true
        }
    }

    TextMetrics {
        id: whole

        text: item.host.panel.text
        font: PlasmaCore.Theme.defaultFont
    }
}
