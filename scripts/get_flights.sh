#!/bin/bash
# Puts the flights data set into .deps/data/flights-3m.parquet. Does nothing where it is there.
source "$(dirname "$0")/common.sh"

target="$DEPS/data/flights-3m.parquet"
[[ ! -e $target ]] || exit 0

say "fetching the flights data"
make_scratch
fetch_npm "$FLIGHTS_PACKAGE" "$FLIGHTS_VERSION" "$FLIGHTS_SHA256" flights.tgz
tar -xzf "$scratch/flights.tgz" --no-same-owner -C "$scratch" --strip-components=2 \
    package/data/flights-3m.parquet
mkdir -p "$DEPS/data"
mv -T "$scratch/flights-3m.parquet" "$target"
