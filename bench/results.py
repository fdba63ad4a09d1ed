"""What the rounds of a bench gave, and how it is printed: one line a row."""

import statistics

WIDTH = 8  # of a column
KEPT_TOLERANCE = 0.1  # less is noise on a machine that has other things to do


class Samples:
    """What the rounds of one row gave for one target."""

    def __init__(self):
        self.rounds = []
        self.server_cpu = 0.0  # seconds
        self.waits = 0

    def add(self, result, server_cpu, waits):
        self.rounds.append({**result, "server": server_cpu * 1e6 / result["posts"]})
        self.server_cpu += server_cpu
        self.waits += waits

    def ratio(self, other, key):
        """Of a figure to that of another target, round by round, so that what disturbed a round disturbed both."""
        return statistics.median(mine[key] / theirs[key] for mine, theirs in zip(self.rounds, other.rounds))

    def median(self, key):
        return statistics.median(result[key] for result in self.rounds)

    def posts(self):
        return sum(result["posts"] for result in self.rounds)

    def cpu_per_post(self):
        """Of the server, in microseconds."""
        return self.server_cpu * 1e6 / self.posts()

    def waits_per_post(self):
        return self.waits / self.posts()


def intake_table_text(rows, targets, results):
    """Each figure for the targets in order. `results` holds the Samples of each (row, target)."""
    servers = [target for target in targets if target != "floor"]
    others = [target for target in targets if target != "sentrel"] if "sentrel" in targets else []

    def medians(key, form):
        return lambda row: [form.format(results[row, target].median(key)) for target in targets]

    def ratios(row):
        rate = results[row, "sentrel"].median("rate")
        return [f"{rate / results[row, target].median('rate'):.2f}" for target in others]

    groups = [
        ("posts/s", targets, medians("rate", "{:.0f}")),
        ("rate ratio", ["/" + target for target in others], ratios),
        ("p50 us", targets, medians("p50", "{:.0f}")),
        ("p99 us", targets, medians("p99", "{:.0f}")),
        ("cpu us/post", targets, lambda row: [f"{results[row, target].cpu_per_post():.1f}" for target in targets]),
        ("waits/post", servers, lambda row: [f"{results[row, target].waits_per_post():.2f}" for target in servers]),
    ]
    return table_text(rows, groups)


def ratios_of(rows, targets, results, figure, key):
    """{"ROW FIGURE/TARGET": the figure (a key of the results) of sentrel divided by that of the other target}"""
    others = [target for target in targets if target != "sentrel"] if "sentrel" in targets else []
    return {f"{row.name} {figure}/{other}": results[row, "sentrel"].ratio(results[row, other], key)
            for row in rows for other in others}


def comparison_text(ratios, kept):
    """Which ratios differ by more than KEPT_TOLERANCE from the kept ones."""
    changed = [f"  {name:24} {ratios[name]:6.2f}, kept {kept[name]:6.2f}" for name in ratios
               if name in kept and abs(ratios[name] - kept[name]) > KEPT_TOLERANCE * kept[name]]
    count = len(ratios.keys() & kept.keys())
    return "\n".join([f"{count - len(changed)} of {count} ratios are within {KEPT_TOLERANCE:.0%} of the kept ones", *changed])


def table_text(rows, groups):
    """Each group is a title, the names of its columns, and what gives their cells for a row."""
    groups = [group for group in groups if group[1]]
    lines = [f"{'':12}" + " ".join(f"|{title:^{WIDTH * len(names)}}" for title, names, _ in groups),
             f"{'row':12}" + " ".join("|" + align(names) for _, names, _ in groups)]
    for row in rows:
        lines.append(f"{row.name:12}" + " ".join("|" + align(cells(row)) for _, _, cells in groups))
    return "\n".join(lines)


def align(cells):
    return "".join(f"{cell:>{WIDTH}}" for cell in cells)


def calls_text(path, requests):
    """One line from the table that strace -c wrote: all system calls a request, and each that is no rarity."""
    counts = {}
    with open(path, encoding="ascii") as table:
        for line in table:
            words = line.split()
            if len(words) >= 5 and words[3].isdigit() and words[-1] != "total":
                counts[words[-1]] = int(words[3]) / requests
    calls = ", ".join(f"{name} {count:.2f}" for name, count in sorted(counts.items(), key=lambda item: -item[1])
                      if count >= 0.02)
    return f"{sum(counts.values()):.1f} system calls a request: {calls}"


# The maximum processor time of a call, in multiples of the floor's; for listings from AIM_NAMES names on.
AIMS = {"brief": 1.25, "get": 1.1, "full": 1.05, "token": 1.2}
AIM_NAMES = 100
FLAT_AIM = 1.2  # the time per name with the most names, relative to a tenth of them


def api_table_text(rows, targets, results, sizes):
    """As intake_table_text; `sizes` holds the bytes of the answer of each row."""
    def figures(key):
        return lambda row: [f"{results[row, target].median(key):.0f}" for target in targets]

    def ratios(key):
        return lambda row: [f"{results[row, 'sentrel'].ratio(results[row, other], key):.2f}" for other in others]

    def aim(row):
        if row.work not in AIMS or 1 < row.names < AIM_NAMES:
            return ["-", "-"]
        is_met = results[row, "sentrel"].ratio(results[row, "floor"], "server") <= AIMS[row.work]
        return [f"{AIMS[row.work]:.2f}", "met" if is_met else "missed"]

    has_both = {"sentrel", "floor"} <= set(targets)
    others = [target for target in targets if target != "sentrel"] if "sentrel" in targets else []
    return table_text(rows, [
        ("KiB", ["answer"], lambda row: [f"{sizes[row] / 1024:.1f}"]),
        ("cpu us/call", targets, figures("server")),
        ("cpu ratio", ["/" + other for other in others], ratios("server")),
        ("aim", ["/floor", ""] if has_both else [], aim),
        ("p50 us", targets, figures("p50")),
        ("p50 ratio", ["/" + other for other in others], ratios("p50")),
        ("p99 us", targets, figures("p99")),
    ])


def flatness_text(rows, targets, results):
    """What a name costs in lists of each length, by work and target."""
    lines = []
    for work in ("brief", "full"):
        for target in [target for target in targets if target != "nginx"]:  # it serves a file of any length
            costs = {row.names: results[row, target].median("server") / row.names for row in rows if row.work == work}
            text = ", ".join(f"{cost:.2f} of {names}" for names, cost in costs.items())
            most = max(costs, default=0)
            if most // 10 in costs:
                ratio = costs[most] / costs[most // 10]
                text += f"; {ratio:.2f} times as much among {most} as among {most // 10}"
                text += f" (aim {FLAT_AIM}: {'met' if ratio <= FLAT_AIM else 'missed'})" if target == "sentrel" else ""
            if costs:
                lines.append(f"{target} {work}, cpu us a name: {text}")
    return "\n".join(lines)
