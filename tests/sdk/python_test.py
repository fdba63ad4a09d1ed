#!/usr/bin/python3
"""The Python library of plugins, against a real HTTP server and real settings files."""

import contextlib
import http.server
import io
import json
import os
import sys
import tempfile
import threading
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../sdk/python"))
import sentrel  # noqa: E402
from sentrel import Bad, Limits, Status  # noqa: E402


@contextlib.contextmanager
def intake(*statuses):
    """A server that answers the posts with these statuses; gives its URL and what was posted."""
    posts = []
    left = list(statuses)

    class Handler(http.server.BaseHTTPRequestHandler):
        def do_POST(self):
            body = self.rfile.read(int(self.headers["Content-Length"]))
            posts.append((self.path, self.headers["Content-Type"], json.loads(body)))
            self.send_response(left.pop(0))
            self.send_header("Content-Length", "0")
            self.end_headers()

        def log_message(self, *_):
            pass

    with http.server.HTTPServer(("127.0.0.1", 0), Handler) as server:
        thread = threading.Thread(target=server.serve_forever)
        thread.start()
        try:
            yield f"http://127.0.0.1:{server.server_port}", posts
        finally:
            server.shutdown()
            thread.join()


def run(check, url, root="", log_level="info"):
    """The exit status of a plugin below `root`, and what it wrote to standard error."""
    argv = [root + sentrel.PLUGIN_DIRECTORY + "demo", "++group=sentrel-plugins,mem=64", "-u", url]
    errors = io.StringIO()
    with contextlib.redirect_stderr(errors):
        status = sentrel.main(check, argv + ["--loglevel=" + log_level])
    return status, errors.getvalue()


class ReportTest(unittest.TestCase):
    def test_judges_by_limits(self):
        both = Limits(80, 90)
        low = Limits(10, 5)
        for value, limits, bad, status, reason in [
            (79.999, both, Bad.HIGH, Status.OK, "no problems found"),
            (80, both, Bad.HIGH, Status.WARNING, "use 80 % is at or above 80 %"),
            (90.5, both, Bad.HIGH, Status.ERROR, "use 90.5 % is at or above 90 %"),
            (10, low, Bad.LOW, Status.OK, "no problems found"),
            (4.004, low, Bad.LOW, Status.ERROR, "use 4 % is below 5 %"),
            (999, Limits(), Bad.HIGH, Status.OK, "no problems found"),
        ]:
            with self.subTest(value=value):
                report = sentrel.Report("demo")
                report.judge("use", "used", value, "%", limits, bad)
                self.assertEqual((report.status, report.reason), (status, reason))

    def test_puts_the_worst_first_and_writes_the_document(self):
        report = sentrel.Report("demo")
        report.summarize("not shown beside findings")
        report.find(Status.NONE, "d")
        report.find(Status.WARNING, "b")
        report.find(Status.ERROR, "a")
        report.find(Status.UNKNOWN, "c")
        report.add_metric("mounts", 4)
        report.add("disks", ["sda", "\ud800"])
        document = json.loads(report.document())
        self.assertEqual(document["structured"]["status"], 2)
        self.assertRegex(document["structured"]["time"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\+00:00$")
        self.assertEqual(
            document["unstructured"],
            {"reason": "a; b; c; d", "disks": ["sda", "?"], "metrics": {"mounts": {"value": 4}}},
        )
        with self.assertRaises(ValueError):
            report.add_metric("nothing", float("nan"))


class MainTest(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.root = directory.name
        os.makedirs(self.root + sentrel.SETTINGS_DIRECTORY)
        self.settings = self.root + sentrel.SETTINGS_DIRECTORY + "demo.json"

    def check(self, settings, report):
        limits = settings.limits("used", Limits(80, 90))
        self.ignored = settings.get_list("ignore")
        settings.refuse_unknown()
        report.judge("use", "used", 85, "%", limits)

    def test_posts_by_the_settings_of_its_host(self):
        with open(self.settings, "w", encoding="utf-8") as file:
            file.write('{"used": {"warning": 86}, /* a // comment */ "ignore": ["//x", "/*"] // end\n}')
        with intake(200) as (url, posts):
            self.assertEqual(run(self.check, url, self.root), (0, ""))
        path, content_type, document = posts[0]
        self.assertEqual((path, content_type), ("/demo", "application/json"))
        self.assertEqual(document["structured"]["status"], 0)
        self.assertEqual(document["unstructured"]["metrics"]["used"]["warning"], 86)
        self.assertEqual(self.ignored, ["//x", "/*"])

    def test_reports_settings_that_cannot_be_used(self):
        for text, fault in [
            ("{", "Expecting property name"),
            ("[]", "not a JSON object"),
            ('{"usd": 1}', 'unknown setting "usd"; known settings: used, ignore'),
            ('{"used": {"warning": "x"}}', '"used" must be an object with the numbers'),
            ('{"used": {"warning": true}}', '"used" must be an object with the numbers'),
            ('{"used": {"warning": 95}}', '"used" would be critical before it is a warning'),
            ('{"ignore": [1]}', '"ignore" must be a list of strings'),
            ("[" * 50000, self.settings),
        ]:
            with self.subTest(text=text[:20]), intake(200) as (url, posts):
                with open(self.settings, "w", encoding="utf-8") as file:
                    file.write(text)
                status, errors = run(self.check, url, self.root)
                self.assertEqual(status, 0)
                self.assertIn(fault, errors)
                self.assertEqual(posts[0][2]["structured"]["status"], Status.UNKNOWN)
                self.assertIn(fault, posts[0][2]["unstructured"]["reason"])

    def test_retries_what_may_pass(self):
        for statuses, expected, count in [((500, 200), 0, 2), ((500, 500), 1, 2), ((413,), 1, 1)]:
            with self.subTest(statuses=statuses), intake(*statuses) as (url, posts):
                status, errors = run(lambda settings, report: None, url)
                self.assertEqual((status, len(posts)), (expected, count))
                last = f"demo: the report is not stored: the intake answered {statuses[-1]}\n"
                self.assertEqual(errors, last if expected else "")

    def test_tells_a_wrong_command_line_and_a_missing_daemon(self):
        with contextlib.redirect_stderr(io.StringIO()) as errors:
            self.assertEqual(sentrel.main(self.check, ["demo", "-h"]), 2)
        self.assertIn("usage: PLUGIN", errors.getvalue())
        with self.assertRaises(sentrel.PostError) as raised:
            sentrel.post("ftp://x", "demo", b"{}")
        self.assertIn("expected http://HOST:PORT", str(raised.exception))


if __name__ == "__main__":
    unittest.main()
