// GNOME Shell 43 and 44: legacy imports. Everything else is in corvanebar.js, shared with the
// build for GNOME 45 and later.
/* exported init */

const {Clutter, Cogl, Gio, GLib, St} = imports.gi;
const ExtensionUtils = imports.misc.extensionUtils;
const Config = imports.misc.config;
const Main = imports.ui.main;
const PanelMenu = imports.ui.panelMenu;
const PopupMenu = imports.ui.popupMenu;
const Me = ExtensionUtils.getCurrentExtension();

class Extension {
    enable() {
        this._bar = Me.imports.corvanebar.createCorvaneBar({
            Clutter, Cogl, Gio, GLib, St, Main, PanelMenu, PopupMenu,
            shellMajor: parseInt(Config.PACKAGE_VERSION, 10),
            settings: ExtensionUtils.getSettings(),
            log: message => console.warn(`Corvane Bar: ${message}`),
        });
        this._bar.enable();
    }

    disable() {
        this._bar.disable();
        this._bar = null;
    }

    describeForTests() {
        return this._bar?.describeForTests() ?? null;
    }
}

function init() {
    return new Extension();
}
