#!/usr/bin/env bash
# Makes the benchmark data sets, the same every time (fixed seed, no access keys):
#   bench/data.sh account N YEARS FOLDER   one customer account (4300000001) with about N entries
#                                          over a chain of YEARS years, beside one supplier
#   bench/data.sh million FOLDER           one year, 2,000 customer and supplier accounts,
#                                          about 1,000,000 entries
# QVDATA names the qvdata program (default build/qvdata). Prints the active company's file.
set -euo pipefail
QVDATA=${QVDATA:-build/qvdata}
export QUORVEX_HOME=${QUORVEX_HOME:-$(mktemp -d)}

case "${1:-}" in
account)
    [ $# -eq 4 ] || { echo "uso: $0 account N AÑOS CARPETA" >&2; exit 2; }
    n=$2 years=$3 folder=$4
    # With two accounts the customer carries about 23.6% of a year's entries.
    per_year=$(( n * 1000 / years / 236 ))
    "$QVDATA" demo "$folder" --seed 1 --accounts 2 --entries-per-year "$per_year" \
        --years "$years" --no-key | tail -n 1
    ;;
million)
    [ $# -eq 2 ] || { echo "uso: $0 million CARPETA" >&2; exit 2; }
    "$QVDATA" demo "$2" --seed 1 --accounts 2000 --entries-per-year 1000000 --years 1 \
        --no-key | tail -n 1
    ;;
*)
    sed -n '2,7p' "$0" | sed 's/^# \{0,1\}//' >&2
    exit 2
    ;;
esac
