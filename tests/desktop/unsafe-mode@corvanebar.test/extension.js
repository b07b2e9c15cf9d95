// Test only: the desktop test reads the Shell through org.gnome.Shell.Eval and takes
// screenshots, which the Shell allows only in unsafe mode.
/* exported init */

class Extension {
    enable() {
        global.context.unsafe_mode = true;
    }

    disable() {
        global.context.unsafe_mode = false;
    }
}

function init() {
    return new Extension();
}
