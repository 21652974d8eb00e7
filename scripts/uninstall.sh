#!/bin/bash
# uninstall.sh: removes what install.sh put below DESTDIR and PREFIX, and the folders that it made there as
# far as they are empty.
source "$(dirname "$0")/common.sh"

root="${DESTDIR:-}${PREFIX:-/usr/local}"
manifest=$(find "$root"/lib* -path '*/orlimbara/manifest.txt' -print -quit 2>/dev/null || true)
[[ -n $manifest ]] || die "nothing to remove: $root holds no lib*/orlimbara/manifest.txt"
[[ -w $(dirname "$manifest") ]] || die "can't remove: $(dirname "$manifest") can't be written"

mapfile -t names < <(LC_ALL=C sort -r "$manifest") # what lies in a folder comes before it
for name in "${names[@]}"; do
    case /$name/ in
        */../*) die "$manifest names $name, which lies outside" ;;
    esac
    if [[ $name != */ ]]; then
        rm -f "$root/$name"
    elif [[ -d $root/$name ]]; then
        rmdir --ignore-fail-on-non-empty "$root/$name"
    fi
done
say "removed from $root"
