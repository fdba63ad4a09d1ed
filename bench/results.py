"""What the rounds of a bench gave, and how it is printed: one line a row."""

import statistics

WIDTH = 8  # of a figure


class Samples:
    """What the rounds of one row gave for one target."""

    def __init__(self):
        self.rounds = []
        self.server_cpu = 0.0  # seconds
        self.waits = 0

    def add(self, result, server_cpu, waits):
        self.rounds.append(result)
        self.server_cpu += server_cpu
        self.waits += waits

    def median(self, key):
        return statistics.median(result[key] for result in self.rounds)

    def posts(self):
        return sum(result["posts"] for result in self.rounds)

    def cpu_per_post(self):
        """Of the server, in microseconds."""
        return self.server_cpu * 1e6 / self.posts()

    def waits_per_post(self):
        return self.waits / self.posts()


def table_text(rows, targets, results):
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
    groups = [group for group in groups if group[1]]
    lines = [f"{'':10}" + " ".join(f"|{title:^{WIDTH * len(names)}}" for title, names, _ in groups),
             f"{'row':10}" + " ".join("|" + align(names) for _, names, _ in groups)]
    for row in rows:
        lines.append(f"{row.name:10}" + " ".join("|" + align(cells(row)) for _, _, cells in groups))
    return "\n".join(lines)


def align(cells):
    return "".join(f"{cell:>{WIDTH}}" for cell in cells)


def calls_text(path, posts):
    """One line from the table that strace -c wrote: all system calls a post, and each that is no rarity."""
    counts = {}
    with open(path, encoding="ascii") as table:
        for line in table:
            words = line.split()
            if len(words) >= 5 and words[3].isdigit() and words[-1] != "total":
                counts[words[-1]] = int(words[3]) / posts
    calls = ", ".join(f"{name} {count:.2f}" for name, count in sorted(counts.items(), key=lambda item: -item[1])
                      if count >= 0.02)
    return f"{sum(counts.values()):.1f} system calls a post: {calls}"
