// The one button shown while the status program is not running: it says so and offers to
// start its systemd user unit. It never starts anything by itself, so a program that cannot
// run does not become a loop of failed starts.

const STATUS_UNIT = 'corvanebar-status.service';

class OfflineButton {
    constructor(env) {
        const {PanelMenu, PopupMenu, St, Clutter} = env;
        this._env = env;
        this.button = new PanelMenu.Button(0.5, 'Corvane Bar', false);
        this.button.add_style_class_name('corvanebar-item');
        this.button.add_style_class_name('corvanebar-offline');
        // Dimmed in whatever colour the theme gives the bar's text.
        this.button.add_child(new St.Label({text: 'Corvane Bar', opacity: 153,
            y_align: Clutter.ActorAlign.CENTER}));
        const menu = this.button.menu;
        const header = new PopupMenu.PopupMenuItem('Corvane Bar is not running',
            {reactive: false, can_focus: false});
        header.add_style_class_name('corvanebar-header');
        menu.addMenuItem(header);
        menu.addAction('Start Corvane Bar', () => this._start());
        this._message = new PopupMenu.PopupMenuItem('', {reactive: false, can_focus: false});
        this._message.visible = false;
        menu.addMenuItem(this._message);
    }

    get message() {
        return this._message.visible ? this._message.label.text : '';
    }

    destroy() {
        this.button.destroy();
        this.button = null;
    }

    _say(text) {
        this._message.label.text = text;
        this._message.visible = true;
    }

    _start() {
        const {Gio, GLib} = this._env;
        this._say('Starting…');
        Gio.DBus.session.call('org.freedesktop.systemd1', '/org/freedesktop/systemd1',
            'org.freedesktop.systemd1.Manager', 'StartUnit',
            new GLib.Variant('(ss)', [STATUS_UNIT, 'replace']), null, Gio.DBusCallFlags.NONE,
            -1, null, (connection, result) => {
                try {
                    connection.call_finish(result);
                } catch (error) {
                    if (this.button === null)
                        return;
                    Gio.DBusError.strip_remote_error(error);
                    this._say(`Could not start ${STATUS_UNIT}: ${error.message}`);
                    this._env.log(`Starting ${STATUS_UNIT} failed: ${error.message}`);
                }
            });
    }
}
