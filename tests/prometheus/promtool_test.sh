#!/usr/bin/env bash
# What `sentrelctl metrics` prints of reports that are hard on a text format passes the judgement of Prometheus itself:
# syntax and lint by promtool, which does not look for a series that is told twice. So do the rules that are shipped, with
# their unit tests. Usage: promtool_test.sh SENTRELCTL BUILD, where promtool and amtool are below BUILD or in PATH. Ends
# with 77, which counts as skipped, where they are not.
set -euo pipefail

readonly tool=$1
export PATH=$PATH:$2/promtool/usr/bin:$2/amtool/usr/bin
if ! command -v promtool amtool >/dev/null; then
    echo 'promtool or amtool is missing; ./dev test --all fetches them.' >&2
    exit 77
fi
folder=$(mktemp -d "${TMPDIR:-/tmp}/sentrel-promtool-XXXXXX")
readonly folder reports=$folder/var/lib/korvex/sentrel/reports
trap 'rm -rf -- "$folder"' EXIT
mkdir -p "$reports"

fail() {
    printf 'promtool_test: %s\n' "$1" >&2
    exit 1
}

# store NAME STATUS UNSTRUCTURED
store() {
    local name=${1//\\/\\\\}
    printf '{"structured":{"name":"%s","time":"2024-03-05T14:07:09Z","status":%s},"unstructured":%s}' \
        "${name//\"/\\\"}" "$2" "$3" >"$reports/$1-0.json"
    ln -s "$reports/$1-0.json" "$reports/$1.json"
}

metrics() {
    "$tool" metrics --offline --root "$folder"
}

metrics | promtool check metrics || fail 'promtool refuses the metrics of a host without reports'
store '{le="\1"} # EOF' 0 '{"metrics":{"NaN":1,"+Inf":2,"":3}}'
store 'é,=x' 2 '{"metrics":{"quote\"back\\slash\nline\u0000\u007f\u2028":-0.0,"é,}=":0.1}}'
store numbers 7 '{"metrics":{"big":1e308,"tiny":5e-324,"int":-9223372036854775808,"uint":18446744073709551615,"same":1,
    "same":2,"text":"1","none":null,"limits":{"value":1,"unit":"%\"}\n","warning":1e21,"critical":-1e-7}}}'
store beyond 1 '{"metrics":{"huge":1e999}}' # no JSON that can be read
store $'\xff' 0 '{}'
store $'two\nlines' 0 '{}'
metrics >"$folder/text"
promtool check metrics <"$folder/text" || fail 'promtool refuses the metrics'
twice=$(sed 's/ [^ ]*$//' "$folder/text" | sort | uniq -d)
[[ -z $twice ]] || fail "told twice: $twice"
count=$(grep -a -c '^sentrel_report_metric{' "$folder/text")
[[ $count == 11 ]] || fail "there are $count numbers, not 11"

cd "$(dirname "$0")"
promtool check rules ../../dist/prometheus/sentrel.rules.yml || fail 'promtool refuses the rules'
promtool test rules rules_test.yml || fail 'a unit test of the rules fails'
amtool check-config ../../dist/prometheus/alertmanager.yml || fail 'amtool refuses the example'
