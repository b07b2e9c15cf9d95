#!/usr/bin/python3
"""The GNOME Shell extension end to end, in a headless GNOME Shell 43 with the real status
program: one button per item at the pictures' widths, pictures that change each second, an
item switched off, a dropdown opened by a click and kept live, and the neutral button while
the status program is away. Screenshots go to the output folder.

usage: gnome_shell_test.py BUILD_DIR [OUT_DIR]
"""

import os
import sys
import time

from shell_session import EXTENSION_UUID, STATE_ENABLED, ShellSession, wait_until

failures = []


def check(what, ok, detail=''):
    print(('ok    ' if ok else 'FAIL  ') + what + (f': {detail}' if detail and not ok else ''))
    if not ok:
        failures.append(what)
    return ok


def buttons(session):
    described = session.describe()
    return described['items'] if described else []


def ids(items):
    return [item['id'] for item in items]


def button(session, item_id):
    return next((item for item in buttons(session) if item['id'] == item_id), None)


def quiet_desktop(session):
    """The desktop as a user sees it after logging in: the overview closed, the welcome
    notifications gone, the test helper's unsafe-mode icon hidden."""
    wait_until(lambda: session.eval('imports.ui.main.layoutManager._startingUp') is False, 10)
    session.eval('imports.ui.main.overview.hide()')
    wait_until(lambda: session.eval('imports.ui.main.overview.visible') is False, 10)
    session.eval('imports.ui.main.messageTray.getSources().forEach(s => s.destroy())')
    session.eval('imports.ui.main.panel.statusArea.quickSettings._unsafeMode.hide()')
    time.sleep(0.5)


def panel_height(session):
    return int(session.eval('imports.ui.main.panel.height'))


def check_buttons(session):
    published = session.panel('GetItems')

    def all_shown():
        shown = buttons(session)
        pictured = ids(shown) == ids(published) and all(i['pictureUpdates'] for i in shown)
        return shown if pictured else None
    shown = wait_until(all_shown, 10)
    check('one button per item, in the status program\'s order', shown is not None,
          f'{ids(buttons(session))} against {ids(published)}')
    if not shown:
        return
    widths = {item['id']: item['width'] for item in published}
    check('each picture as wide as the status program drew it',
          all(item['pictureWidth'] == widths[item['id']] for item in shown),
          str([(i['id'], i['pictureWidth'], widths[i['id']]) for i in shown]))
    style = session.describe()['style']
    check('the panel\'s style told to the status program',
          style is not None and style['dark'] and style['height'] > 16 and
          all(item['height'] == style['height'] for item in published), f'{style}, {published}')
    before = {item['id']: item['pictureUpdates'] for item in shown}
    time.sleep(3.2)
    after = {item['id']: item['pictureUpdates'] for item in buttons(session)}
    check('the processor picture changes each second', after['cpu'] - before['cpu'] >= 2,
          f'{before} then {after}')


def check_switching(session, corvanebar):
    session.run([corvanebar, 'off', 'memory'])
    start = time.monotonic()
    gone = wait_until(lambda: 'memory' not in ids(buttons(session)), 5, 0.05)
    check('"corvanebar off memory" takes its button away within 2 s',
          gone and time.monotonic() - start <= 2, f'{time.monotonic() - start:.1f} s')
    session.run([corvanebar, 'on', 'memory'])
    back = wait_until(lambda: ids(buttons(session)) == ids(session.panel('GetItems')) and
                      'memory' in ids(buttons(session)), 5)
    check('"corvanebar on memory" brings it back in the new order', back is not None,
          str(ids(buttons(session))))


def check_dropdown(session):
    cpu = button(session, 'cpu')
    session.click(cpu['x'] + cpu['width'] / 2, cpu['y'] + cpu['height'] / 2)
    opened = wait_until(lambda: button(session, 'cpu')['menuOpen'],
                        3)
    if not check('a click opens the dropdown', opened):
        return

    def same_rows():
        rows = session.panel('GetDropdown', 'cpu')
        shown = button(session, 'cpu')['rows']
        fixed = [(r['type'], r['text']) for r in rows if r['type'] in ('header', 'action')]
        return (len(rows) == len(shown) and [r['type'] for r in rows] == [r['type'] for r in shown]
                and fixed == [(r['type'], r['text']) for r in shown
                              if r['type'] in ('header', 'action')])
    check('the dropdown shows the model\'s rows', wait_until(same_rows, 4),
          str(button(session, 'cpu')['rows']))
    fetches = button(session, 'cpu')['dropdownFetches']
    time.sleep(3.2)
    now = button(session, 'cpu')['dropdownFetches']
    check('an open dropdown asks for its rows each second', now - fetches >= 2,
          f'{fetches} then {now}')
    width, height = session.size
    session.screenshot('gnome-dropdown', width - 360, 0, 360, height)
    session.click(cpu['x'] + cpu['width'] / 2, cpu['y'] + cpu['height'] / 2)
    closed = wait_until(lambda: not button(session, 'cpu')['menuOpen'], 3)
    fetches = button(session, 'cpu')['dropdownFetches']
    time.sleep(2.2)
    now = button(session, 'cpu')['dropdownFetches']
    check('a closed dropdown stops asking', closed and now == fetches, f'{fetches} then {now}')


def check_offline(session):
    session.stop('corvanebar-status')
    offline = wait_until(lambda: (session.describe() or {}).get('offline'), 3)
    if not check('without the status program: one neutral button', offline and
                 not session.describe()['items']):
        return
    session.screenshot('gnome-topbar-offline', 0, 0, session.size[0], panel_height(session))
    session.click(offline['x'] + offline['width'] / 2, offline['y'] + offline['height'] / 2)
    wait_until(lambda: session.describe()['offline']['menuOpen'], 3)
    log_lines = session.shell_log().count('Corvane Bar:')
    start = session.eval("(() => { imports.ui.main.panel.statusArea['corvanebar'].menu"
                         '._getMenuItems().find(i => i.label?.text === "Start Corvane Bar")'
                         '.activate(imports.gi.Clutter.get_current_event()); return true; })()')
    said = wait_until(lambda: session.describe()['offline']['message'].startswith('Could not'), 5)
    time.sleep(2)
    check('"Start Corvane Bar" without a systemd user manager says why, once',
          start and said and session.shell_log().count('Corvane Bar:') == log_lines + 1,
          f'{session.describe()["offline"]}')
    session.start_status()

    def buttons_back():
        described = session.describe()
        return described and not described['offline'] and described['items']
    back = wait_until(buttons_back, 10)
    check('the buttons come back with the status program', back)


def check_hidpi(build_dir, out_dir):
    """A second Shell at scale 2: the status program draws the 2x pictures and the buttons
    show them pixel for pixel."""
    with ShellSession(build_dir, os.path.join(out_dir, 'scale-2')) as session:
        session.install_extension()
        session.run(['gsettings', 'set', 'org.gnome.desktop.interface', 'scaling-factor', '2'])
        session.start_status()
        session.start_shell()

        def sharp():
            described = session.describe() or {}
            style, shown = described.get('style'), described.get('items', [])
            return shown if style and style['scale'] == 2 and shown and all(
                i['pictureUpdates'] and i['pictureHeight'] == 2 * style['height']
                for i in shown) else None
        shown = wait_until(sharp, 15)
        # The 2x picture is drawn anew, not doubled: its width is its own.
        widths = {i['id']: (session.panel('GetPicture', i['id'], 'wide', 2.0) or [0])[0]
                  for i in shown or []}
        check('at scale 2, the 2x pictures at their own widths',
              shown and all(i['pictureWidth'] == widths[i['id']] for i in shown),
              f'{session.describe()}, {widths}')
        quiet_desktop(session)
        # The screenshot interface counts in points, half the stage's pixels here.
        width = session.size[0] // 2
        session.screenshot('gnome-topbar-2x', width - 200, 0, 200, panel_height(session) // 2)


def main():
    build_dir = sys.argv[1]
    out_dir = sys.argv[2] if len(sys.argv) > 2 else os.path.join(build_dir, 'desktop-test')
    with ShellSession(build_dir, out_dir) as session:
        print(session.install_extension(), end='')
        session.start_status()
        session.start_shell()
        state = wait_until(lambda: session.extension_state().get('state') == STATE_ENABLED, 10)
        if not check('the extension is running in the Shell', state,
                     str(session.extension_state())):
            return 1
        quiet_desktop(session)
        corvanebar = session.program('corvanebar')
        check_buttons(session)
        # From the clock to the right edge: the items among the Shell's own.
        left = session.size[0] // 2 - 100
        session.screenshot('gnome-topbar', left, 0, session.size[0] - left, panel_height(session))
        check_switching(session, corvanebar)
        check_dropdown(session)
        log = session.shell_log()
        ours = [line for line in log.splitlines()
                if EXTENSION_UUID in line or 'Corvane Bar:' in line]
        check('no errors of the extension in the Shell\'s log', not ours, '\n'.join(ours[:20]))
        check_offline(session)
        _, status = session.run([corvanebar, 'gnome-extension', 'status'])
        check('"corvanebar gnome-extension status" sees it running',
              'In the Shell     running' in status and 'Status program   running' in status,
              status)
    check_hidpi(build_dir, out_dir)
    print(f'Screenshots and logs in {out_dir}')
    print('FAILED: ' + ', '.join(failures) if failures else 'All desktop checks passed')
    return 1 if failures else 0


if __name__ == '__main__':
    sys.exit(main())
