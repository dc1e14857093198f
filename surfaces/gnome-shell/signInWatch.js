// SPDX-License-Identifier: Apache-2.0

/* exported SignInWatch */

// Says, while there is no live host that does, that what is shown may be somebody's no longer. A reader of ours waits for
// that, asleep, and ends by it.

const {Gio, GLib} = imports.gi;
const Me = imports.misc.extensionUtils.getCurrentExtension();
const {panelFrom} = Me.imports.panel;
const {promised} = Me.imports.promises;
const programs = Me.imports.programs;

var SignInWatch = class {
    /// `onForgotten` is given the panel's content that takes the place of what is shown.
    constructor(onForgotten) {
        this._onForgotten = onForgotten;
        this._reader = null;
        this._keychain = null;
    }

    /// From now on, on behalf of what is shown by that keychain; null for nothing of anybody's.
    watch(keychain) {
        if (keychain === this._keychain)
            return;
        this.close();
        this._keychain = keychain;
        if (keychain !== null)
            this._await(keychain).catch(logError);
    }

    close() {
        this._reader?.force_exit();
        this._reader = this._keychain = null;
    }

    async _await(keychain) {
        const words = ['panel', '--keychain', keychain, '--without-host'];
        let reader = null;
        try {
            reader = Gio.Subprocess.new([GLib.build_filenamev([programs.folder, 'vela-widget']), ...words],
                Gio.SubprocessFlags.STDOUT_PIPE | Gio.SubprocessFlags.STDERR_SILENCE);
        } catch (failure) {
            // Our programs are gone: nobody signs out by them any more.
            return;
        }
        this._reader = reader;
        const [, output] = await promised(reader, 'communicate_utf8', null, null);
        if (reader !== this._reader)
            return;
        this.close();
        const panel = panelFrom(output);
        if (panel)
            this._onForgotten(panel);
    }
};
