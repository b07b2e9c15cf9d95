// A stand-in for the status program on the panel interface, for measuring what the GNOME Shell
// extension costs the Shell: N items whose pictures all change every second, as a busy
// machine's would, and a short dropdown each. Nothing is sampled, so the only work measured
// is the Shell's.
// gjs -m fake_panel.js [ITEMS]

import Gio from 'gi://Gio';
import GLib from 'gi://GLib';

const INTERFACE = `<node><interface name="com.halvorn.corvanebar.Panel1">
  <property name="Version" type="u" access="read"/>
  <method name="GetItems"><arg type="aa{sv}" direction="out"/></method>
  <method name="GetItem"><arg type="s" direction="in"/><arg type="a{sv}" direction="out"/></method>
  <method name="GetPicture">
    <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="d" direction="in"/>
    <arg type="i" direction="out"/><arg type="i" direction="out"/><arg type="ay" direction="out"/>
  </method>
  <method name="GetDropdown"><arg type="s" direction="in"/><arg type="aa{sv}" direction="out"/></method>
  <method name="Activate"><arg type="s" direction="in"/><arg type="s" direction="in"/></method>
  <method name="SetStyle"><arg type="a{sv}" direction="in"/></method>
  <signal name="ItemsChanged"/>
  <signal name="ItemChanged"><arg type="s"/></signal>
  <signal name="PictureChanged"><arg type="s"/></signal>
  <signal name="DropdownChanged"><arg type="s"/></signal>
</interface></node>`;

const count = Number(ARGV[0] ?? 5);
const ids = Array.from({length: count}, (_, i) => `item${i + 1}`);
let height = 22;
let second = 0;

// A bar graph that moves on by a column each second, in Cairo's premultiplied BGRA.
function picture(index) {
    const width = 40;
    const pixels = new Uint8Array(width * height * 4);
    for (let x = 0; x < width; x++) {
        const level = Math.round(height * (0.5 + 0.45 * Math.sin((x + second + index * 7) / 4)));
        for (let y = height - level; y < height; y++)
            pixels.set([0xd0, 0x80, 0x20, 0xff], (y * width + x) * 4);
    }
    return [width, pixels];
}

const variant = (type, value) => new GLib.Variant(type, value);
const summary = id => ({id: variant('s', id), title: variant('s', id),
    width: variant('x', 40), height: variant('x', height)});

const service = {
    get Version() {
        return 1;
    },
    GetItems: () => ids.map(summary),
    GetItem: id => ({...summary(id), label: variant('s', `${second % 100}%`),
        tooltip: variant('s', id)}),
    GetPicture: id => {
        const [width, pixels] = picture(ids.indexOf(id));
        return [width, height, pixels];
    },
    GetDropdown: id => [
        {type: variant('s', 'header'), text: variant('s', id)},
        {type: variant('s', 'text'), text: variant('s', `Value: ${second % 100}%`)},
        {type: variant('s', 'separator'), text: variant('s', '')},
        {type: variant('s', 'action'), text: variant('s', 'Quit'), action: variant('s', 'quit'),
            enabled: variant('b', true)},
    ],
    Activate: () => {},
    SetStyle: style => {
        const given = style.height?.deepUnpack();
        if (given > 0 && given !== height) {
            height = given;
            exported.emit_signal('ItemsChanged', null);
        }
    },
};

const exported = Gio.DBusExportedObject.wrapJSObject(INTERFACE, service);
exported.export(Gio.DBus.session, '/com/halvorn/corvanebar/Panel1');
Gio.bus_own_name_on_connection(Gio.DBus.session, 'com.halvorn.corvanebarstatus',
    Gio.BusNameOwnerFlags.NONE, null, null);
GLib.timeout_add_seconds(GLib.PRIORITY_DEFAULT, 1, () => {
    second++;
    for (const id of ids) {
        exported.emit_signal('PictureChanged', variant('(s)', [id]));
        exported.emit_signal('ItemChanged', variant('(s)', [id]));
    }
    return GLib.SOURCE_CONTINUE;
});
new GLib.MainLoop(null, false).run();
