#!/usr/bin/env python3
"""The shipped hooks deliver: a report that becomes ERROR arrives as a mail at an SMTP server, and as JSON at a web server.

Usage: delivery_test.py SENTREL_NOTIFY. Ends with 77, which counts as skipped, without root, jq, curl or msmtp. Runs itself
in namespaces, where sendmail is msmtp with a configuration of its own and nobody else reaches the servers' ports.
"""

import http.server
import json
import os
import pathlib
import queue
import shutil
import socketserver
import subprocess
import sys
import tempfile
import threading

HOOKS = pathlib.Path(__file__).resolve().parents[2] / "dist/notify"
REASON = 'space free on /srv "data" 1 %\nis below 5 %'


def serve(arrived):
    """Starts the SMTP server on port 25 and the web server on port 80."""

    class Mail(socketserver.StreamRequestHandler):
        def handle(self):
            self.wfile.write(b"220 test\r\n")
            for line in self.rfile:
                if line.startswith(b"DATA"):
                    self.wfile.write(b"354 go on\r\n")
                    arrived.put(("mail", b"".join(iter(self.rfile.readline, b".\r\n")).decode()))
                self.wfile.write(b"250 ok\r\n")

    class Web(http.server.BaseHTTPRequestHandler):
        def do_POST(self):
            arrived.put(("web", self.rfile.read(int(self.headers["Content-Length"])).decode()))
            self.send_response(204)
            self.end_headers()

        def log_message(self, *_):
            pass

    for server in (socketserver.ThreadingTCPServer(("127.0.0.1", 25), Mail),
                   http.server.ThreadingHTTPServer(("127.0.0.1", 80), Web)):
        threading.Thread(target=server.serve_forever, daemon=True).start()


def prepare(root):
    """A host with one report that is ERROR and both hooks."""
    hooks, reports = root / "etc/korvex/sentrel/notify.d", root / "var/lib/korvex/sentrel/reports"
    for folder in (hooks, reports, root / "var/lib/korvex/sentrel-notify"):
        folder.mkdir(parents=True)
    (root / "etc/korvex/sentrel/notify.json").write_text('{"settle_time_in_secs": 0}')
    for name in ("mail", "webhook"):
        text = (HOOKS / name).read_text().replace("https://example.org/hook", "http://127.0.0.1/hook")
        (hooks / name).write_text(text)
        (hooks / name).chmod(0o755)
    (reports / "disk-0.json").write_text(json.dumps({
        "structured": {"name": "disk", "time": "2024-03-05T14:07:09Z", "status": 2}, "unstructured": {"reason": REASON}}))
    (reports / "disk.json").symlink_to(reports / "disk-0.json")


def check(program, base):
    prepare(base / "root")
    arrived = queue.Queue()
    serve(arrived)
    environment = {"PATH": os.environ["PATH"], "SENTREL_ROOT": str(base / "root")}
    with subprocess.Popen([program], env=environment) as notifier:
        try:
            texts = dict(arrived.get(timeout=60) for _ in range(2))
        finally:
            notifier.terminate()
    assert notifier.returncode == 0, notifier.returncode
    change = json.loads(texts["web"])
    assert (change["name"], change["state"], change["reason"]) == ("disk", "ERROR", REASON), change
    head, _, body = texts["mail"].replace("\r\n", "\n").partition("\n\n")
    assert f"Subject: {change['host']}: disk ERROR\n" in head, head
    assert REASON.replace("\n", " ") in body, body
    assert json.loads((base / "root/var/lib/korvex/sentrel-notify/told.json").read_text())["disk"]["state"] == "ERROR"


def main(program):
    if os.geteuid() != 0 or not all(map(shutil.which, ("jq", "curl", "msmtp"))):
        print("needs root, jq, curl and msmtp", file=sys.stderr)
        return 77
    if "SENTREL_TEST_INSIDE" not in os.environ:
        os.environ["SENTREL_TEST_INSIDE"] = "1"
        os.execvp("unshare", ["unshare", "--mount", "--net", sys.executable, *sys.argv])
    subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
    with tempfile.TemporaryDirectory(prefix="sentrel-delivery-") as name:
        base = pathlib.Path(name)
        (base / "etc").mkdir()
        (base / "etc/msmtprc").write_text("account default\nhost 127.0.0.1\nfrom sentrel@localhost\n")
        (base / "sbin").mkdir()
        (base / "sbin/sendmail").symlink_to(shutil.which("msmtp"))
        overlays = {"/etc": base / "etc", "/usr/sbin": base / "sbin"}
        for below, above in overlays.items():
            work = base / f"work-{above.name}"
            work.mkdir()
            options = f"lowerdir={below},upperdir={above},workdir={work}"
            subprocess.run(["mount", "-t", "overlay", "-o", options, "none", below], check=True)
        try:
            check(program, base)
        finally:
            subprocess.run(["umount", *overlays], check=True)
    return 0


if __name__ == "__main__":
    sys.exit(main(os.path.abspath(sys.argv[1])))
