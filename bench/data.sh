#!/usr/bin/env bash
# Makes the benchmark data sets, the same every time (fixed seed, no access keys):
#   bench/data.sh account N YEARS FOLDER   one customer account (4300000001) with about N entries
#                                          over a chain of YEARS years, beside one supplier
#   bench/data.sh million FOLDER           one year, 2,000 customer and supplier accounts,
#                                          about 1,000,000 entries
#   bench/data.sh chain N FOLDER           a chain of N companies (up to 1,296), each with one
#                                          customer account (4300000001) of three entries
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
chain)
    [ $# -eq 3 ] || { echo "uso: $0 chain N CARPETA" >&2; exit 2; }
    n=$2 folder=$3
    mkdir -p "$folder"
    printf 'Cuenta;Descripcion;Nivel\n4300000001;Cliente uno;0\n' >"$folder/plan.csv"
    printf 'Cuenta;Fecha;Asiento;Descripcion;Importe\n%s\n%s\n%s\n' \
        '4300000001;01/02/2020;1;Fra. 1;100,50' '4300000001;03/02/2020;2;Cobro Fra. 1;-100,50' \
        '4300000001;05/02/2020;3;Fra. 2;70' >"$folder/apuntes.csv"
    chars=(0 1 2 3 4 5 6 7 8 9 A B C D E F G H I J K L M N O P Q R S T U V W X Y Z)
    prev="" made=0
    for a in "${chars[@]}"; do
        for b in "${chars[@]}"; do
            [ "$made" -lt "$n" ] || break 2
            f="$folder/E$a$b.QVT"
            "$QVDATA" create-company "$f" --code "$a$b" --name "Empresa $made" --year 2020 \
                ${prev:+--previous "$prev"} >/dev/null
            "$QVDATA" import-chart "$f" "$folder/plan.csv" >/dev/null
            "$QVDATA" import-entries "$f" "$folder/apuntes.csv" >/dev/null
            prev=$f made=$((made + 1))
        done
    done
    "$QVDATA" set-active "$prev" >/dev/null
    echo "$prev"
    ;;
*)
    sed -n '2,9p' "$0" | sed 's/^# \{0,1\}//' >&2
    exit 2
    ;;
esac
