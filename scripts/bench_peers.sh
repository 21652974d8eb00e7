#!/bin/bash
# bench_peers.sh [ROUNDS]: reads the same tables through each peer and through the module, in turns, and prints
# the median processor time per cell, less the bare query; also to build/bench-peers.json. Then orsql and DuckDB's
# own shell write the flights, in turns; also to build/bench-shells.json. The peers' packages go into .deps/peers;
# benchmarks/peers/README.md tells what is measured.
source "$(dirname "$0")/common.sh"

rounds=${1:-5}
cd "$SOURCE_DIR"
source_of="$SOURCE_DIR/benchmarks/peers"
peers="$DEPS/peers"
mkdir -p "$peers"

for tool in go java mvn node npm python3; do
    command -v "$tool" >/dev/null || die "$tool is missing: the peers need go, java with mvn, node with npm, and python3"
done

say "setting up the peers"
python3 -m venv "$peers/python"
"$peers/python/bin/pip" install --quiet --disable-pip-version-check "duckdb==$DUCKDB_VERSION" \
    "duckdb-cli==$DUCKDB_VERSION"
mvn -q -B dependency:copy "-Dartifact=org.duckdb:duckdb_jdbc:$DUCKDB_VERSION.0" "-DoutputDirectory=$peers/jdbc"
javac -d "$peers/jdbc" "$source_of/Read.java"
cp "$source_of"/package.json "$source_of"/read.mjs "$source_of"/go.mod "$source_of"/go.sum "$source_of"/read.go "$peers"
(cd "$peers" && npm install --silent --no-audit --no-fund && go build -o read_go .)
sed "s#FLIGHTS#$DEPS/data/flights-3m.parquet#" "$source_of/tables.sql" >"$peers/tables.sql"

declare -A command=(
    [bare]="build/release/bin/peer_module $peers/tables.sql TABLE bare"
    [module]="build/release/bin/peer_module $peers/tables.sql TABLE"
    [go]="$peers/read_go $peers/tables.sql TABLE"
    [python]="$peers/python/bin/python $source_of/read.py $peers/tables.sql TABLE"
    [jdbc]="java -cp $peers/jdbc:$peers/jdbc/duckdb_jdbc-$DUCKDB_VERSION.0.jar Read $peers/tables.sql TABLE"
    [node]="node $peers/read.mjs $peers/tables.sql TABLE"
)

times=$(mktemp)
trap 'rm -f "$times"' EXIT
for round in $(seq "$rounds"); do
    for table in flights mixed; do
        for peer in bare module go python jdbc node; do
            say "round $round of $rounds: $peer, $table"
            read -ra words <<<"${command[$peer]//TABLE/$table}"
            printf '%s %s %s\n' "$peer" "$table" "$("${words[@]}")" >>"$times"
        done
    done
done
python3 scripts/compare_peers.py "$times" build/bench-peers.json

say "orsql and DuckDB's shell, in turns"
python3 scripts/compare_shells.py build/release/bin/orsql \
    "$(find "$peers/python" -path '*/duckdb_cli/duckdb')" "$DEPS/data/flights-3m.parquet" "$rounds" \
    build/bench-shells.json
