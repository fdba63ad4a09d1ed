"""Starts and stops what is measured: the daemon on a root of its own, nginx that stores PUT bodies and serves
files, and the floor of the API.

Everything they write lies below the folder that they are given, which the caller makes and removes.
"""

import contextlib
import json
import os
import select
import shutil
import signal
import socket
import subprocess
import threading
import time

import process_stats

START_SECONDS = 10  # a server not ready after this time has failed
STOP_SECONDS = 10
LOG_TAIL_BYTES = 2000


class BenchFailure(Exception):
    """Its text tells the user what happened and what to do next."""


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def write_file(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


class Server:
    """A started process with a log; `load_arguments` make the load generator post to it."""

    def __init__(self, name, folder):
        self.name = name
        self.process = None
        self.log_path = os.path.join(folder, name + ".log")

    def spawn(self, command, environment=None):
        with open(self.log_path, "ab") as log:
            # In its own session, so that an interrupt ends only this program, which then stops the server.
            self.process = subprocess.Popen(command, env=environment, stdin=subprocess.DEVNULL, stdout=log,
                                            stderr=log, start_new_session=True)

    def pids(self):
        return [self.process.pid]

    def cpu_seconds(self):
        return sum(process_stats.cpu_seconds(pid) for pid in self.pids())

    def waits(self):
        """How often each of its threads has gone to sleep, for waits_since."""
        counts = {}
        for pid in self.pids():
            counts.update(process_stats.voluntary_switches(pid))
        return counts

    def waits_since(self, before):
        """By all threads together. What threads did that have ended meanwhile (idle ones do) is not known."""
        return sum(count - before.get(thread, 0) for thread, count in self.waits().items())

    def fail(self, what):
        with open(self.log_path, "rb") as log:
            log.seek(max(0, os.path.getsize(self.log_path) - LOG_TAIL_BYTES))
            tail = log.read().decode(errors="replace").strip()
        raise BenchFailure(f"{self.name} {what}. The end of its log:\n{tail or '(empty)'}")

    def check_alive(self):
        if self.process.poll() is not None:
            self.fail(f"has ended with status {self.process.returncode}")

    def wait_until(self, is_ready):
        deadline = time.monotonic() + START_SECONDS
        while not is_ready():
            self.check_alive()
            if time.monotonic() > deadline:
                self.fail(f"was not ready within {START_SECONDS} s")
            time.sleep(0.005)

    def accepts(self):
        try:
            with socket.create_connection(("127.0.0.1", self.port), 1):
                return True
        except OSError:
            return False

    def clear_log(self):
        """Empties what it logs requests to, if it does."""

    def stop(self):
        """Ends the server, by force if it must be. Returns its exit status, None when it was not running."""
        if self.process is None:
            return None
        self.process.send_signal(signal.SIGTERM)
        try:
            status = self.process.wait(STOP_SECONDS)
        except subprocess.TimeoutExpired:
            status = None
        finally:
            try:
                os.killpg(self.process.pid, signal.SIGKILL)  # its process group may outlive it
            except ProcessLookupError:
                pass
            self.process.wait()
            self.process = None
        if status is None:
            self.fail(f"did not end {STOP_SECONDS} s after SIGTERM and was killed")
        return status


class Daemon(Server):
    """Default settings but for the port; its log goes to a file."""

    def __init__(self, binary, folder):
        super().__init__("sentrel", folder)
        self.binary = binary
        self.root = os.path.join(folder, "root")
        self.reports = os.path.join(folder, "reports")
        self.notify_path = os.path.join(folder, "notify")
        self.notify = None
        self.status_reader = None
        self.token_path = os.path.join(folder, "token")
        self.jwks_path = os.path.join(self.root, "etc/korvex/oru/token/jwks.json")
        self.port = free_port()
        os.makedirs(self.reports)
        write_file(os.path.join(self.root, "etc/korvex/tabulon/oru/health/sentrel.json"),
                   json.dumps({"http_port": self.port, "plugin_resource_pool_size_MB": 64}))
        os.makedirs(os.path.join(self.root, "usr/lib/korvex/sentrel/plugins/bin"))  # empty: no plugins to launch
        metadata = os.path.join(os.path.dirname(binary), "../observability_quon_metadata.json")
        if not os.path.exists(metadata):
            raise BenchFailure(f"{metadata} is missing; run ./dev bench, which builds it first")
        os.makedirs(os.path.join(self.root, "usr/lib/korvex/quon"))
        shutil.copy(metadata, os.path.join(self.root, "usr/lib/korvex/quon"))
        self.load_arguments = ["--port", str(self.port)]

    def start(self):
        """Returns the seconds from just before the fork until it listens."""
        self.notify = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.notify.bind(self.notify_path)
        before = time.monotonic()
        self.spawn([self.binary, "-r", self.reports],
                   {"SENTREL_ROOT": self.root, "NOTIFY_SOCKET": self.notify_path})
        self._wait_until_ready()
        seconds = time.monotonic() - before
        self.status_reader = threading.Thread(target=self._read_status, args=(os.pidfd_open(self.process.pid),))
        self.status_reader.start()
        with socket.create_connection(("127.0.0.1", self.port), START_SECONDS):
            return seconds

    def _wait_until_ready(self):
        ended = os.pidfd_open(self.process.pid)
        try:
            while True:
                ready, _, _ = select.select([self.notify, ended], [], [], START_SECONDS)
                if self.notify in ready:
                    if b"READY=1" in self.notify.recv(4096).split(b"\n"):
                        return
                elif ended in ready:
                    self.check_alive()
                else:
                    self.fail(f"did not say that it is ready within {START_SECONDS} s")
        finally:
            os.close(ended)

    def _read_status(self, ended):
        """Reads what the daemon says of its status, as a service manager does, until it ends: a full socket is an error."""
        while ended not in (ready := select.select([self.notify, ended], [], [])[0]):
            for notify in ready:
                notify.recv(4096)
        os.close(ended)

    def stop(self):
        try:
            status = super().stop()
        finally:
            if self.status_reader is not None:
                self.status_reader.join()
                self.status_reader = None
            if self.notify is not None:
                self.notify.close()
                os.unlink(self.notify_path)
                self.notify = None
        if status not in (0, None):
            self.fail(f"ended with status {status} after SIGTERM")
        return status

    def issue_token(self, control):
        """Gives the root a signing key, and makes a token that may read reports. `control` is the operator's tool."""
        environment = {"SENTREL_ROOT": self.root}

        def token(*arguments):
            done = subprocess.run([control, "token", *arguments], env=environment, check=False, capture_output=True,
                                  text=True, timeout=STOP_SECONDS)
            if done.returncode != 0:
                raise BenchFailure(f"{control} token {' '.join(arguments)} failed: {done.stderr}")
            return done.stdout

        token("init")
        write_file(self.token_path,
                   token("issue", "--subject", "bench", "--entitlement", "observability.reports.read", "--ttl", "1h"))

    def clear_log(self):
        """Empties the logs. Raises BenchFailure when a failure stands in the daemon's."""
        with contextlib.suppress(FileNotFoundError):
            os.truncate(os.path.join(self.root, "var/log/korvex/audit.jsonl"), 0)
        with open(self.log_path, "r+b") as log:
            for line in log:
                if line[24:27] == b" 3 ":
                    raise BenchFailure(f"sentrel logged a failure under load: {line.decode(errors='replace').strip()}")
            log.truncate(0)

    def check_stored(self, path, body):
        """The newest report of the name is there and whole."""
        link = os.path.join(self.reports, path + "0.json")
        if not os.path.islink(link) or os.path.getsize(link) != body:
            raise BenchFailure(f"{link} is no link to a report of {body} bytes, though posts of it were answered with 200")


class Nginx(Server):
    """Two workers; stores what is PUT as files and serves them, and logs each request as the daemon does."""

    CONFIGURATION = """
daemon off;
user root;
worker_processes 2;
pid {folder}/nginx.pid;
error_log {folder}/nginx-error.log;
events {{ worker_connections 1024; }}
http {{
    access_log {folder}/nginx-access.log;
    sendfile on;
    client_body_temp_path {folder}/nginx-body;
    proxy_temp_path {folder}/nginx-proxy;
    fastcgi_temp_path {folder}/nginx-fastcgi;
    uwsgi_temp_path {folder}/nginx-uwsgi;
    scgi_temp_path {folder}/nginx-scgi;
    client_max_body_size 1m;
    client_body_buffer_size {body_buffer};
    keepalive_requests 1000000000;
    keepalive_timeout 300s;
    server {{
        listen 127.0.0.1:{port};
        root {folder}/nginx-files;
        dav_methods PUT;
    }}
}}
"""
    BODY_BUFFER = "1m"  # nginx was the fastest with this one of 16k, 64k and 1m

    def __init__(self, folder):
        super().__init__("nginx", folder)
        self.binary = shutil.which("nginx") or shutil.which("nginx", path="/usr/sbin:/usr/local/sbin")
        if self.binary is None:
            raise BenchFailure("nginx is not installed; run ./dev bench, which fetches it, or leave it out with "
                               "--targets sentrel,floor")
        self.folder = folder
        self.files = os.path.join(folder, "nginx-files")
        self.port = free_port()
        self.workers = []
        os.makedirs(self.files)
        self.configuration = os.path.join(folder, "nginx.conf")
        write_file(self.configuration,
                   self.CONFIGURATION.format(folder=folder, port=self.port, body_buffer=self.BODY_BUFFER))
        # The first PUT of a file is answered with 201, later ones with 204.
        self.load_arguments = ["--port", str(self.port), "--method", "PUT", "--expect", "201,204"]

    def start(self):
        self.spawn([self.binary, "-p", self.folder, "-c", self.configuration, "-e", self.log_path])
        self.wait_until(lambda: len(process_stats.children(self.process.pid)) == 2 and self.accepts())
        self.workers = process_stats.children(self.process.pid)

    def pids(self):
        return self.workers

    def clear_log(self):
        os.truncate(os.path.join(self.folder, "nginx-access.log"), 0)

    def check_stored(self, path, body):
        file = os.path.join(self.files, path + "0")
        if os.path.getsize(file) != body:
            raise BenchFailure(f"{file} does not hold {body} bytes, though PUTs of it were answered with 204")


class ApiFloor(Server):
    """Does the least that the API calls take, and answers with a body of the wanted size."""

    def __init__(self, binary, folder, daemon):
        super().__init__("floor", folder)
        self.port = free_port()
        self.command = [binary, "--port", str(self.port), "--directory", daemon.reports,
                        "--jwks", daemon.jwks_path, "--token-file", daemon.token_path]

    def start(self):
        self.spawn(self.command)
        self.wait_until(self.accepts)
