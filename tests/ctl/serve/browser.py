#!/usr/bin/env python3
"""Looks at the live page with a real browser, Debian's chromium, driven by its DevTools protocol over pipes.

Usage: browser.py SENTRELCTL ROOT, with the daemon of ROOT in this network namespace. Exits with 77 where no browser can
run.
"""

import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import urllib.request

PATIENCE_MS = 30000
HOSTILE = '<script>document.title = "taken"</script>"\'><img src="http://192.0.2.1/x" onerror="document.title=1">\u202e'


def post(name, status, unstructured):
    report = {'structured': {'name': name, 'time': time.strftime('%FT%TZ', time.gmtime()), 'status': status},
              'unstructured': unstructured}
    request = urllib.request.Request(f'http://127.0.0.1:9996/{name}', json.dumps(report).encode(),
                                     {'Content-Type': 'application/json'})
    urllib.request.urlopen(request).close()


class Browser:
    """Messages are JSON objects that end in NUL; the browser reads descriptor 3 and writes 4."""

    def __init__(self, program, profile):
        to_browser, self.requests = os.pipe()
        answers, from_browser = os.pipe()
        # by way of high numbers, since each may have the one that the other is to get
        command = 'exec 8<&"$1" 9>&"$2" 3<&8 4>&9; shift 2; exec "$@"'
        self.process = subprocess.Popen(
            ['bash', '-c', command, 'bash', str(to_browser), str(from_browser), program, '--headless=new', '--no-sandbox',
             '--disable-gpu', '--no-first-run', '--disable-background-networking', '--disable-component-update',
             '--remote-debugging-pipe', f'--user-data-dir={profile}', 'about:blank'],
            pass_fds=(to_browser, from_browser), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            env={**os.environ, 'HOME': profile, 'TMPDIR': profile}, start_new_session=True)
        os.close(to_browser)
        os.close(from_browser)
        self.answers = os.fdopen(answers, 'rb', buffering=0)
        self.buffer = b''
        self.events = []
        self.number = 0
        self.session = None

    def call(self, method, **parameters):
        self.number += 1
        message = {'id': self.number, 'method': method, 'params': parameters}
        if self.session:
            message['sessionId'] = self.session
        os.write(self.requests, json.dumps(message).encode() + b'\0')
        while True:
            while b'\0' not in self.buffer:
                chunk = self.answers.read(65536)
                if not chunk:
                    raise EOFError('the browser ended')
                self.buffer += chunk
            text, self.buffer = self.buffer.split(b'\0', 1)
            answer = json.loads(text)
            if answer.get('id') == self.number:
                return answer['result']
            self.events.append(answer)

    def open(self, url):
        target = self.call('Target.createTarget', url='about:blank')['targetId']
        self.session = self.call('Target.attachToTarget', targetId=target, flatten=True)['sessionId']
        for domain in ('Runtime', 'Log', 'Network', 'Page'):
            self.call(f'{domain}.enable')
        self.call('Emulation.setDeviceMetricsOverride', width=1200, height=900, deviceScaleFactor=1, mobile=False)
        self.call('Page.navigate', url=url)

    def value(self, expression):
        return self.call('Runtime.evaluate', expression=expression, returnByValue=True)['result'].get('value')

    def wait(self, condition):
        """Until the JavaScript expression is true in the page."""
        expression = f'''new Promise((done) => {{
            const end = Date.now() + {PATIENCE_MS};
            const look = () => ({condition}) ? done(true) : Date.now() > end ? done(false) : setTimeout(look, 50);
            look();
        }})'''
        for _ in range(2):  # a navigation ends the first one
            answer = self.call('Runtime.evaluate', expression=expression, awaitPromise=True, returnByValue=True)
            if answer['result'].get('value') is True:
                return
        sys.exit(f'waited in vain for {condition}:\n{self.value("document.body.innerText")}')

    def end(self):
        os.killpg(self.process.pid, signal.SIGKILL)
        self.process.wait()


def look(browser, url):
    browser.open(url)
    browser.wait('document.getElementById("as-of")?.textContent === "live"')
    assert browser.value('location.pathname + location.search') == '/'
    browser.value('window.isSamePage = true')
    row = 'document.querySelector("[data-name=raid]")'
    browser.wait(f'{row}.dataset.state === "WARNING"')
    post('raid', 2, {'reason': 'md0 is degraded: 1 of 2 disks, sdb1 failed',
                     'metrics': {'disks': {'value': 1, 'critical': 2}}})
    browser.wait(f'{row}.dataset.state === "ERROR" && {row}.classList.contains("changed")')
    browser.wait('document.querySelector("#problems").textContent.includes("sdb1 failed")')
    title = browser.value('document.title')
    post('evil', 1, {'reason': HOSTILE, 'metrics': {HOSTILE: 1}, HOSTILE: HOSTILE})
    post('long', 1, {'reason': HOSTILE * 8192})  # a megabyte
    for name in ('evil', 'long'):
        browser.wait(f'document.querySelector("[data-name={name}]") !== null')
    assert browser.value('document.querySelectorAll("main script, img, main [onerror]").length') == 0
    assert browser.value('document.title') == title
    assert '\u202e' not in browser.value('document.body.textContent')
    assert browser.value('document.documentElement.outerHTML.length') < 300000
    assert browser.value('document.querySelectorAll(".reports > li").length') == 4  # and "fine"
    browser.value('document.querySelector(".pill.ERROR").click()')
    assert browser.value('document.querySelectorAll(".reports > li:not([hidden])").length') == 1
    assert browser.value('window.isSamePage') is True, 'it was loaded again'
    for event in browser.events:
        assert event['method'] not in ('Runtime.consoleAPICalled', 'Runtime.exceptionThrown', 'Log.entryAdded'), event
        if event['method'] == 'Network.requestWillBeSent':
            assert event['params']['request']['url'].startswith(url.split('?')[0]), event


def main():
    program = shutil.which('chromium')
    if program is None:
        sys.exit(77)
    post('raid', 1, {'reason': 'md0 resyncs'})
    post('fine', 0, {'reason': 'all is well', 'metrics': {'load': 0.5}})
    with tempfile.TemporaryDirectory(prefix='sentrel-browser-') as profile:
        browser = Browser(program, profile)
        try:
            browser.call('Browser.getVersion')
        except (EOFError, BrokenPipeError):
            browser.end()
            sys.exit(77)
        with subprocess.Popen([sys.argv[1], '--root', sys.argv[2], 'serve'], stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, text=True) as server:
            try:
                look(browser, server.stdout.readline().strip())
            finally:
                browser.end()
                server.send_signal(signal.SIGINT)
        assert server.returncode == 0, server.returncode


main()
