"""A headless GNOME Shell on buses of its own, with the status program beside it.

Everything runs under a fresh temporary home: the settings, the extension, the Shell's
dconf database and both buses, so a run touches nothing of the user's session. The Shell is
read through org.gnome.Shell.Eval and photographed through its screenshot interface, which a
small test-only extension (unsafe-mode@corvanebar.test) opens up.
"""

import json
import os
import shutil
import signal
import subprocess
import tempfile
import threading
import time

from gi.repository import Gio, GLib

EXTENSION_UUID = 'corvanebar@halvorn.com'
HELPER_UUID = 'unsafe-mode@corvanebar.test'
HERE = os.path.dirname(os.path.abspath(__file__))
STATE_ENABLED = 1


def wait_until(condition, timeout, step=0.1):
    """The first true value of condition() within timeout seconds, else None."""
    end = time.monotonic() + timeout
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            return None
        time.sleep(step)


class VaryingProcessorLoad:
    """A root for the status program's reads: this machine's /proc and /sys, but with a
    /proc/stat whose processors alternate between light and heavy load each second, so the
    pictures change every second however busy or idle the real machine is."""

    TICKS_PER_SECOND = 100

    def __init__(self, root):
        self.root = os.path.join(root, 'machine')
        os.makedirs(os.path.join(self.root, 'proc'))
        os.symlink('/sys', os.path.join(self.root, 'sys'))
        for entry in os.listdir('/proc'):
            if entry != 'stat':
                os.symlink('/proc/' + entry, os.path.join(self.root, 'proc', entry))
        self.cores = os.cpu_count()
        self.ticks = [[0, 0] for _ in range(self.cores)]  # busy, idle
        path = os.path.join(self.root, 'proc', 'stat')
        self.fd = os.open(path, os.O_WRONLY | os.O_CREAT, 0o644)
        self._write()
        self.running = True
        self.thread = threading.Thread(target=self._run, daemon=True)
        self.thread.start()

    def close(self):
        self.running = False
        self.thread.join()
        os.close(self.fd)

    def _run(self):
        step = 0.25
        while self.running:
            time.sleep(step)
            heavy = int(time.time()) % 2 == 1
            for core, ticks in enumerate(self.ticks):
                busy = (0.85 if heavy else 0.15) - 0.05 * core
                ticks[0] += round(busy * self.TICKS_PER_SECOND * step)
                ticks[1] += round((1 - busy) * self.TICKS_PER_SECOND * step)
            self._write()

    def _write(self):
        # Fixed-width figures keep the size the same, so one write replaces the whole text
        # under a reader that keeps the file open.
        def line(name, busy, idle):
            return f'{name} {busy:012d} 000000000000 000000000000 {idle:012d} 0 0 0 0 0 0\n'
        text = line('cpu ', sum(t[0] for t in self.ticks), sum(t[1] for t in self.ticks))
        text += ''.join(line(f'cpu{i}', *t) for i, t in enumerate(self.ticks))
        text += 'ctxt 0\nbtime 1795330000\nprocesses 1\nprocs_running 1\nprocs_blocked 0\n'
        os.pwrite(self.fd, text.encode(), 0)


class ShellSession:
    def __init__(self, build_dir, out_dir, size=(1280, 720), varying_load=True):
        self.build_dir = os.path.abspath(build_dir)
        self.out_dir = os.path.abspath(out_dir)
        self.size = size
        self.varying_load = varying_load
        self.machine = None
        self.processes = {}
        self.bus = None

    # --- set-up and tear-down -------------------------------------------------------------

    def __enter__(self):
        self.root = tempfile.mkdtemp(prefix='corvanebar-desktop-')
        os.makedirs(self.out_dir, exist_ok=True)
        self.env = self._environment()
        if self.varying_load:
            self.machine = VaryingProcessorLoad(self.root)
        # The Shell aborts without a system bus; a second private daemon stands in for it.
        self.env['DBUS_SYSTEM_BUS_ADDRESS'] = self._start_bus('system-bus')
        self.env['DBUS_SESSION_BUS_ADDRESS'] = self._start_bus('session-bus')
        self.bus = Gio.DBusConnection.new_for_address_sync(
            self.env['DBUS_SESSION_BUS_ADDRESS'],
            Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT |
            Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        return self

    def __exit__(self, *exc):
        for name in reversed(list(self.processes)):
            self.stop(name)
        if self.machine:
            self.machine.close()
        shutil.rmtree(self.root, ignore_errors=True)
        return False

    def _environment(self):
        env = {key: value for key, value in os.environ.items()
               if not key.startswith(('DBUS_', 'XDG_', 'WAYLAND_', 'GNOME_'))
               and key not in ('DISPLAY', 'HOME')}
        env['HOME'] = os.path.join(self.root, 'home')
        for name, sub in (('XDG_CONFIG_HOME', '.config'), ('XDG_DATA_HOME', '.local/share'),
                          ('XDG_STATE_HOME', '.local/state'), ('XDG_CACHE_HOME', '.cache')):
            env[name] = os.path.join(env['HOME'], sub)
            os.makedirs(env[name])
        env['XDG_RUNTIME_DIR'] = os.path.join(self.root, 'run')
        os.makedirs(env['XDG_RUNTIME_DIR'], mode=0o700)
        return env

    def _start_bus(self, name):
        address = 'unix:path=' + os.path.join(self.env['XDG_RUNTIME_DIR'], name)
        process = subprocess.Popen(
            ['dbus-daemon', '--config-file=/usr/share/dbus-1/session.conf', '--nofork',
             '--print-address=1', '--address=' + address],
            env=self.env, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.processes[name] = process
        return process.stdout.readline().strip()

    def start(self, name, argv, log=True):
        """Starts a program of the session; its output goes to <out>/<name>.log."""
        output = open(os.path.join(self.out_dir, name + '.log'), 'w') if log else subprocess.DEVNULL
        self.processes[name] = subprocess.Popen(argv, env=self.env, stdout=output,
                                                stderr=subprocess.STDOUT)
        return self.processes[name]

    def stop(self, name, timeout=10):
        process = self.processes.pop(name, None)
        if process is None or process.poll() is not None:
            return
        process.send_signal(signal.SIGTERM)
        try:
            process.wait(timeout)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()

    def run(self, argv, check=True):
        """A command of the session, to its end: (status, output)."""
        result = subprocess.run(argv, env=self.env, stdout=subprocess.PIPE,
                                stderr=subprocess.STDOUT, text=True, timeout=60)
        if check and result.returncode != 0:
            raise RuntimeError(f'{" ".join(argv)} failed ({result.returncode}): {result.stdout}')
        return result.returncode, result.stdout

    # --- the programs ---------------------------------------------------------------------

    def program(self, name):
        return os.path.join(self.build_dir, 'apps', name, name)

    def install_extension(self):
        """Installs and switches on the extension with the product's own command, and the
        test helper by hand."""
        corvanebar = self.program('corvanebar')
        _, installed = self.run([corvanebar, 'gnome-extension', 'install'])
        _, enabled = self.run([corvanebar, 'gnome-extension', 'enable'])
        helper = os.path.join(self.env['XDG_DATA_HOME'], 'gnome-shell', 'extensions', HELPER_UUID)
        shutil.copytree(os.path.join(HERE, HELPER_UUID), helper)
        enabled_list = self.gsettings_get('enabled-extensions')
        self.run(['gsettings', 'set', 'org.gnome.shell', 'enabled-extensions',
                  str(enabled_list + [HELPER_UUID])])
        return installed + enabled

    def gsettings_get(self, key):
        _, text = self.run(['gsettings', 'get', 'org.gnome.shell', key])
        text = text.strip()
        if text.startswith('@as'):
            return []
        return json.loads(text.replace("'", '"'))

    def start_shell(self):
        width, height = self.size
        self.start('gnome-shell', ['gnome-shell', '--headless', '--wayland', '--no-x11',
                                   '--virtual-monitor', f'{width}x{height}'])
        if not wait_until(lambda: self.eval('true') is True, 30, 0.25):
            raise RuntimeError('GNOME Shell did not come up; see gnome-shell.log')

    def start_status(self):
        if self.machine:
            self.env['CORVANEBAR_SYSROOT'] = self.machine.root
        self.start('corvanebar-status', [self.program('corvanebar-status')])
        return wait_until(lambda: self.name_has_owner('com.halvorn.corvanebarstatus'), 15)

    def shell_log(self):
        with open(os.path.join(self.out_dir, 'gnome-shell.log'), errors='replace') as log:
            return log.read()

    def cpu_ticks(self, name):
        """User and system clock ticks the program has used so far."""
        with open(f'/proc/{self.processes[name].pid}/stat') as stat:
            fields = stat.read().rsplit(')', 1)[1].split()
        return int(fields[11]) + int(fields[12])

    # --- D-Bus ----------------------------------------------------------------------------

    def call(self, name, path, interface, method, parameters=None, timeout=5000):
        try:
            reply = self.bus.call_sync(name, path, interface, method, parameters, None,
                                       Gio.DBusCallFlags.NO_AUTO_START, timeout, None)
        except GLib.Error:
            return None
        return reply.unpack() if reply else None

    def name_has_owner(self, name):
        reply = self.call('org.freedesktop.DBus', '/org/freedesktop/DBus', 'org.freedesktop.DBus',
                          'NameHasOwner', GLib.Variant('(s)', (name,)))
        return bool(reply and reply[0])

    def eval(self, code):
        """The value of JavaScript code run in the Shell, or None when it failed."""
        reply = self.call('org.gnome.Shell', '/org/gnome/Shell', 'org.gnome.Shell', 'Eval',
                          GLib.Variant('(s)', (code,)))
        if not reply or not reply[0]:
            return None
        return json.loads(reply[1]) if reply[1] else None

    def extension_state(self, uuid=EXTENSION_UUID):
        reply = self.call('org.gnome.Shell', '/org/gnome/Shell', 'org.gnome.Shell.Extensions',
                          'GetExtensionInfo', GLib.Variant('(s)', (uuid,)))
        return reply[0] if reply else {}

    def describe(self):
        """The extension's own account of its buttons (describeForTests)."""
        return self.eval("imports.ui.main.extensionManager.lookup('%s').stateObj"
                         '.describeForTests()' % EXTENSION_UUID)

    def panel(self, method, *args):
        """A call on the status program's panel interface."""
        signature = {'GetItems': '()', 'GetDropdown': '(s)', 'GetItem': '(s)',
                     'GetPicture': '(ssd)'}[method]
        reply = self.call('com.halvorn.corvanebarstatus', '/com/halvorn/corvanebar/Panel1',
                          'com.halvorn.corvanebar.Panel1', method, GLib.Variant(signature, args))
        if not reply:
            return None
        return reply[0] if len(reply) == 1 else reply

    def click(self, x, y):
        """A primary click at a point of the stage, through a virtual pointer as a user's."""
        return self.eval(
            '(() => { const {Clutter, GLib} = imports.gi;'
            ' if (!global._cvbPointer) global._cvbPointer = Clutter.get_default_backend()'
            '   .get_default_seat().create_virtual_device(Clutter.InputDeviceType.POINTER_DEVICE);'
            ' const p = global._cvbPointer, t = GLib.get_monotonic_time();'
            f' p.notify_absolute_motion(t, {x}, {y});'
            ' p.notify_button(t + 1000, Clutter.BUTTON_PRIMARY, Clutter.ButtonState.PRESSED);'
            ' p.notify_button(t + 2000, Clutter.BUTTON_PRIMARY, Clutter.ButtonState.RELEASED);'
            ' return true; })()')

    def screenshot(self, name, x, y, width, height):
        path = os.path.join(self.out_dir, name + '.png')
        reply = self.call('org.gnome.Shell.Screenshot', '/org/gnome/Shell/Screenshot',
                          'org.gnome.Shell.Screenshot', 'ScreenshotArea',
                          GLib.Variant('(iiiibs)', (x, y, width, height, False, path)))
        return path if reply and reply[0] else None
