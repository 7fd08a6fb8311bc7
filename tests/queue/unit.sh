#!/bin/bash
# The service manager's own opinion of the workers' unit, and the command's of the words in it.
#   unit.sh UNIT QUARRY
set -euo pipefail
unit=$1
quarry=$2
command -v systemd-analyze > /dev/null || exit 77
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# Nothing is said about a unit that is right. A key that came with a later version is passed over there.
opinion() {
    local version
    version=$(systemd-analyze --version | sed -n '1s/^systemd \([0-9]*\).*/\1/p')
    systemd-analyze verify --man=no "$1" 2>&1 |
        if [ "$version" -lt 254 ]; then grep -v "Unknown key.* 'DelegateSubgroup'"; else cat; fi ||
        true
}

printf '[Service]\nExecStart=/bin/true\n' > "$folder/right.service"
[ -z "$(opinion "$folder/right.service")" ] || exit 77

sed "s|/usr/bin/quarry|$quarry|" "$unit" > "$folder/quarry-worker@.service"
said=$(opinion "$folder/quarry-worker@.service")
[ -z "$said" ] || { echo "$said"; exit 1; }
sed 's/^KillMode=.*/KillMode=sometimes/' "$folder/quarry-worker@.service" > "$folder/wrong@.service"
[ -n "$(opinion "$folder/wrong@.service")" ] || { echo "a wrong unit passes"; exit 1; }

# The words of ExecStart, with an authority that is not there: refused for that, and not for how it was called.
words=$(sed -n 's/^ExecStart=[^ ]* //p' "$unit" | sed "s|%i|test|; s|/etc/quarry|$folder|")
export HOME=$folder XDG_RUNTIME_DIR=$folder QUARRY_QUEUE=tls://127.0.0.1:1
status=0
# shellcheck disable=SC2086
said=$("$quarry" $words 2>&1) || status=$?
case $status:$said in
3:*authority.pem*) ;;
*) echo "status $status: $said"; exit 1 ;;
esac
