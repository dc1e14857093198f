// SPDX-License-Identifier: Apache-2.0

/* exported init */

// The widget in GNOME Shell: an item in the panel, kept current by the files of the live host.

const {Gio, GLib, St} = imports.gi;
const Main = imports.ui.main;
const Me = imports.misc.extensionUtils.getCurrentExtension();
const {LiveHost} = Me.imports.liveHost;
const {PanelItem} = Me.imports.panelItem;
const {ShownFiles} = Me.imports.shownFiles;
const {unknownPanel, withoutFiles, withoutHost} = Me.imports.panel;
const programs = Me.imports.programs;

class Extension {
    enable() {
        const folder = Gio.File.new_for_path(GLib.build_filenamev([GLib.get_user_runtime_dir(), 'vela-widget']));
        this._panel = unknownPanel;
        this._picture = null;
        this._hasLost = false;
        this._theme = St.ThemeContext.get_for_stage(global.stage);
        this._item = new PanelItem();
        this._item.connect('link-activated', (item, link) => openLink(link));
        this._item.connect('reload', () => this._host.reload());
        Main.panel.addToStatusArea(Me.uuid, this._item);
        this._files = new ShownFiles(folder, (panel, picture) => this._show(panel, picture));
        this._host = new LiveHost(folder, {onFound: () => this._files.open(), onLost: isLasting => this._lose(isLasting)});
        this._theme.connectObject('changed', () => this._draw(), 'notify::scale-factor', () => this._draw(), this);
        Main.layoutManager.connectObject('monitors-changed', () => this._draw(), this);
        this._draw();
    }

    disable() {
        Main.layoutManager.disconnectObject(this);
        this._theme.disconnectObject(this);
        this._host.close();
        this._files.close();
        this._item.destroy();
        this._host = this._files = this._item = this._theme = null;
        this._panel = this._picture = this._wanted = null;
    }

    /// Asks for the picture that suits the shell's theme and monitors.
    _draw() {
        const colorScheme = isDark(this._item.menu.box) ? 'dark' : 'light';
        const scale = pictureScale();
        const wanted = `systemMedium-${colorScheme}@${scale}x.png`;
        if (wanted !== this._wanted) {
            this._wanted = wanted;
            this._host.want([{family: 'systemMedium', colorScheme, scale}]);
            this._files.show(wanted);
        }
        this._item.setContent(this._panel, this._picture, this._theme.scale_factor);
    }

    _show(panel, picture) {
        const knowsNothingYet = panel?.barClass === 'placeholder' && !panel.hasTrouble;
        // A host that has just begun in place of another is no reason to show less.
        if (this._hasLost && knowsNothingYet)
            return;
        this._hasLost = false;
        this._panel = panel ?? withoutFiles();
        this._picture = picture;
        this._item.setContent(this._panel, this._picture, this._theme.scale_factor);
    }

    _lose(isLasting) {
        this._files.close();
        this._hasLost = true;
        if (isLasting)
            this._item.setContent(withoutHost(this._panel), this._picture, this._theme.scale_factor);
    }
}

/// Whether light text stands on it.
function isDark(actor) {
    const {red, green, blue} = actor.get_theme_node().get_foreground_color();
    return 0.299 * red + 0.587 * green + 0.114 * blue > 127;
}

/// Pixels to a point on the sharpest monitor; drawings have 1 to 4.
function pictureScale() {
    const scales = Main.layoutManager.monitors.map(monitor => global.display.get_monitor_scale(monitor.index));
    return Math.min(4, Math.ceil(Math.max(1, ...scales)));
}

function openLink(link) {
    // In a desktop entry's own notation, where a percent sign stands for something else.
    const companion = GLib.shell_quote(GLib.build_filenamev([programs.folder, 'vela-companion'])).replace(/%/g, '%%');
    const flags = Gio.AppInfoCreateFlags.SUPPORTS_URIS | Gio.AppInfoCreateFlags.SUPPORTS_STARTUP_NOTIFICATION;
    const app = Gio.AppInfo.create_from_commandline(`${companion} open`, 'Vela', flags);
    app.launch_uris_async([link], global.create_app_launch_context(0, -1), null, (source, result) => {
        try {
            source.launch_uris_finish(result);
        } catch (failure) {
            Main.notifyError('Vela', failure.message);
        }
    });
}

function init() {
    return new Extension();
}
