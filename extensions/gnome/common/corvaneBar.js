// The extension's whole life: the buttons of the status program's items while it runs, in its
// order, and the offline button while it does not.

const PANEL_BOXES = ['left', 'center', 'right'];

class CorvaneBar {
    constructor(env) {
        this._env = env;
        this._buttons = [];
        this._offline = null;
        this._style = null;
        this._styleIdleId = 0;
        this._loading = false;
        this._loadAgain = false;
        this._client = new PanelClient(env, {
            appeared: () => this._appeared(),
            vanished: () => this._vanished(),
            signal: (name, id) => this._signal(name, id),
        });
        this._view = {style: () => this._style, changed: () => this._styleSoon()};
    }

    enable() {
        const {St, Main} = this._env;
        this._themeId = St.ThemeContext.get_for_stage(global.stage)
            .connect('notify::scale-factor', () => this._styleSoon());
        this._panelId = Main.panel.connect('notify::height', () => this._styleSoon());
        this._settingsId = this._env.settings.connect('changed::panel-box',
            () => this._placeAll());
        this._client.start();
    }

    disable() {
        const {St, Main, GLib} = this._env;
        this._client.stop();
        St.ThemeContext.get_for_stage(global.stage).disconnect(this._themeId);
        Main.panel.disconnect(this._panelId);
        this._env.settings.disconnect(this._settingsId);
        if (this._styleIdleId)
            GLib.source_remove(this._styleIdleId);
        this._styleIdleId = 0;
        this._setButtons([]);
        this._offline?.destroy();
        this._offline = null;
    }

    // What the desktop test reads through the Shell: the buttons as laid out, with the sizes
    // of their pictures and their dropdown rows.
    describeForTests() {
        const describe = button => {
            const [x, y] = button.get_transformed_position();
            return {x, y, width: button.width, height: button.height};
        };
        return {
            running: this._client.running,
            style: this._style,
            offline: this._offline ? {...describe(this._offline.button),
                message: this._offline.message, menuOpen: this._offline.button.menu.isOpen} : null,
            items: this._buttons.map(item => ({
                id: item.id,
                ...describe(item.button),
                pictureWidth: item.picture.width,
                pictureHeight: item.picture.height,
                pictureUpdates: item.pictureUpdates,
                menuOpen: item.button.menu.isOpen,
                dropdownFetches: item.dropdown.fetches,
                rows: item.dropdown.entries.map(entry => ({type: entry.type, text: entry.text})),
            })),
        };
    }

    _appeared() {
        this._offline?.destroy();
        this._offline = null;
        this._style = null;
        this._loadItems();
    }

    _vanished() {
        this._setButtons([]);
        if (this._offline)
            return;
        this._offline = new OfflineButton(this._env);
        this._placeAll();
    }

    _signal(name, id) {
        if (name === 'ItemsChanged') {
            this._loadItems();
            return;
        }
        // Only pictures are followed as they change. ItemChanged (the text a screen reader
        // says) is read when a button is reached instead, and DropdownChanged not at all: an
        // open dropdown asks each second anyway, and a closed one is brought up to date as it
        // opens.
        if (name === 'PictureChanged')
            this._buttons.find(button => button.id === id)?.refreshPicture();
    }

    // The list again; items that stay keep their button.
    async _loadItems() {
        if (this._loading) {
            this._loadAgain = true;
            return;
        }
        this._loading = true;
        const items = await this._client.getItems();
        this._loading = false;
        if (items !== null && this._client.running)
            this._showItems(items);
        if (this._loadAgain) {
            this._loadAgain = false;
            this._loadItems();
        }
    }

    _showItems(items) {
        const kept = new Map(this._buttons.map(button => [button.id, button]));
        const added = [];
        const buttons = items.map(summary => {
            const known = kept.get(summary.id);
            kept.delete(summary.id);
            if (known)
                return known;
            const button = new ItemButton(this._env, this._client, summary, this._view);
            added.push(button);
            return button;
        });
        for (const gone of kept.values())
            gone.destroy();
        this._buttons = buttons;
        this._placeAll();
        for (const button of buttons)
            button.refreshPicture();
        // A new button needs its rows before its menu can open; a known one fetches them when
        // it opens, so a change of the item list does not make every closed menu ask.
        for (const button of added)
            button.dropdown.refresh();
        this._styleSoon();
    }

    _setButtons(buttons) {
        for (const button of this._buttons)
            button.destroy();
        this._buttons = buttons;
    }

    // In the chosen box of the top bar, in the status program's order: first in the right
    // box (left of the Shell's own menus), last in the others.
    _placeAll() {
        const {Main} = this._env;
        const chosen = this._env.settings.get_string('panel-box');
        const boxName = PANEL_BOXES.includes(chosen) ? chosen : 'right';
        const box = {left: Main.panel._leftBox, center: Main.panel._centerBox,
            right: Main.panel._rightBox}[boxName];
        const ours = this._offline ? [this._offline] : this._buttons;
        for (const item of ours) {
            const container = item.button.container;
            const parent = container.get_parent();
            if (!parent) {
                Main.panel.addToStatusArea(this._roleOf(item), item.button, 0, boxName);
            } else if (parent !== box) {
                // Moved by the setting: the Shell keeps its role and its menu, only the box
                // changes.
                parent.remove_child(container);
                box.insert_child_at_index(container, 0);
            }
        }
        const first = boxName === 'right' ? 0 : box.get_n_children() - ours.length;
        ours.forEach((item, i) => box.set_child_at_index(item.button.container, first + i));
    }

    _roleOf(item) {
        return item.id ? `corvanebar-${item.id}` : 'corvanebar';
    }

    // The style once the Shell has laid out what changed: many changes come at once.
    _styleSoon() {
        const {GLib} = this._env;
        if (this._styleIdleId)
            return;
        this._styleIdleId = GLib.idle_add(GLib.PRIORITY_DEFAULT_IDLE, () => {
            this._styleIdleId = 0;
            this._sendStyle();
            return GLib.SOURCE_REMOVE;
        });
    }

    _sendStyle() {
        const sample = this._buttons[0]?.button;
        if (!sample || !this._client.running)
            return;
        const style = panelStyleOf(this._env, sample);
        if (style === null || sameStyle(style, this._style))
            return;
        this._style = style;
        // The status program answers with new pictures and sizes through its signals.
        this._client.setStyle(style);
    }
}

// The entry point of both builds; `env` carries what each imports its own way.
function createCorvaneBar(env) {
    return new CorvaneBar(env);
}
