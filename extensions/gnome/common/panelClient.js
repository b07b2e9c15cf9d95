// The status program's panel interface (com.halvorn.corvanebar.Panel1) as the extension uses
// it. Every call is asynchronous: the Shell draws the whole desktop on this one thread, so it
// must never wait for the status program.

const PANEL_BUS_NAME = 'com.halvorn.corvanebarstatus';
const PANEL_OBJECT_PATH = '/com/halvorn/corvanebar/Panel1';
const PANEL_INTERFACE = 'com.halvorn.corvanebar.Panel1';
const CALL_TIMEOUT_MS = 5000;

// A dropdown row as plain values, with a picture row's pixels kept as GLib.Bytes so they go
// to the texture without a copy through JavaScript.
function dropdownRowFromVariant(dictionary) {
    const value = key => dictionary.lookup_value(key, null);
    const unpacked = (key, fallback) => value(key)?.unpack() ?? fallback;
    return {
        type: unpacked('type', 'text'),
        text: unpacked('text', ''),
        action: unpacked('action', ''),
        enabled: unpacked('enabled', true),
        width: Number(unpacked('width', 0)),
        height: Number(unpacked('height', 0)),
        pixels: value('pixels')?.get_data_as_bytes() ?? null,
    };
}

class PanelClient {
    // `handlers`: appeared(), vanished(), and signal(name, id) for the interface's signals.
    constructor(env, handlers) {
        this._env = env;
        this._handlers = handlers;
        this._connection = null;
        this._watchId = 0;
        this._subscriptionId = 0;
        this._reported = new Set();
    }

    start() {
        const {Gio} = this._env;
        this._watchId = Gio.bus_watch_name(Gio.BusType.SESSION, PANEL_BUS_NAME,
            Gio.BusNameWatcherFlags.NONE,
            connection => this._appeared(connection),
            () => this._vanished());
    }

    stop() {
        const {Gio} = this._env;
        this._unsubscribe();
        if (this._watchId)
            Gio.bus_unwatch_name(this._watchId);
        this._watchId = 0;
    }

    get running() {
        return this._connection !== null;
    }

    async getItems() {
        const reply = await this._call('GetItems', null, '(aa{sv})');
        return reply ? reply.recursiveUnpack()[0] : null;
    }

    async getItem(id) {
        const reply = await this._call('GetItem', ['(s)', [id]], '(a{sv})');
        return reply ? reply.recursiveUnpack()[0] : null;
    }

    // {width, height, pixels: GLib.Bytes}, or null.
    async getPicture(id, shape, scale) {
        const reply = await this._call('GetPicture', ['(ssd)', [id, shape, scale]], '(iiay)');
        if (!reply)
            return null;
        return {
            width: reply.get_child_value(0).get_int32(),
            height: reply.get_child_value(1).get_int32(),
            pixels: reply.get_child_value(2).get_data_as_bytes(),
        };
    }

    async getDropdown(id) {
        const reply = await this._call('GetDropdown', ['(s)', [id]], '(aa{sv})');
        if (!reply)
            return null;
        const rows = reply.get_child_value(0);
        const result = [];
        for (let i = 0; i < rows.n_children(); i++)
            result.push(dropdownRowFromVariant(rows.get_child_value(i)));
        return result;
    }

    activate(id, action) {
        return this._call('Activate', ['(ss)', [id, action]], null);
    }

    setStyle(style) {
        const {GLib} = this._env;
        const dictionary = {
            height: new GLib.Variant('i', style.height),
            scale: new GLib.Variant('d', style.scale),
            foreground: new GLib.Variant('s', style.foreground),
            dark: new GLib.Variant('b', style.dark),
        };
        return this._call('SetStyle', ['(a{sv})', [dictionary]], null);
    }

    _appeared(connection) {
        const {Gio} = this._env;
        this._unsubscribe();
        this._connection = connection;
        this._reported.clear();
        this._subscriptionId = connection.signal_subscribe(PANEL_BUS_NAME, PANEL_INTERFACE,
            null, PANEL_OBJECT_PATH, null, Gio.DBusSignalFlags.NONE,
            (_connection, _sender, _path, _interface, signal, parameters) => {
                const id = parameters.n_children() > 0
                    ? parameters.get_child_value(0).get_string()[0] : '';
                this._handlers.signal(signal, id);
            });
        this._handlers.appeared();
    }

    _vanished() {
        this._unsubscribe();
        this._handlers.vanished();
    }

    _unsubscribe() {
        if (this._connection && this._subscriptionId)
            this._connection.signal_unsubscribe(this._subscriptionId);
        this._subscriptionId = 0;
        this._connection = null;
    }

    // The reply, or null: a failure is logged once per method until the program comes back,
    // so a broken peer cannot fill the journal once a second.
    _call(method, parameters, replyType) {
        const {Gio, GLib} = this._env;
        const connection = this._connection;
        if (!connection)
            return Promise.resolve(null);
        const args = parameters ? new GLib.Variant(...parameters) : null;
        const type = replyType ? new GLib.VariantType(replyType) : null;
        return new Promise(resolve => {
            connection.call(PANEL_BUS_NAME, PANEL_OBJECT_PATH, PANEL_INTERFACE, method, args,
                type, Gio.DBusCallFlags.NONE, CALL_TIMEOUT_MS, null, (source, result) => {
                    try {
                        resolve(source.call_finish(result));
                    } catch (error) {
                        if (!this._reported.has(method)) {
                            this._reported.add(method);
                            this._env.log(`${method} failed: ${error.message}`);
                        }
                        resolve(null);
                    }
                });
        });
    }
}
