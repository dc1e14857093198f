// SPDX-License-Identifier: Apache-2.0

/* exported init */

// The widget in GNOME Shell: an item in the panel, kept current by the files of the live host.

const {Gio, GLib, St} = imports.gi;
const Main = imports.ui.main;
const Me = imports.misc.extensionUtils.getCurrentExtension();
const {LiveHost} = Me.imports.liveHost;
const {PanelItem} = Me.imports.panelItem;
const {ShownFiles} = Me.imports.shownFiles;
const {SignInWatch} = Me.imports.signInWatch;
const {forgotten, lost, nothingShown, taken, watchedKeychain, withoutFiles} = Me.imports.panel;
const programs = Me.imports.programs;

class Extension {
    enable() {
        const folder = Gio.File.new_for_path(GLib.build_filenamev([GLib.get_user_runtime_dir(), 'vela-widget']));
        this._shown = nothingShown;
        this._theme = St.ThemeContext.get_for_stage(global.stage);
        this._item = new PanelItem();
        this._item.connect('link-activated', (item, link) => openLink(link));
        this._item.connect('reload', () => this._host.reload());
        Main.panel.addToStatusArea(Me.uuid, this._item);
        this._files = new ShownFiles(folder, (panel, picture) => this._show(panel, picture));
        this._signIn = new SignInWatch(panel => this._forget(panel));
        this._host = new LiveHost(folder, {onFound: () => this._files.open(), onLost: isLasting => this._lose(isLasting)});
        this._theme.connectObject('changed', () => this._draw(), 'notify::scale-factor', () => this._draw(), this);
        Main.layoutManager.connectObject('monitors-changed', () => this._draw(), this);
        this._texts = new Gio.Settings({schema_id: 'org.gnome.desktop.interface'});
        this._texts.connectObject('changed::text-scaling-factor', () => this._draw(), this);
        this._access = new Gio.Settings({schema_id: 'org.gnome.desktop.a11y.interface'});
        this._access.connectObject('changed::high-contrast', () => this._draw(), this);
        this._draw();
    }

    disable() {
        this._access.disconnectObject(this);
        this._texts.disconnectObject(this);
        Main.layoutManager.disconnectObject(this);
        this._theme.disconnectObject(this);
        this._host.close();
        this._signIn.close();
        this._files.close();
        this._item.destroy();
        this._host = this._signIn = this._files = this._item = this._theme = this._texts = this._access = null;
        this._shown = this._wanted = null;
    }

    /// Asks for the picture that suits the shell's theme and monitors, and the person's eyes.
    _draw() {
        const picture = {
            family: 'systemMedium',
            colorScheme: isDark(this._item.menu.box) ? 'dark' : 'light',
            scale: pictureScale(),
            textScaling: Math.round(this._texts.get_double('text-scaling-factor') * 100) / 100,
            contrast: this._access.get_boolean('high-contrast') ? 'increased' : 'standard',
        };
        const wanted = nameOf(picture);
        if (wanted !== this._wanted) {
            this._wanted = wanted;
            this._host.want([picture]);
            this._files.show(wanted);
        }
        this._setContent();
    }

    _setContent() {
        this._item.setContent(this._shown.panel, this._shown.picture, this._theme.scale_factor);
    }

    _show(panel, picture) {
        this._shown = taken(this._shown, panel ?? withoutFiles(), picture);
        this._signIn.watch(watchedKeychain(this._shown));
        this._setContent();
    }

    /// Somebody may have signed out, or in, and no host says anything of it.
    _forget(panel) {
        const left = forgotten(this._shown, panel);
        this._shown = this._host.isFound ? {...left, lostSince: null} : lost(left, Date.now());
        this._setContent();
    }

    _lose(isLasting) {
        this._files.close();
        const left = lost(this._shown, Date.now());
        // Most that end are followed by another at once.
        this._shown = isLasting ? left : {...this._shown, lostSince: left.lostSince};
        this._signIn.watch(watchedKeychain(this._shown));
        this._setContent();
    }
}

/// Of the host's file.
function nameOf({family, colorScheme, scale, textScaling, contrast}) {
    const texts = textScaling === 1 ? '' : `-text${textScaling}`;
    return `${family}-${colorScheme}${texts}${contrast === 'standard' ? '' : `-${contrast}`}@${scale}x.png`;
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
