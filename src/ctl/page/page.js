// Filters and sorts the reports, opens everything for print, and takes changes in where the page is served live. The
// page reads completely without it.
"use strict";
(() => {
    const list = document.querySelector(".reports");
    const search = document.querySelector(".pills input");
    const heads = document.querySelector(".heads");
    const empty = document.getElementById("empty");
    let order = "";
    let descending = false;

    const rows = () => Array.from(list.children);
    const pills = () => Array.from(document.querySelectorAll(".pill"));

    function filter() {
        const states = pills().filter((pill) => pill.getAttribute("aria-pressed") === "true").map((pill) => pill.dataset.state);
        const text = search.value.toLowerCase();
        let shown = 0;
        for (const row of rows()) {
            const matches = (states.length === 0 || states.includes(row.dataset.state)) &&
                row.querySelector("summary").textContent.toLowerCase().includes(text);
            row.hidden = !matches;
            shown += matches ? 1 : 0;
        }
        empty.hidden = shown > 0;
    }

    function compare(left, right) {
        if (order === "" || order === "name" || order === "reason") {
            const key = (row) => order === "reason" ? row.querySelector(".reason").textContent : row.dataset.name;
            const rank = order === "" ? left.dataset.rank - right.dataset.rank : 0;
            return rank || key(left).localeCompare(key(right));
        }
        return left.dataset[order] - right.dataset[order] || left.dataset.name.localeCompare(right.dataset.name);
    }

    function sort() {
        const sorted = rows().sort((left, right) => (descending ? -1 : 1) * compare(left, right));
        list.append(...sorted);
    }

    document.addEventListener("click", (event) => {
        const pill = event.target.closest(".pill");
        if (pill) {
            pill.setAttribute("aria-pressed", pill.getAttribute("aria-pressed") === "true" ? "false" : "true");
            filter();
        }
        const head = event.target.closest(".heads button");
        if (head) {
            descending = order === head.dataset.key && !descending;
            order = head.dataset.key;
            for (const other of heads.children) {
                other.removeAttribute("aria-sort");
            }
            head.setAttribute("aria-sort", descending ? "descending" : "ascending");
            sort();
        }
    });
    search.addEventListener("input", filter);
    search.hidden = false;

    let closed = [];
    addEventListener("beforeprint", () => {
        closed = Array.from(document.querySelectorAll("details:not([open])"));
        closed.forEach((details) => { details.open = true; });
    });
    addEventListener("afterprint", () => closed.forEach((details) => { details.open = false; }));

    // The parts of an update are HTML that the server has escaped: whole rows by name, and sections by their id.
    function takeIn(update) {
        for (const [id, html] of Object.entries(update.sections)) {
            const pressed = pills().filter((pill) => pill.getAttribute("aria-pressed") === "true").map((pill) => pill.dataset.state);
            document.getElementById(id).innerHTML = html;
            pills().filter((pill) => pressed.includes(pill.dataset.state)).forEach((pill) => pill.setAttribute("aria-pressed", "true"));
        }
        for (const [name, html] of Object.entries(update.rows)) {
            const old = rows().find((row) => row.dataset.name === name);
            if (html === "") {
                old?.remove();
                continue;
            }
            const holder = document.createElement("ul");
            holder.innerHTML = html;
            const row = holder.firstElementChild;
            if (old) {
                row.querySelector("details").open = old.querySelector("details").open;
                if (old.dataset.state !== row.dataset.state) {
                    row.classList.add("changed");
                    setTimeout(() => row.classList.remove("changed"), 5000);
                }
                old.replaceWith(row);
            } else {
                list.append(row);
            }
        }
        sort();
        filter();
        count();
    }

    // Ages count up and next launches down; nothing else moves on its own.
    const begins = new WeakMap();

    function durationText(seconds) {
        const units = [[86400, " d"], [3600, " h"], [60, " min"], [1, " s"]];
        const largest = units.findIndex(([size]) => seconds >= size);
        let left = seconds;
        const parts = units.slice(largest, largest + 2).map(([size, name]) => {
            const count = Math.floor(left / size);
            left %= size;
            return count === 0 ? "" : count + name;
        });
        return parts.filter((part) => part !== "").join(" ") || "0 s";
    }

    function count() {
        for (const element of document.querySelectorAll("[data-seconds]")) {
            if (!begins.has(element)) {
                begins.set(element, Date.now());
            }
            const passed = Math.floor((Date.now() - begins.get(element)) / 1000);
            const text = durationText(Math.max(Number(element.dataset.seconds) + passed * element.dataset.step, 0));
            if (element.textContent !== text) {
                element.textContent = text;
            }
        }
    }

    if (document.body.dataset.events) {
        count();
        setInterval(count, 1000);
        const asOf = document.getElementById("as-of");
        const source = new EventSource(document.body.dataset.events);
        source.addEventListener("open", () => { asOf.textContent = "live"; });
        source.addEventListener("error", () => {
            asOf.textContent = "connection lost at " + new Date().toISOString().slice(11, 19) + "Z";
        });
        source.addEventListener("update", (event) => takeIn(JSON.parse(event.data)));
    }
})();
