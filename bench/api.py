"""The rows of the API: calls over a growing report directory, against their floor and against a file of the size of
the answer from nginx. See README.md."""

import collections
import json
import os

import process_stats
from results import Samples, api_table_text, calls_text, flatness_text, ratios_of
from servers import ApiFloor, BenchFailure, Daemon, Nginx, write_file

API_PORT = 9984
SIZES = (10, 100, 1000, 10000)  # names in the report directory
RING_FILES = 3
LARGE_ANSWERS = 50
SLICES = 3  # per round, so that targets alternate more often than the load on the machine changes
LIST = "com.korvex.oru.observability.reports.list"
GET = "com.korvex.oru.observability.reports.get"

ApiRow = collections.namedtuple("ApiRow", "name work names")


def api_rows():
    return [ApiRow("token-1", "token", 1)] + [ApiRow(f"{work}-{names}", work, names)
                                              for names in SIZES for work in ("brief", "full", "get")]


def name_of(number):
    return f"probe-{number:05}"


def unstructured_of(number):
    """What a check of the size of those that are shipped reports."""
    return {"message": f"{number} of 4 file systems are in use, none is nearly full", "metrics": {
        f"used /volume/{volume}": {"value": 10 + (number + volume) % 80, "unit": "%", "warning": 90, "critical": 97}
        for volume in range(4)}}


def report_text(number):
    report = {"structured": {"name": name_of(number), "time": "2025-01-01T00:00:00+00:00", "status": number % 3},
              "unstructured": unstructured_of(number)}
    return json.dumps(report)


def compact(value, sort_keys=False):
    return json.dumps(value, separators=(",", ":"), sort_keys=sort_keys)


def call_of(row):
    parameters = {"brief": {}, "token": {}, "full": {"detail": "FULL"}, "get": {"name": name_of(row.names // 2)}}
    return {"jsonrpc": "2.0", "id": 1, "method": GET if row.work == "get" else LIST, "params": parameters[row.work]}


def details_of(number):
    return {"status": ("OK", "WARNING", "ERROR")[number % 3],
            "unstructured": compact(unstructured_of(number), sort_keys=True)}


def result_of(row, modified):
    """What a call gives; `modified` is the time of the report files."""
    written = {"time": "2025-01-01T00:00:00.000Z"}
    if row.work == "get":
        return {**written, **details_of(row.names // 2)}
    if row.work == "full":
        return {"reports": [{"name": name_of(number), **written, **details_of(number)} for number in range(row.names)]}
    return {"reports": [{"name": name_of(number), "time": modified} for number in range(row.names)]}


class Store:
    """A report directory that grows: for each name a full ring, and a link to its newest file."""

    MODIFIED = 1735689600  # 2025-01-01T00:00:00Z

    def __init__(self, directory):
        self.directory = directory
        self.names = 0

    def grow(self, names):
        for number in range(self.names, names):
            path = os.path.join(self.directory, name_of(number))
            for slot in range(RING_FILES):
                with open(f"{path}-{slot}.json", "w", encoding="utf-8") as file:
                    file.write(report_text(number))
                os.utime(f"{path}-{slot}.json", (self.MODIFIED, self.MODIFIED))
            os.symlink(f"{path}-{number % RING_FILES}.json", path + ".json")
        self.names = names


class ApiBench:
    """Runs the rows for the targets of `bench`; what they write lies below its folder."""

    def __init__(self, bench, rows):
        self.bench = bench
        self.rows = rows
        self.targets = bench.options.targets
        self.folder = os.path.join(bench.folder, "api")
        os.makedirs(self.folder)
        self.daemon = Daemon(bench.program("sentrel"), self.folder)
        self.daemon.issue_token(bench.program("sentrelctl"))
        self.store = Store(self.daemon.reports)
        self.document = os.path.join(self.folder, "document")
        self.servers = {}
        self.bytes = {}  # of the response in each row
        self.results = collections.defaultdict(Samples)  # (row, target)

    def run(self, stack):
        """Returns the ratios of sentrel to the other targets; none if only system calls are counted."""
        options, calls = self.bench.options, []
        made = {"sentrel": lambda: self.daemon, "nginx": lambda: Nginx(self.folder),
                "floor": lambda: ApiFloor(self.bench.program("bench_api_floor"), self.folder, self.daemon)}
        for target in self.targets:
            server = self.servers[target] = made[target]()
            stack.callback(server.stop)
            server.start()
        for names in sorted({row.names for row in self.rows}):
            self.store.grow(names)
            rows = [row for row in self.rows if row.names == names]
            for row in rows:
                self.prepare(row)
            if not options.calls:
                self.run_rounds(rows)
            if options.calls or not options.quick:
                calls += self.count_calls(rows)
        if not options.calls:
            if "sentrel" in self.targets:
                self.measure_memory()
            print("\n" + api_table_text(self.rows, self.targets, self.results, self.bytes))
            print("\n" + flatness_text(self.rows, self.targets, self.results))
        for line in calls:
            print(line, flush=True)
        return {} if options.calls else ratios_of(self.rows, self.targets, self.results, "cpu", "server")

    def load(self, row, target, *others):
        server = self.servers[target]
        write_file(self.document, compact(call_of(row)))
        call = {"sentrel": lambda: ["--port", API_PORT, "--document", self.document,
                                    "--token-file", self.daemon.token_path],
                "floor": lambda: ["--port", server.port, "--document", self.document, "--token-file",
                                  self.daemon.token_path, "--path", f"/{row.work}/{self.bytes[row]}"],
                "nginx": lambda: ["--port", server.port, "--method", "GET", "--path", f"/{row.name}"]}
        return self.bench.run_program("bench_api_load", [*call[target](), "--bytes", self.bytes[row], *others])

    def prepare(self, row):
        """Finds out how long the answer of the row is; checks what the daemon answers, and lets nginx serve it."""
        expected = {"jsonrpc": "2.0", "id": 1, "result": result_of(row, "2025-01-01T00:00:00.000Z")}
        answer = compact(expected)
        self.bytes[row] = len(answer)
        if "sentrel" in self.targets:
            path = os.path.join(self.folder, "answer")
            self.load(row, "sentrel", "--calls", 1, "--answer", path)
            with open(path, encoding="utf-8") as file:
                given = json.load(file)
            given["result"].get("reports", []).sort(key=lambda report: report["name"])
            if given != expected:
                raise BenchFailure(f"sentrel answers {row.name} with {compact(given)[:300]}..., "
                                   f"not with {answer[:300]}...")
        if "nginx" in self.targets:
            write_file(os.path.join(self.servers["nginx"].files, row.name), answer)

    def run_rounds(self, rows):
        rounds = self.bench.options.rounds * SLICES
        milliseconds = self.bench.options.milliseconds // SLICES
        for number in range(rounds):
            for row in rows:
                self.bench.progress(f"round {number + 1} of {rounds}, row {row.name}")
                for target in self.targets:
                    server = self.servers[target]
                    cpu, waits = server.cpu_seconds(), server.waits()
                    result = self.load(row, target, "--milliseconds", milliseconds)
                    server.check_alive()
                    self.results[row, target].add(result, server.cpu_seconds() - cpu, server.waits_since(waits))
                    server.clear_log()
        self.bench.progress("")

    def count_calls(self, rows):
        """One line for each row and target."""
        lines = []
        for row in rows:
            calls = 5 if row.names > 1000 else 50
            for target, server in self.servers.items():
                result, path = self.bench.trace(server, lambda target=target: self.load(row, target, "--calls", calls))
                lines.append(f"{target} {row.name}: {calls_text(path, result['posts'])}")
        return lines

    def measure_memory(self):
        """Of large answers: what stays of them, and what one takes at its peak."""
        # The directory never shrinks, so only the largest is suitable.
        row = next((row for row in self.rows if row.work == "full" and row.names == self.store.names), None)
        if row is None:
            return
        self.daemon.stop()
        self.daemon.start()
        pid = self.daemon.process.pid
        self.prepare(ApiRow("get", "get", row.names))
        before = process_stats.memory_kib(pid)["Rss"]
        process_stats.forget_peak(pid)
        self.load(row, "sentrel", "--calls", 1)
        peak = process_stats.peak_kib(pid)
        self.load(row, "sentrel", "--calls", LARGE_ANSWERS - 3)  # each load starts with one that is not measured
        after = process_stats.memory_kib(pid)["Rss"]
        print(f"sentrel memory of {row.name} ({self.bytes[row] // 1024} KiB an answer): Rss {before} KiB before, at "
              f"most {peak} KiB within, {after} KiB after {LARGE_ANSWERS} answers", flush=True)
