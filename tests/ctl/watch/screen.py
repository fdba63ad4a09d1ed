#!/usr/bin/env python3
"""Drives `sentrelctl watch` in a pseudo-terminal as a person does, and looks at what its screen shows.

Usage: screen.py SENTRELCTL ROOT COLUMNS DAEMON. DAEMON is the process id of the daemon of ROOT, which this program stops.
Exits with 77 without pyte.
"""

import fcntl
import json
import os
import pty
import re
import select
import signal
import struct
import sys
import termios
import time
import urllib.request

try:
    import pyte
except ImportError:
    sys.exit(77)

PATIENCE = 30
ROWS = 24


def post(name, status, unstructured):
    report = {'structured': {'name': name, 'time': time.strftime('%FT%TZ', time.gmtime()), 'status': status},
              'unstructured': unstructured}
    request = urllib.request.Request(f'http://127.0.0.1:9996/{name}', json.dumps(report).encode(),
                                     {'Content-Type': 'application/json'})
    urllib.request.urlopen(request).close()


class Watch:
    def __init__(self, program, root, columns):
        self.pid, self.terminal = pty.fork()
        if self.pid == 0:
            os.execve(program, [program, '--root', root, 'watch'], {'TERM': 'xterm-256color', 'LC_ALL': 'C.UTF-8'})
        self.screen = pyte.Screen(80, 24)
        self.stream = pyte.ByteStream(self.screen)
        self.resize(columns, ROWS)

    def resize(self, columns, rows):
        self.screen.resize(rows, columns)
        fcntl.ioctl(self.terminal, termios.TIOCSWINSZ, struct.pack('HHHH', rows, columns, 0, 0))

    def text(self):
        return '\n'.join(line.rstrip() for line in self.screen.display)

    def wait(self, pattern):
        """Reads until the screen matches."""
        end = time.monotonic() + PATIENCE
        while not re.search(pattern, self.text(), re.MULTILINE):
            left = end - time.monotonic()
            if left <= 0 or not select.select([self.terminal], [], [], left)[0]:
                sys.exit(f'waited in vain for {pattern!r}:\n{self.text()}')
            self.stream.feed(os.read(self.terminal, 65536))

    def press(self, keys):
        os.write(self.terminal, keys.encode())

    def is_bold(self, text):
        row = next(i for i, line in enumerate(self.screen.display) if text in line)
        return self.screen.buffer[row][self.screen.display[row].index(text)].bold


def main():
    program, root, columns = sys.argv[1], sys.argv[2], int(sys.argv[3])
    reason = 'md0 is degraded: ' + 40 * 'x' + ' end'
    post('raid', 1, {'reason': reason, 'metrics': {'disks': 2}})
    post('plain', 0, {'reason': '\u202e\x1b[31mred\n'})
    watch = Watch(program, root, columns)
    watch.wait(r'^\S+  \d\d:\d\d:\d\dZ  2 reports: 1 WARNING, 1 OK')
    watch.wait(r'^▲ raid +\d+ s  ▁ +WARNING  md0 is' + (r'.*…$' if columns < 100 else r'.* end$'))
    watch.wait('^● plain .* OK +\ufffd\ufffd\\[31mred\ufffd$')
    post('raid', 2, {'reason': reason, 'metrics': {'disks': 1}})
    watch.wait(r'^✖ raid +\d+ s  ▇▁ +WARNING → ERROR  md0')
    assert watch.is_bold('raid') and not watch.is_bold('plain')
    watch.wait(r'^✖ raid +\d+ s  ▇▁ +ERROR    md0')  # some seconds later
    watch.press('/PLAIN\r')
    watch.wait(r'^filter "PLAIN"')
    assert 'raid' not in watch.text(), watch.text()
    watch.press('\x1b')
    watch.wait('^✖ raid')
    watch.press('s')
    watch.wait(r'^. plain .*\n. raid[\s\S]*s sort \(name\)')
    watch.press('\x1bOB\x1bOB\r')
    watch.wait(r'^✖ raid  ERROR[\s\S]*METRIC[\s\S]*disks +1[\s\S]*Esc back')
    assert ' end' in watch.text(), watch.text()
    age = re.search(r'reported (\d+ s) ago', watch.text())[1]
    watch.wait(rf'reported (?!{age} ago)\d+ s ago')  # it counts on
    watch.resize(60, 10)
    watch.press('\x1b')
    watch.wait(r'^. plain .*\n✖ raid +\d+ s  ERROR')
    watch.press('?')
    watch.wait('Enter +show the report')
    watch.press('\x1b')
    os.kill(int(sys.argv[4]), signal.SIGTERM)  # the daemon
    watch.wait(r'^sentrel is not running since \d\d:\d\d:\d\dZ')
    os.kill(watch.pid, signal.SIGTERM)
    assert os.waitpid(watch.pid, 0)[1] == 0
    left = b''
    try:
        while chunk := os.read(watch.terminal, 65536):
            left += chunk
    except OSError:  # as a terminal ends
        pass
    assert b'\x1b[?1049l' in left, left  # what was there before is shown again


main()
