#!/usr/bin/env python3
"""A real Prometheus collects what `sentrelctl metrics` prints; every query of the Grafana dashboard finds something there,
and the console shows it.

Usage: server_test.py SENTRELCTL BUILD, where prometheus is below BUILD or in PATH. Ends with 77, which counts as
skipped, where it is not. Runs itself in a network namespace, so its ports are free and nobody else reaches them.
"""

import http.server
import json
import os
import pathlib
import queue
import re
import shutil
import subprocess
import sys
import tempfile
import threading
import urllib.parse
import urllib.request

SHIPPED = pathlib.Path(__file__).resolve().parents[2] / "dist/prometheus"
SERVER = "http://127.0.0.1:9090"
HOST = "host1"
REPORTS = {"cpu": (0, {}), "disk": (2, {"reason": '<b>"full" & so on', "metrics": {
    "free": {"value": 3, "unit": "%", "warning": 10, "critical": 5}}}), "quiet": (1, {})}
DAEMON = """sentrel_up 1
sentrel_posts_total{outcome="stored"} 5
sentrel_launches_total{outcome="started"} 5
sentrel_kills_total{cause="time"} 1
sentrel_api_calls_total{outcome="succeeded"} 1
sentrel_plugin_next_launch_timestamp_seconds{plugin="disk"} 4e9
sentrel_plugin_last_run_timestamp_seconds{plugin="disk"} 1.7e9
sentrel_plugin_last_run_duration_seconds{plugin="disk"} 0.5
sentrel_report_silenced{report="quiet"} 1
"""


def metrics(tool, folder):
    reports = folder / "var/lib/korvex/sentrel/reports"
    reports.mkdir(parents=True)
    for name, (status, unstructured) in REPORTS.items():
        structured = {"name": name, "time": "2024-03-05T14:07:09Z", "status": status}
        (reports / f"{name}-0.json").write_text(json.dumps({"structured": structured, "unstructured": unstructured}))
        (reports / f"{name}.json").symlink_to(reports / f"{name}-0.json")
    run = subprocess.run([tool, "metrics", "--offline", "--root", folder], check=True, capture_output=True, text=True)
    return "".join(line for line in run.stdout.splitlines(True) if "sentrel_up" not in line) + DAEMON


def serve(text):
    """A node exporter's place. Returns the queue that gets an item for each scrape."""
    scrapes = queue.Queue()

    class Handler(http.server.BaseHTTPRequestHandler):
        def do_GET(self):
            self.send_response(200)
            self.send_header("Content-Type", "text/plain; version=0.0.4")
            self.end_headers()
            self.wfile.write(text.encode())
            scrapes.put(self.path)

        def log_message(self, *_):
            pass

    server = http.server.ThreadingHTTPServer(("127.0.0.1", 9100), Handler)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return scrapes


def get(path):
    with urllib.request.build_opener(urllib.request.ProxyHandler({})).open(SERVER + path, timeout=30) as answer:
        return answer.read().decode()


def ask(expression):
    return json.loads(get("/api/v1/query?" + urllib.parse.urlencode({"query": expression})))["data"]["result"]


def dashboard_queries():
    for panel in json.loads((SHIPPED / "grafana.json").read_text())["panels"]:
        for target in panel.get("targets", []):
            yield panel["title"], target["expr"].replace("$instance", HOST).replace("$report", ".+")


def check(scrapes):
    # The rules have been evaluated, and a rate has its two samples.
    while scrapes.get(timeout=30) and not ask("sentrel_report_state:unsilenced and on () rate(sentrel_posts_total[1m])"):
        pass
    silent = [f"{title}: {expression}" for title, expression in dashboard_queries() if not ask(expression)]
    assert not silent, "these queries of the dashboard find nothing:\n" + "\n".join(silent)

    overview = get("/consoles/sentrel.html")
    assert f'<a href="?instance={HOST}">' in overview and 'class="ERROR">ERROR' in overview, overview
    assert "quiet" not in overview, "a silenced report is among those that are not OK:\n" + overview
    host = get(f"/consoles/sentrel.html?instance={HOST}")
    assert re.search(r'<td>quiet\s*<td class="WARNING">WARNING \(silenced\)', host), host
    assert "&lt;b&gt;" in host and "<b>" not in host, "a reason is not escaped:\n" + host


def main(tool, build):
    os.environ["PATH"] += f":{build}/promtool/usr/bin"
    if not shutil.which("prometheus"):
        print("prometheus is missing; ./dev test --all fetches it.", file=sys.stderr)
        return 77
    if "SENTREL_TEST_INSIDE" not in os.environ:
        os.environ["SENTREL_TEST_INSIDE"] = "1"
        os.execvp("unshare", ["unshare", "--map-root-user", "--net", sys.executable, *sys.argv])
    subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
    with tempfile.TemporaryDirectory(prefix="sentrel-prometheus-") as name:
        base = pathlib.Path(name)
        scrapes = serve(metrics(tool, base / "root"))
        (base / "prometheus.json").write_text(json.dumps({
            "global": {"scrape_interval": "1s", "evaluation_interval": "1s"},
            "rule_files": [str(SHIPPED / "sentrel.rules.yml")],
            "scrape_configs": [{"job_name": "node", "static_configs": [
                {"targets": ["127.0.0.1:9100"], "labels": {"instance": HOST}}]}]}))
        with open(base / "log", "wb") as log, subprocess.Popen(
                ["prometheus", f"--config.file={base}/prometheus.json", f"--storage.tsdb.path={base}/data",
                 "--web.listen-address=127.0.0.1:9090", f"--web.console.templates={SHIPPED}/consoles"],
                stdout=log, stderr=log) as server:
            try:
                check(scrapes)
            except (OSError, queue.Empty):
                print((base / "log").read_text(), file=sys.stderr)
                raise
            finally:
                server.terminate()
    return 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1]).resolve(), sys.argv[2]))
