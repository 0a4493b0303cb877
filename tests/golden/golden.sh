#!/usr/bin/env bash
# Golden outputs of the two programs: what pendara-cli and qvdata print (standard output, errors,
# exit code), the text of every report file and the data after each command that writes, on demo
# company groups and on the small ledgers of tests/golden/ledgers. Refactorings must leave every
# output byte-identical.
#
#   golden.sh record DIR [BUILD_DIR]    runs every scenario, writes the outputs and DIR/MANIFEST
#                                       (one sha256 per output)
#   golden.sh compare DIR [BUILD_DIR]   runs them again and names each output that differs from
#                                       DIR/MANIFEST, with a short diff where DIR holds the file
#
# BUILD_DIR (argument or variable, default build/) holds pendara-cli and qvdata.
# SETS="importes demo-1" limits a run to some data sets (the first folder of each output).
# JOBS (default 2) data sets run at once. KEEP=1 keeps the work folder of a compare.
#
# tests/golden/expected holds the committed MANIFEST and the full outputs of the ledgers. The
# demo outputs are committed only through their hashes (they are large). To see how they differ
# from an older build, build that commit in a folder of its own and record with it, using this
# script for both runs so that the scenarios are the same:
#     git worktree add /tmp/old COMMIT && BUILD_DIR=/tmp/old/build bash /tmp/old/scripts/build.sh
#     bash tests/golden/golden.sh record /tmp/golden-old /tmp/old/build
#     bash tests/golden/golden.sh compare /tmp/golden-old
# After an intended change of behaviour: bash tests/golden/golden.sh record tests/golden/expected
#
# Outputs do not depend on the clock, the machine, the user or the paths: the work folder is
# written @TMP@, the date a report prints and the dialog's default last date (31/12 of this year)
# are replaced, the time zone and the locale are fixed, every command reads an empty standard
# input and gets settings (QUORVEX_HOME) and data of its own.
set -euo pipefail
export LC_ALL=C.UTF-8 TZ=UTC
unset LANGUAGE LANG

HERE=$(cd "$(dirname "$0")" && pwd)
ROOT=$(cd "$HERE/../.." && pwd)
LEDGERS=$HERE/ledgers

usage() {
    sed -n '/^#   golden.sh/,/^# BUILD_DIR/p' "$0" | sed 's/^# \{0,1\}//' >&2
    exit 2
}

MODE=${1:-}
DIR=${2:-}
if [ -z "$MODE" ] || [ -z "$DIR" ]; then usage; fi
case $MODE in record | compare) ;; *) usage ;; esac
BUILD=${3:-${BUILD_DIR:-$ROOT/build}}
BUILD=$(cd "$BUILD" && pwd)
CLI=$BUILD/pendara-cli
QVDATA=$BUILD/qvdata
for exe in "$CLI" "$QVDATA"; do
    [ -x "$exe" ] || { echo "golden: no existe $exe (compile antes)" >&2; exit 2; }
done
for tool in pdftotext unzip sha256sum; do
    command -v "$tool" >/dev/null || { echo "golden: falta $tool (scripts/setup.sh)" >&2; exit 2; }
done
JOBS=${JOBS:-2}

DEMO_SEEDS=(1 2 3)
ALL_SETS=()
for seed in "${DEMO_SEEDS[@]}"; do ALL_SETS+=("demo-$seed" "demo-$seed-5"); done
for d in "$LEDGERS"/*/; do ALL_SETS+=("$(basename "$d")"); done
read -r -a SETS <<<"${SETS:-${ALL_SETS[*]}}"

WORK=$(mktemp -d "${TMPDIR:-/tmp}/golden.XXXXXX")
WORK=$(cd -P "$WORK" && pwd)
cleanup() { if [ "${KEEP:-0}" != 1 ]; then rm -rf "$WORK"; fi; }
trap cleanup EXIT

# --- Normalising --------------------------------------------------------------------------------

WORK_RE=$(printf '%s' "$WORK" | sed 's/[][\.*^$|]/\\&/g')
THIS_YEAR=$(date +%y)

# stdin to stdout: the work folder and the dates taken from the clock (d1, d2: today before and
# after the command, should it run across midnight) replaced by fixed tokens.
normalise() {
    sed -e "s|$WORK_RE|@TMP@|g" \
        -e "s|Fecha: $1|Fecha: dd/mm/aa|g" -e "s|Fecha: $2|Fecha: dd/mm/aa|g" \
        -e "s|Hasta Fecha: 31/12/$THIS_YEAR\$|Hasta Fecha: 31/12/aa|" \
        -e "s|al 31/12/$THIS_YEAR\$|al 31/12/aa|" -e "s|al 31/12/$THIS_YEAR\([^0-9]\)|al 31/12/aa\1|g"
}

# Appends a file, marking a missing final line break as diff does.
put() {
    cat "$1"
    if [ -s "$1" ] && [ "$(tail -c 1 "$1" | od -An -c | tr -d ' ')" != '\n' ]; then
        printf '\n\\ sin salto de línea al final\n'
    fi
}

# --- One scenario: a fresh copy of the data set and settings of its own --------------------------

# Set by scenario: SC (its output folder), DATA (its data), N (number of the last command),
# COMPANY_FILES (the chain, oldest first, absolute paths).
scenario() {
    SC=$OUT/$1
    DATA=$SETWORK/$1/datos
    export QUORVEX_HOME=$SETWORK/$1/ajustes
    mkdir -p "$SC" "$DATA" "$QUORVEX_HOME"
    cp -a "$PRISTINE/." "$DATA/"
    N=0
    COMPANY_FILES=()
    for f in "${CHAIN[@]}"; do COMPANY_FILES+=("$DATA/$f"); done
    run activar "$QVDATA" set-active "${COMPANY_FILES[-1]}"
    if [ ${#CONFIG[@]} -gt 0 ]; then run configurar "$CLI" config "${CONFIG[@]}"; fi
}

# run NAME PROGRAM ARGS...: runs a command in the data folder; NAME.txt holds the command, its
# standard output, its errors and its exit code. The next output files share its number.
run() {
    local name=$1 rc=0 d1 d2
    shift
    N=$((N + 1))
    BASE=$(printf '%s/%02d-%s' "$SC" "$N" "$name")
    d1=$(date +%d/%m/%y)
    (cd "$DATA" && "$@") </dev/null >"$SETWORK/out" 2>"$SETWORK/err" || rc=$?
    d2=$(date +%d/%m/%y)
    {
        printf '$ %s' "$(basename "$1")"
        shift
        if [ $# -gt 0 ]; then printf ' %s' "$@"; fi
        printf '\n--- salida\n'
        put "$SETWORK/out"
        printf -- '--- errores\n'
        put "$SETWORK/err"
        printf -- '--- código %s\n' "$rc"
    } | normalise "$d1" "$d2" >"$BASE.txt"
}

# The reference counter of every company of the chain, appended to the last command's output.
counters() {
    local f
    {
        printf -- '--- contadores\n'
        for f in "${COMPANY_FILES[@]}"; do
            printf '%s %s\n' "$(basename "$f")" "$("$QVDATA" counter "$f")"
        done
    } >>"$BASE.txt"
}

# The entries of every company of the chain and the counters, after the last command.
data() {
    local f
    for f in "${COMPANY_FILES[@]}"; do
        printf '=== %s\n' "$(basename "$f")"
        "$QVDATA" export-entries "$f"
        printf 'contador %s\n' "$("$QVDATA" counter "$f")"
    done >"$BASE.datos"
}

# runw NAME PROGRAM ARGS...: a command that writes; its data follow.
runw() {
    run "$@"
    data
}

# report NAME FORMAT ARGS...: the report in one format; file formats are kept as text (PDF through
# pdftotext, the spreadsheet as its sheet and shared strings), the settings store after it.
report() {
    local name=$1 format=$2 d1 d2
    shift 2
    if [ "$format" = stdout ]; then
        run "informe-$name" "$CLI" report "$@"
    else
        rm -f "$DATA/informe.$format"
        run "informe-$name-$format" "$CLI" report "$@" --format "$format" -o "informe.$format"
        d1=$(date +%d/%m/%y)
        local file=$DATA/informe.$format text=$BASE.$format.txt
        if [ ! -e "$file" ]; then
            echo "(no hay archivo)" >"$SETWORK/report"
        else
            case $format in
                txt | csv) cat "$file" ;;
                pdf) pdftotext -layout -enc UTF-8 "$file" - ;;
                xlsx)
                    # One element per line, so that a diff shows the cell that changed.
                    unzip -p "$file" xl/worksheets/sheet1.xml | sed 's/></>\n</g'
                    ;;
            esac >"$SETWORK/report"
        fi
        d2=$(date +%d/%m/%y)
        normalise "$d1" "$d2" <"$SETWORK/report" >"$text"
    fi
    if [ -e "$QUORVEX_HOME/options.reg" ]; then
        normalise x x <"$QUORVEX_HOME/options.reg" >"$BASE.opciones"
    fi
}

# --- The scenarios of one data set ----------------------------------------------------------------

# Read-only commands and the matching of every account of the full list (each match takes
# reference numbers from the counter).
scenario_queries() {
    scenario consultas
    run lista "$CLI" list
    run lista-pendientes "$CLI" list --pending
    run lista-mascara "$CLI" list "$LIST_MASK"
    run lista-mascara-pendientes "$CLI" list "$LIST_MASK" --pending
    run empresas "$CLI" companies
    run opciones "$CLI" config
    run activa "$CLI" active
    local acct
    for acct in $("$CLI" list | cut -d' ' -f1) "${MATCH_EXTRA[@]}"; do
        run "match-$acct" "$CLI" match "$acct" --show-state
        counters
    done
    run match-sin-cuenta "$CLI" match
    data
}

# Saving, the command-line start, the balance review and the clearing of single accounts.
scenario_accounts() {
    scenario cuentas
    local acct
    for acct in "${SAVE[@]}"; do runw "save-$acct" "$CLI" save "$acct"; done
    runw "run-$RUN" "$CLI" run "$RUN"
    runw "review-$REVIEW" "$CLI" review "$REVIEW"
    runw "clear-$CLEAR-sin-confirmar" "$CLI" clear "$CLEAR"
    runw "clear-$CLEAR" "$CLI" clear "$CLEAR" --yes
    run lista-pendientes "$CLI" list --pending
}

# The group save, the reports over the saved group in every format, and the clearing of all.
scenario_group() {
    scenario grupo
    runw save-all "$CLI" save-all --yes
    run lista-pendientes "$CLI" list --pending
    local f
    report omision stdout
    for f in txt csv pdf xlsx; do report omision "$f"; done
    report todo stdout --open --balanced --unbalanced --opening
    for f in csv pdf xlsx; do report todo "$f"; done
    report punteados stdout --no-open --balanced --unbalanced --no-opening --min-unbalanced 5
    report mascara stdout --mask "$MASK"
    report rango stdout "${RANGE[@]}"
    report cuenta stdout --account "${SAVE[0]}"
    report fechas stdout "${DATES[@]}" --open --opening
    report saldo-0 stdout --min-balance 0
    report saldo-100 stdout --min-balance 100
    runw clear-all "$CLI" clear-all --yes
    run lista-pendientes "$CLI" list --pending
}

# The data as they come, before any save: the marks stored in them.
scenario_initial_report() {
    scenario inicial
    report todo stdout --open --balanced --unbalanced --opening
}

# Saving with the balance review after every account (option Punteo2).
scenario_punteo2() {
    scenario punteo2
    run punteo2 "$CLI" config --punteo2 1
    runw "save-$PUNTEO2" "$CLI" save "$PUNTEO2"
    run "save-$PUNTEO2-de-nuevo" "$CLI" save "$PUNTEO2"
}

# --- Data sets --------------------------------------------------------------------------------------

# A demo group: the accounts each scenario uses are taken from its chart.
prepare_demo() {
    local seed=$1 accounts=$2
    local args=(demo "$PRISTINE" --no-key --no-activate --seed "$seed")
    if [ -n "$accounts" ]; then args+=(--accounts "$accounts"); fi
    SC=$OUT N=0
    DATA=$SETWORK
    export QUORVEX_HOME=$SETWORK/demo-ajustes
    mkdir -p "$QUORVEX_HOME"
    run demo "$QVDATA" "${args[@]}"
    CHAIN=()
    local f
    for f in "$PRISTINE"/DEMO*.QVT; do CHAIN+=("$(basename "$f")"); done
    QUORVEX_HOME=$SETWORK/demo-ajustes "$QVDATA" set-active "$PRISTINE/${CHAIN[-1]}" >/dev/null
    local list customers suppliers
    list=$(QUORVEX_HOME=$SETWORK/demo-ajustes "$CLI" list | cut -d' ' -f1)
    read -r -a customers <<<"$(grep '^430' <<<"$list" | tr '\n' ' ')"
    read -r -a suppliers <<<"$(grep '^400' <<<"$list" | tr '\n' ' ')"
    CONFIG=(--punteo0 1 --punteo1 0)
    LIST_MASK=43
    MATCH_EXTRA=()
    SAVE=("${customers[0]}" "${suppliers[0]}")
    RUN=${customers[1]}
    REVIEW=${customers[-1]}
    CLEAR=${customers[0]}
    PUNTEO2=${suppliers[-1]}
    DATES=(--from-date 01/03/24 --to-date 30/09/24)
    RANGE=(--from "${suppliers[1]}" --to "${customers[1]}")
    MASK="43000000?1"
}

# A ledger of tests/golden/ledgers: golden.conf names its chain and the accounts of the scenarios;
# plan-CODE.csv and apuntes-CODE.csv hold each company's chart and entries.
prepare_ledger() {
    local src=$LEDGERS/$1
    COMPANIES=() CONFIG=() MATCH_EXTRA=() PUNTEO2=""
    # shellcheck source=/dev/null
    source "$src/golden.conf"
    SC=$OUT N=0
    DATA=$PRISTINE
    mkdir -p "$PRISTINE"
    export QUORVEX_HOME=$SETWORK/crear-ajustes
    mkdir -p "$QUORVEX_HOME"
    # The CSV files are read from the work folder, whose path the outputs do not show.
    cp -r "$src" "$SETWORK/libro"
    CHAIN=()
    local line file code year counter name previous=()
    for line in "${COMPANIES[@]}"; do
        read -r file code year counter name <<<"$line"
        run "crear-$file" "$QVDATA" create-company "$file" --code "$code" --name "$name" \
            --year "$year" "${previous[@]}"
        run "plan-$file" "$QVDATA" import-chart "$file" "$SETWORK/libro/plan-$code.csv"
        run "apuntes-$file" "$QVDATA" import-entries "$file" "$SETWORK/libro/apuntes-$code.csv"
        run "contador-$file" "$QVDATA" counter "$file" --set "$counter"
        CHAIN+=("$file")
        previous=(--previous "$file")
    done
}

run_set() {
    local set=$1
    OUT=$RESULT/$set
    SETWORK=$WORK/sets/$set
    PRISTINE=$SETWORK/original
    mkdir -p "$OUT" "$SETWORK"
    case $set in
        demo-*-5) prepare_demo "$(cut -d- -f2 <<<"$set")" 5 ;;
        demo-*) prepare_demo "${set#demo-}" "" ;;
        *) prepare_ledger "$set" ;;
    esac
    scenario_queries
    scenario_accounts
    scenario_group
    scenario_initial_report
    if [ -n "$PUNTEO2" ]; then scenario_punteo2; fi
    if grep -rlF "$ROOT" "$OUT"; then
        echo "golden: estas salidas muestran la carpeta de las fuentes" >&2
        return 1
    fi
    : >"$SETWORK/hecho"
}

# Runs every data set (JOBS at once) into RESULT and writes RESULT/MANIFEST.
run_all() {
    RESULT=$1
    mkdir -p "$RESULT"
    local set failed=0
    for set in "${SETS[@]}"; do
        rm -rf "${RESULT:?}/$set"
        (run_set "$set") >"$WORK/$set.log" 2>&1 &
        while [ "$(jobs -rp | wc -l)" -ge "$JOBS" ]; do wait -n || true; done
    done
    wait
    for set in "${SETS[@]}"; do
        if [ ! -e "$WORK/sets/$set/hecho" ]; then
            echo "golden: el conjunto $set no terminó:" >&2
            tail -n 20 "$WORK/$set.log" >&2
            failed=1
        fi
    done
    [ "$failed" = 0 ] || exit 1
    # The manifest keeps the lines of the data sets not run this time.
    local old=$RESULT/MANIFEST keep=$WORK/manifest.keep
    : >"$keep"
    if [ -e "$old" ]; then
        local pattern
        pattern=$(printf '%s\n' "${SETS[@]}" | sed 's|.*|  ./&/|')
        grep -v -F -f <(printf '%s\n' "$pattern") "$old" >"$keep" || true
    fi
    {
        cat "$keep"
        (cd "$RESULT" && for set in "${SETS[@]}"; do find "./$set" -type f; done |
            LC_ALL=C sort | xargs -d '\n' sha256sum)
    } | LC_ALL=C sort -k2 >"$WORK/manifest.new"
    mv "$WORK/manifest.new" "$RESULT/MANIFEST"
}

START=$(date +%s)
if [ "$MODE" = record ]; then
    mkdir -p "$DIR"
    DIR=$(cd "$DIR" && pwd)
    run_all "$DIR"
    echo "golden: $(wc -l <"$DIR/MANIFEST") salidas en $DIR ($(($(date +%s) - START)) s)"
    exit 0
fi

DIR=$(cd "$DIR" && pwd)
[ -e "$DIR/MANIFEST" ] || { echo "golden: no existe $DIR/MANIFEST" >&2; exit 2; }
NEW=$WORK/nuevo
run_all "$NEW"
EXPECTED=$WORK/manifest.expected
pattern=$(printf '%s\n' "${SETS[@]}" | sed 's|.*|  ./&/|')
grep -F -f <(printf '%s\n' "$pattern") "$DIR/MANIFEST" >"$EXPECTED" || true
differ=0
while read -r path; do
    differ=$((differ + 1))
    old_hash=$(awk -v p="$path" '$2 == p { print $1 }' "$EXPECTED")
    new_hash=$(awk -v p="$path" '$2 == p { print $1 }' "$NEW/MANIFEST")
    if [ -z "$old_hash" ]; then
        echo "== $path: salida nueva"
    elif [ -z "$new_hash" ]; then
        echo "== $path: ya no se produce"
    else
        echo "== $path: distinta"
        if [ -e "$DIR/$path" ]; then
            { diff -u "$DIR/$path" "$NEW/$path" || true; } | sed -n '3,30p'
        else
            echo "   (sin copia de referencia: grabe con la compilación anterior, ver la cabecera)"
        fi
    fi
done < <(diff <(awk '{ print $2, $1 }' "$EXPECTED") <(awk '{ print $2, $1 }' "$NEW/MANIFEST") |
    sed -n 's/^[<>] \([^ ]*\) .*/\1/p' | LC_ALL=C sort -u)
seconds=$(($(date +%s) - START))
if [ "$differ" -gt 0 ]; then
    KEEP=1
    echo "golden: $differ salidas distintas de $DIR/MANIFEST ($seconds s); las nuevas están en $NEW" >&2
    exit 1
fi
echo "golden: $(wc -l <"$EXPECTED") salidas idénticas ($seconds s)"
