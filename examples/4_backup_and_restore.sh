#!/bin/sh
# Backing a database up and bringing it back. It works in a folder of its own, with orsql in the PATH:
#
#     sh 4_backup_and_restore.sh
set -eu
orsql=${ORSQL:-orsql}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"

"$orsql" harbour.db -c "CREATE TABLE ships AS SELECT 'ship ' || i AS name FROM range(1, 4) t(i)"

# .backup makes a new folder in Backup/ beside the database and answers with its path. In csv mode without a
# header the answer is easy to parse.
backup=$("$orsql" --no-header harbour.db -c .backup | cut -d , -f 1)
echo "files of the backup:"
ls "$backup"

# Something goes wrong ...
"$orsql" harbour.db -c "DELETE FROM ships"

# ... and the backup becomes a database of its own,
"$orsql" -c ".restore '$backup' copy.db" -c "SELECT count(*) AS ships_in_copy FROM ships"

# or takes the place of the damaged one. An existing database is only replaced with --replace, by a new one that
# is complete.
"$orsql" -c ".restore --replace '$backup' harbour.db" -c "SELECT name FROM ships ORDER BY name"
