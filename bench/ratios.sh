#!/usr/bin/env bash
# Whole-program figures against their physical floor, on the data sets of bench/data.sh:
#   bench/ratios.sh account [N ...]   pendara-cli match of one account of N entries (default
#                                     10000 20000 50000 100000 over three years) against reading
#                                     the same rows with one plain sqlite3 query: the ratio
#   bench/ratios.sh million           on the 1,000,000-entry company: the pending list, a group
#                                     save of every account (time, fsyncs per account) and the
#                                     report in every format (time, peak memory)
# BUILD names the build folder (default build); DATA the cache of data sets (default
# /tmp/pendara-bench-data, made once). Needs sqlite3 and GNU time (/usr/bin/time); strace for
# the fsync count.
set -euo pipefail
BUILD=${BUILD:-build}
DATA=${DATA:-/tmp/pendara-bench-data}
CLI=$BUILD/pendara-cli
export QVDATA=$BUILD/qvdata
RUNS=${RUNS:-5}

now_ms() { echo $(( $(date +%s%N) / 1000000 )); }

# Median wall milliseconds of RUNS runs (after one warm-up) of the command given.
median_ms() {
    "$@" >/dev/null 2>&1 || true
    local times=() t
    for _ in $(seq "$RUNS"); do
        t=$(now_ms)
        "$@" >/dev/null 2>&1 || true
        times+=($(( $(now_ms) - t )))
    done
    printf '%s\n' "${times[@]}" | sort -n | sed -n "$(( (RUNS + 1) / 2 ))p"
}

ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", (b > 0 ? a / b : 0) }'; }

# Reads every column of the account's rows in every year of the chain in one sqlite3 process.
read_rows() {
    local folder=$1 sql="" i=0 f
    for f in "$folder"/extraD*.qvd; do
        sql+="ATTACH '$f' AS y$i; SELECT * FROM y$i.entries WHERE cuenta = '4300000001' ORDER BY id;"
        i=$((i + 1))
    done
    sqlite3 :memory: "$sql"
}

account() {
    local sizes=("$@")
    [ ${#sizes[@]} -gt 0 ] || sizes=(10000 20000 50000 100000)
    printf '%-8s %10s %10s %7s\n' entries match_ms read_ms ratio
    for n in "${sizes[@]}"; do
        local folder=$DATA/account$n
        export QUORVEX_HOME=$folder.home
        if [ ! -f "$folder/DEMO2025.QVT" ]; then
            rm -rf "$folder" "$QUORVEX_HOME" && mkdir -p "$QUORVEX_HOME"
            bash bench/data.sh account "$n" 3 "$folder" >/dev/null 2>&1
        fi
        local m r
        m=$(median_ms "$CLI" match 4300000001)
        r=$(median_ms read_rows "$folder")
        printf '%-8s %10s %10s %7s\n' "$n" "$m" "$r" "$(ratio "$m" "$r")"
    done
}

million() {
    local folder=$DATA/million
    export QUORVEX_HOME=$folder.home
    if [ ! -f "$folder/DEMO2025.QVT" ]; then
        rm -rf "$folder" "$QUORVEX_HOME" && mkdir -p "$QUORVEX_HOME"
        bash bench/data.sh million "$folder" >/dev/null 2>&1
    fi
    local accounts
    accounts=$("$CLI" list | wc -l)
    echo "pending list: $(RUNS=3 median_ms "$CLI" list --pending) ms"
    # Its worst case: every entry carries a reference, so that no account has an open entry.
    local referenced=$DATA/million-referenced
    if [ ! -f "$referenced/DEMO2025.QVT" ]; then
        rm -rf "$referenced" "$referenced.home" && cp -a "$folder" "$referenced"
        cp -a "$QUORVEX_HOME" "$referenced.home"
        sed -i "s|$folder|$referenced|g" "$referenced.home"/* 2>/dev/null || true
        sqlite3 "$referenced/extraD0.qvd" "UPDATE entries SET referencia = 'RF-' || id"
    fi
    echo "pending list, every entry referenced: $(QUORVEX_HOME=$referenced.home RUNS=3 \
        median_ms "$CLI" list --pending) ms"

    # The group save runs on a copy, so that every run starts from the same books.
    local work=$DATA/million-save
    rm -rf "$work" "$work.home" && cp -a "$folder" "$work" && cp -a "$QUORVEX_HOME" "$work.home"
    sed -i "s|$folder|$work|g" "$work.home"/* 2>/dev/null || true
    local t syncs=""
    t=$(now_ms)
    if command -v strace >/dev/null; then
        QUORVEX_HOME=$work.home strace -f -c -e trace=fsync,fdatasync -o "$work.strace" \
            "$CLI" save-all --yes >/dev/null 2>&1 || true
        syncs=$(awk '/fsync|fdatasync/ { s += $4 } END { print s + 0 }' "$work.strace")
    else
        QUORVEX_HOME=$work.home "$CLI" save-all --yes >/dev/null 2>&1 || true
    fi
    local ms=$(( $(now_ms) - t ))
    echo "group save of $accounts accounts: $ms ms${syncs:+, $syncs fsyncs ($(ratio "$syncs" "$accounts") per account)}"
    [ -n "$syncs" ] && echo "  (timed under strace: the time is an upper bound)"

    for format in txt csv csv-tabla pdf xlsx xlsx-tabla; do
        t=$(now_ms)
        /usr/bin/time -f '%M' -o "$work.mem" "$CLI" report --format "$format" \
            -o "$work/informe.$format" >/dev/null 2>&1 || true
        echo "report $format: $(( $(now_ms) - t )) ms, peak $(( $(tail -n 1 "$work.mem") / 1024 )) MiB"
    done
}

case "${1:-}" in
account) shift; account "$@" ;;
million) million ;;
*) sed -n '2,11p' "$0" | sed 's/^# \{0,1\}//' >&2; exit 2 ;;
esac
