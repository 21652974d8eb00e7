#!/usr/bin/env bash
# Shows the module at work on three million flights. "make run" calls it after the build.
#
#   run_demo.sh [ORSQL]     ORSQL is the shell to use; by default the one of the release build

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

orsql=$(realpath "${1:-$SOURCE_DIR/build/release/bin/orsql}")
flights="$DEPS/data/flights-3m.parquet"
[[ -x $orsql ]] || die "$orsql is not there: run make build"
[[ -f $flights ]] || die "$flights is not there: run scripts/get_flights.sh"

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"

# The path stands in SQL text and in commands of the shell: quotes in it are doubled.
quoted=${flights//\'/\'\'}

headline() {
    printf '\n== %s\n' "$*"
}

run() {
    "$orsql" --bail -m box "$@"
}

headline 'The module is loaded by a host program'
"$orsql" --version
run -c .procedures

headline 'A DuckDB file is made, and three million flights are loaded into it'
run flights.db --timer -c "CREATE TABLE flights AS SELECT * FROM read_parquet('$quoted')" -c .info

headline 'Queries are answered through a server cursor, which makes values as they are asked for'
run flights.db --cursor server -c "SELECT count(*) AS flights, min(date) AS first, max(date) AS last FROM flights" \
    -c "SELECT origin, count(*) AS flights, round(avg(delay), 1) AS mean_delay FROM flights
        GROUP BY origin ORDER BY flights DESC LIMIT 5"

headline 'The same through a client cursor, which holds all rows and moves freely'
run flights.db --cursor client --max-rows 6 \
    -c "SELECT origin, destination, max(distance) AS miles FROM flights GROUP BY ALL ORDER BY miles DESC, 1, 2"

headline 'Parameters are host values'
run flights.db -c ".bind ATL 60" \
    -c "SELECT destination, count(*) AS late FROM flights WHERE origin = \$1 AND delay > \$2
        GROUP BY destination ORDER BY late DESC LIMIT 3"

headline 'A table procedure reads the Parquet file as a row source'
run -c ".call fetch_parquet '$quoted' [date, origin, destination, delay] 'delay > 1000' 3"

headline 'An error is taken apart: kind, text, and place in the statement'
"$orsql" -m jsonl flights.db -c 'SELECT origin, arrival FROM flights' || true
"$orsql" -m box flights.db -c 'SELECT origin, arrival FROM flights' 2>&1 || true

headline 'The database is closed and dropped'
run flights.db -c .close -c .databases -c .drop
[[ ! -e flights.db ]] && echo 'flights.db is gone'
