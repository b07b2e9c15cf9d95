// GNOME Shell 45 and later: ES modules. Everything else is in corvanebar.js, shared with the
// build for GNOME 43 and 44.

import Clutter from 'gi://Clutter';
import Cogl from 'gi://Cogl';
import Gio from 'gi://Gio';
import GLib from 'gi://GLib';
import St from 'gi://St';
import * as Config from 'resource:///org/gnome/shell/misc/config.js';
import {Extension} from 'resource:///org/gnome/shell/extensions/extension.js';
import * as Main from 'resource:///org/gnome/shell/ui/main.js';
import * as PanelMenu from 'resource:///org/gnome/shell/ui/panelMenu.js';
import * as PopupMenu from 'resource:///org/gnome/shell/ui/popupMenu.js';

import {createCorvaneBar} from './corvanebar.js';

export default class CorvaneBarExtension extends Extension {
    enable() {
        this._bar = createCorvaneBar({
            Clutter, Cogl, Gio, GLib, St, Main, PanelMenu, PopupMenu,
            shellMajor: parseInt(Config.PACKAGE_VERSION, 10),
            settings: this.getSettings(),
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
