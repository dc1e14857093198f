// SPDX-License-Identifier: Apache-2.0

// What the live host has, by a reader of it that rests until there is something else to show, and then says so and ends.
// What wakes here meanwhile is the end of its turn alone.

import QtQuick 2.15
import org.kde.plasma.core 2.0 as PlasmaCore
import "../code/commands.js" as Commands
import "../code/panel.js" as Panel

Item {
    id: host

    /// How the picture is to be drawn.
    property string scheme: "dark"
    property int scale: 1
    property real textScaling: 1
    property string contrast: "standard"

    /// As panel.js has it.
    readonly property var panel: shown.panel
    /// A data URL, or empty.
    readonly property string picture: shown.picture || ""

    property var shown: Panel.nothingShown

    /// Of what is shown; a host has no such version.
    property string version: "none"

    /// Has the server asked now, or a host looked for.
    function reload() {
        if (pause.running)
            reader.read()
        else
            tasks.connectSource(Commands.reload())
    }

    function open(link) {
        tasks.connectSource(Commands.open(link))
    }

    function take(exitCode, output) {
        const next = exitCode === 0 ? Panel.panelFrom(output) : null
        if (!next || !next.version) {
            // Whatever comes then is news.
            host.version = "none"
            host.shown = Panel.lost(host.shown, Date.now())
            return false
        }
        host.shown = Panel.taken(host.shown, next, next.picture)
        host.version = next.version
        return true
    }

    onSchemeChanged: Qt.callLater(reader.read)
    onScaleChanged: Qt.callLater(reader.read)
    onTextScalingChanged: Qt.callLater(reader.read)
    onContrastChanged: Qt.callLater(reader.read)
    Component.onCompleted: Qt.callLater(reader.read)

    PlasmaCore.DataSource {
        id: reader

        property string command: ""
        /// Of readers that took another's place before it had said anything.
        property int renewals: 0

        engine: "executable"

        function read() {
            pause.stop()
            command = Commands.panel(host.version, host.shown.panel.keychain, host, turn.begin() + "." + renewals)
            if (connectedSources.length === 1 && connectedSources[0] === command)
                return
            connectedSources = []
            connectSource(command)
        }

        /// By another reader, also where one waits.
        function readAnew() {
            ++renewals
            read()
        }

        onNewData: {
            disconnectSource(sourceName)
            if (sourceName !== command)
                return
            renewals = 0
            if (host.take(data["exit code"], data["stdout"])) {
                pause.failures = 0
                Qt.callLater(read)
            } else {
                ++pause.failures
                turn.stop()
                pause.start()
            }
        }
    }

    // While no host speaks for what is shown.
    PlasmaCore.DataSource {
        id: signIn

        readonly property var keychain: Panel.watchedKeychain(host.shown)

        engine: "executable"
        connectedSources: keychain === null ? [] : [Commands.signInWatch(keychain)]
        onNewData: {
            const panel = data["exit code"] === 0 ? Panel.panelFrom(data["stdout"]) : null
            if (panel)
                host.shown = Panel.lost(Panel.forgotten(host.shown, panel), Date.now())
        }
    }

    // A reader that hangs, or was stopped, says nothing either: another takes its place at its turn's end, which is the
    // same for all items, so that they go on sharing one.
    Timer {
        id: turn

        readonly property int length: 600000

        function begin() {
            const now = Date.now()
            interval = length - now % length + 1000
            restart()
            return Math.floor(now / length)
        }

        onTriggered: reader.read()
    }

    // None is to be had.
    Timer {
        id: pause

        property int failures: 0

        interval: failures > 1 ? 60000 : 1000
        onTriggered: reader.read()
    }

    PlasmaCore.DataSource {
        id: tasks

        engine: "executable"
        onNewData: {
            disconnectSource(sourceName)
            // It may be that no host hears of anything.
            if (sourceName === Commands.reload() && data["exit code"] !== 0)
                reader.readAnew()
        }
    }
}
