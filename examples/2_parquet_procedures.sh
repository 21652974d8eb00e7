#!/bin/sh
# The module's table procedures, which read Parquet files and other DuckDB files as row sources. It works in a
# folder of its own, with orsql in the PATH:
#
#     sh 2_parquet_procedures.sh
set -eu
orsql=${ORSQL:-orsql}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"

# They are called with host values: words, texts in quotes, numbers, arrays in brackets.
"$orsql" -m box <<'SQL'
COPY (SELECT i AS id, 'reading ' || i AS name, i * 0.5 AS value FROM range(1, 1001) t(i))
TO 'readings.parquet' (FORMAT parquet);

-- .procedures lists them with their arguments.
.procedures

-- The columns: their type in the file, as they are fetched, and as the host gets them.
.call parquet_schema readings.parquet

-- How many rows there are, all of them or those of a condition.
.call parquet_count readings.parquet
.call parquet_count readings.parquet 'value > 450'

-- Rows: columns, a condition and a limit can be left out, or be NULL.
.call fetch_parquet readings.parquet [id, name] 'value > 450' 3
.call fetch_parquet readings.parquet NULL NULL 2

-- Rows of a table in another DuckDB file.
.open readings.db
CREATE TABLE best AS SELECT * FROM 'readings.parquet' WHERE value >= 499;
.close
.call fetch_duckdb readings.db best

-- A database that is closed can be dropped, too.
.drop
SQL
