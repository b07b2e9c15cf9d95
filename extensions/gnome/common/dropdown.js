// An item's dropdown as the Shell's own popup menu, built from the rows the status program
// sends. While it is open it asks for them each second: the status program keeps its process
// rows current only while someone asks, and this is what keeps them live.

const DROPDOWN_REFRESH_SECONDS = 1;

// "Label: value" as its two columns; other text stays whole.
function splitValueText(text) {
    const at = text.lastIndexOf(': ');
    return at > 0 ? [text.slice(0, at), text.slice(at + 2)] : [text, ''];
}

// How each kind of row takes the pointer: values read in the menu's own colour but do
// nothing when clicked; headers are greyed as the Shell greys its section titles.
const ROW_ITEM_PARAMS = {
    action: {},
    header: {reactive: false, can_focus: false},
    picture: {reactive: false, can_focus: false},
    separator: null,
    text: {reactive: true, activate: false, hover: false, can_focus: false},
};

// One menu entry for one row; `update` takes a row of the same type.
class DropdownEntry {
    constructor(env, row, onAction) {
        const {PopupMenu, St, Clutter} = env;
        this._env = env;
        this.type = row.type in ROW_ITEM_PARAMS ? row.type : 'text';
        if (this.type === 'separator') {
            this.item = new PopupMenu.PopupSeparatorMenuItem();
            return;
        }
        this.item = new PopupMenu.PopupBaseMenuItem({...ROW_ITEM_PARAMS[this.type],
            style_class: `corvanebar-row corvanebar-${this.type}`});
        if (this.type === 'picture') {
            this._picture = new St.Widget({x_expand: true, x_align: Clutter.ActorAlign.CENTER});
            this.item.add_child(this._picture);
        } else {
            this._name = new St.Label({x_expand: true, y_align: Clutter.ActorAlign.CENTER});
            this._value = new St.Label({style_class: 'corvanebar-value',
                y_align: Clutter.ActorAlign.CENTER});
            this.item.add_child(this._name);
            this.item.add_child(this._value);
            this.item.label_actor = this._name;
        }
        if (this.type === 'action')
            this.item.connect('activate', () => onAction(this._action));
    }

    update(row, density) {
        this.text = row.text;
        if (this.type === 'separator')
            return;
        if (this._picture) {
            this._picture.accessible_name = row.text;
            const content = pictureContent(this._env, row.width, row.height, row.pixels);
            if (content) {
                this._picture.set_content(content);
                this._picture.set_size(row.width / density, row.height / density);
            }
            return;
        }
        const [name, value] = splitValueText(row.text);
        this._name.text = name;
        this._value.text = value;
        this._action = row.action;
        if (this.type === 'action')
            this.item.setSensitive(row.enabled);
    }
}

// The rows scroll, but the closing ones (after the last separator: settings, quit) stay in
// view under them, however long the list of figures grows on a small screen.
class Dropdown {
    // `density()`: pixels per point of the graphs in the rows, as the panel's scale asks.
    constructor(env, client, id, menu, density) {
        const {PopupMenu, St} = env;
        this._env = env;
        this._client = client;
        this._id = id;
        this._menu = menu;
        this._density = density;
        this._entries = [];
        this._closing = null;
        this._timerId = 0;
        this._fetching = false;
        this.fetches = 0;
        this._body = new PopupMenu.PopupMenuSection();
        this._footer = new PopupMenu.PopupMenuSection();
        const scroll = new St.ScrollView({style_class: 'corvanebar-scroll',
            hscrollbar_policy: St.PolicyType.NEVER, vscrollbar_policy: St.PolicyType.AUTOMATIC,
            overlay_scrollbars: true});
        // Up to GNOME 45 a scroll view takes its child as a container does (setting it as a
        // bin's child there leaves it attached when the view is destroyed, and the Shell
        // aborts); from 46 on there is only `child`.
        if (typeof scroll.add_actor === 'function')
            scroll.add_actor(this._body.actor);
        else
            scroll.set_child(this._body.actor);
        const holder = new PopupMenu.PopupMenuSection();
        holder.actor.add_child(scroll);
        menu.addMenuItem(holder);
        menu.addMenuItem(this._footer);
        this._openId = menu.connect('open-state-changed', (_menu, open) => {
            if (open)
                this._startRefreshing();
            else
                this._stopRefreshing();
        });
    }

    get entries() {
        return this._entries;
    }

    // Rows are fetched once while the menu is closed too: an empty menu does not open.
    async refresh() {
        if (this._fetching)
            return;
        this._fetching = true;
        const rows = await this._client.getDropdown(this._id);
        this._fetching = false;
        if (rows === null || this._menu === null)
            return;
        this.fetches++;
        this._show(rows);
    }

    destroy() {
        this._stopRefreshing();
        if (this._menu)
            this._menu.disconnect(this._openId);
        this._menu = null;
        this._entries = [];
    }

    _show(rows) {
        // Entries are kept while the rows keep their types, so an open menu does not flicker
        // or lose the row under the pointer.
        const sameShape = rows.length === this._entries.length &&
            rows.every((row, i) => row.type === this._entries[i].type);
        if (!sameShape) {
            this._body.removeAll();
            this._footer.removeAll();
            this._closing?.destroy();
            this._closing = null;
            const closing = rows.map(row => row.type).lastIndexOf('separator');
            this._entries = rows.map((row, i) => {
                const entry = new DropdownEntry(this._env, row, action => this._activate(action));
                if (i === closing) {
                    // Between the two sections: a menu hides a separator at either end of one.
                    this._closing = entry.item;
                    this._menu.addMenuItem(entry.item, 1);
                } else {
                    (closing >= 0 && i > closing ? this._footer : this._body)
                        .addMenuItem(entry.item);
                }
                return entry;
            });
        }
        const density = this._density();
        rows.forEach((row, i) => this._entries[i].update(row, density));
    }

    _activate(action) {
        if (action)
            this._client.activate(this._id, action);
    }

    _startRefreshing() {
        const {GLib} = this._env;
        this.refresh();
        if (this._timerId)
            return;
        this._timerId = GLib.timeout_add_seconds(GLib.PRIORITY_DEFAULT, DROPDOWN_REFRESH_SECONDS,
            () => {
                this.refresh();
                return GLib.SOURCE_CONTINUE;
            });
    }

    _stopRefreshing() {
        if (this._timerId)
            this._env.GLib.source_remove(this._timerId);
        this._timerId = 0;
    }
}
