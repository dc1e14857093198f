// SPDX-License-Identifier: Apache-2.0

/* exported PanelItem */

// The item in the panel and the popover below it. Shows what it is given.

const {Clutter, Cogl, Gio, GObject, Pango, St} = imports.gi;
const Me = imports.misc.extensionUtils.getCurrentExtension();
const PanelMenu = imports.ui.panelMenu;
const PopupMenu = imports.ui.popupMenu;
const {ensureActorVisibleInScrollView} = imports.misc.util;
const {nothingShown} = Me.imports.panel;

/// Points of the medium widget.
const pictureWidth = 338;
const pictureHeight = 158;
/// Of 255: less, and reads at 5:1 at least in the shell's themes, light and dark, and at 7:1 in that of high contrast.
const quietOpacity = 178;

const PictureItem = GObject.registerClass(
class VelaPictureItem extends PopupMenu.PopupBaseMenuItem {
    _init() {
        super._init({style_class: 'vela-picture-item'});
        this._picture = new St.Widget({x_expand: true, x_align: Clutter.ActorAlign.CENTER});
        this._words = new St.Label({x_expand: true, y_align: Clutter.ActorAlign.CENTER});
        this.add_child(this._picture);
        this.add_child(this._words);
        this.label_actor = null;
        this.setOrnament(PopupMenu.Ornament.HIDDEN);
    }

    setContent(panel, picture, scaleFactor) {
        this.accessible_name = panel.spoken;
        this._words.text = panel.text;
        this._words.visible = !picture;
        this._picture.visible = !!picture;
        this._picture.set_size(pictureWidth * scaleFactor, pictureHeight * scaleFactor);
        this._picture.content = picture ? contentOf(picture) : null;
    }
});

function contentOf(pixbuf) {
    const [width, height] = [pixbuf.get_width(), pixbuf.get_height()];
    const content = St.ImageContent.new_with_preferred_size(width, height);
    const format = pixbuf.get_has_alpha() ? Cogl.PixelFormat.RGBA_8888 : Cogl.PixelFormat.RGB_888;
    content.set_bytes(pixbuf.read_pixel_bytes(), format, width, height, pixbuf.get_rowstride());
    return content;
}

var PanelItem = GObject.registerClass({
    Signals: {'link-activated': {param_types: [GObject.TYPE_STRING]}, 'reload': {}},
}, class VelaPanelItem extends PanelMenu.Button {
    _init() {
        super._init(0.5, 'Vela');
        const box = new St.BoxLayout({style_class: 'panel-status-menu-box vela-box'});
        const icon = Gio.icon_new_for_string(Me.dir.get_child('icons').get_child('vela-symbolic.svg').get_path());
        box.add_child(new St.Icon({gicon: icon, style_class: 'system-status-icon'}));
        this._text = new St.Label({style_class: 'vela-text', y_align: Clutter.ActorAlign.CENTER});
        this._text.clutter_text.ellipsize = Pango.EllipsizeMode.END;
        this._text.clip_to_allocation = true;
        box.add_child(this._text);
        this.add_child(box);
        this._makeMenu();
        this.setContent(nothingShown.panel, nothingShown.picture, 1);
    }

    _makeMenu() {
        this._pictureItem = new PictureItem();
        this._pictureItem.connect('activate', () => this._activateLink(this._panel.link));
        this.menu.addMenuItem(this._pictureItem);
        this._remark = new PopupMenu.PopupMenuItem('', {reactive: false, can_focus: false, style_class: 'vela-remark'});
        this.menu.addMenuItem(this._remark);
        this._remark.setOrnament(PopupMenu.Ornament.HIDDEN);
        this._makeOthers();
        this.menu.addMenuItem(new PopupMenu.PopupSeparatorMenuItem());
        const reload = this.menu.addAction('Reload', () => this.emit('reload'));
        reload.setOrnament(PopupMenu.Ornament.HIDDEN);
    }

    /// The packages that the picture has no room for; a small monitor has none for all of them either.
    _makeOthers() {
        this._others = new PopupMenu.PopupMenuSection();
        this._view = new St.ScrollView({style_class: 'vela-packages', hscrollbar_policy: St.PolicyType.NEVER});
        this._view.add_actor(this._others.actor);
        const section = new PopupMenu.PopupMenuSection();
        section.actor.add_child(this._view);
        this.menu.addMenuItem(section);
    }

    /// The panel's content, the picture as a GdkPixbuf, or null, and pixels of the stage to a point.
    setContent(panel, picture, scaleFactor) {
        this._panel = panel;
        this.accessible_name = panel.remark ? `${panel.spoken}, ${panel.remark}` : panel.spoken;
        this._setText(panel);
        const isQuiet = panel.isStale || panel.hasTrouble || panel.barClass === 'placeholder';
        this._text.opacity = isQuiet ? quietOpacity : 255;
        this._pictureItem.setContent(panel, picture, scaleFactor);
        this._remark.label.text = panel.remark ?? '';
        this._remark.visible = !!panel.remark;
        this._setOthers(panel.packages.slice(1));
    }

    /// The state has room where the name before it leaves none.
    _setText({text, shortText}) {
        this._text.visible = text !== '';
        this._text.text = text;
        if (!this._text.get_stage())
            return;
        const [, whole] = this._text.clutter_text.get_preferred_width(-1);
        const room = this._text.get_theme_node().get_max_width();
        // A theme may have it that there is no bound, which is below 0.
        if (room >= 0 && whole > room)
            this._text.text = shortText;
    }

    /// The picture shows the first.
    _setOthers(packages) {
        if (JSON.stringify(packages) === this._shownOthers)
            return;
        this._shownOthers = JSON.stringify(packages);
        if (this._others.box.contains(global.stage.get_key_focus()))
            this._pictureItem.grab_key_focus();
        this._others.removeAll();
        for (const {link, spoken, text} of packages) {
            const item = this._others.addAction(text, () => {
                this.menu.close();
                this._activateLink(link);
            });
            item.setOrnament(PopupMenu.Ornament.HIDDEN);
            item.label.clip_to_allocation = true;
            item.label_actor = null;
            item.accessible_name = spoken;
            item.connect('key-focus-in', () => ensureActorVisibleInScrollView(this._view, item));
        }
    }

    _activateLink(link) {
        if (link)
            this.emit('link-activated', link);
    }
});
