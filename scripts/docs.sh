#!/bin/bash
# docs.sh: makes the reference of host/ in build/docs/html. A warning of doxygen is a failure.
source "$(dirname "$0")/common.sh"

cd "$SOURCE_DIR"
command -v doxygen >/dev/null || die "doxygen is not installed"
mkdir -p build/docs
version=$(sed -n 's/^ *VERSION \([0-9.]*\)$/\1/p' CMakeLists.txt)
{ cat docs/Doxyfile; printf 'PROJECT_NUMBER = %s\n' "$version"; } | doxygen -
say "the reference is in build/docs/html/index.html"
