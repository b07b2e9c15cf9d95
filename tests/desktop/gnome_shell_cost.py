#!/usr/bin/python3
"""What the GNOME Shell extension costs the Shell: gnome-shell's processor time with five
items whose pictures all change every second (fake_panel.js stands in for the status
program), against the same Shell in the same run with the extension switched off.

usage: gnome_shell_cost.py BUILD_DIR [OUT_DIR] [SECONDS]
"""

import os
import sys
import time

from gi.repository import GLib

from shell_session import EXTENSION_UUID, HERE, STATE_ENABLED, ShellSession, wait_until

ITEMS = 5


def share_of_a_core(session, seconds):
    """gnome-shell's share of one processor over `seconds`, in percent, and its ticks."""
    before = session.cpu_ticks('gnome-shell')
    time.sleep(seconds)
    ticks = session.cpu_ticks('gnome-shell') - before
    return 100.0 * ticks / (seconds * os.sysconf('SC_CLK_TCK')), ticks


def switch(session, method):
    session.call('org.gnome.Shell', '/org/gnome/Shell', 'org.gnome.Shell.Extensions', method,
                 GLib.Variant('(s)', (EXTENSION_UUID,)))


def main():
    build_dir = sys.argv[1]
    out_dir = sys.argv[2] if len(sys.argv) > 2 else os.path.join(build_dir, 'desktop-test')
    seconds = float(sys.argv[3]) if len(sys.argv) > 3 else 20
    with ShellSession(build_dir, out_dir, varying_load=False) as session:
        session.install_extension()
        session.start('fake-panel', ['gjs', '-m', os.path.join(HERE, 'fake_panel.js'), str(ITEMS)])
        session.start_shell()
        shown = wait_until(lambda: len((session.describe() or {}).get('items', [])) == ITEMS, 15)
        if not shown:
            print(f'the extension did not show {ITEMS} items; see {out_dir}')
            return 1
        session.eval('imports.ui.main.overview.hide()')
        time.sleep(3)
        switch(session, 'DisableExtension')
        wait_until(lambda: session.extension_state().get('state') != STATE_ENABLED, 5)
        time.sleep(2)
        without, ticks_without = share_of_a_core(session, seconds)
        switch(session, 'EnableExtension')
        wait_until(lambda: len((session.describe() or {}).get('items', [])) == ITEMS, 10)
        time.sleep(2)
        updates = sum(i['pictureUpdates'] for i in session.describe()['items'])
        with_items, ticks_with = share_of_a_core(session, seconds)
        updated = sum(i['pictureUpdates'] for i in session.describe()['items']) - updates
    print(f'gnome-shell over {seconds:.0f} s, software rendering:')
    print(f'  without the extension            {without:5.1f} % of a core ({ticks_without} ticks)')
    print(f'  with {ITEMS} items changing each second {with_items:5.1f} % of a core '
          f'({ticks_with} ticks, {updated} pictures shown)')
    print(f'  the extension\'s share            {with_items - without:5.1f} % of a core')
    return 0


if __name__ == '__main__':
    sys.exit(main())
