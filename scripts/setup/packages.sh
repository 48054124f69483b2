#!/usr/bin/env bash
# Installs the packages that packages.txt names for the given parts and that are missing.
set -euo pipefail
source "$(dirname "$0")/../env.sh"

as_root() {
    if [ "$(id -u)" = 0 ]; then "$@"
    elif command -v sudo >/dev/null; then sudo -n "$@"
    else fail "packages are missing and need root or sudo: $*"
    fi
}

# The package of PostgreSQL makes and starts a cluster when it is installed, which nobody here asks for.
forbid_cluster() {
    local settings=/etc/postgresql-common/createcluster.d/orvcomtypes.conf
    as_root mkdir -p "${settings%/*}"
    echo 'create_main_cluster = false' | as_root tee "$settings" >/dev/null
    trap "as_root rm -f '$settings'" EXIT
}

wanted=$(for part in "$@"; do
    sed -n "s/ *#.*//; s/^$part  *//p" "$repo/scripts/setup/packages.txt" | grep . || fail "unknown part '$part'"
done)
installed=$(dpkg-query -W -f '${db:Status-Status} ${Package}\n' | sed -n 's/^installed //p')
mapfile -t missing < <(comm -13 <(sort -u <<<"$installed") <(tr -s ' ' '\n' <<<"$wanted" | sort -u))
[ ${#missing[@]} -gt 0 ] || exit 0

say "packages: ${missing[*]}"
[[ " ${missing[*]} " != *" postgresql "* ]] || forbid_cluster
install=(env DEBIAN_FRONTEND=noninteractive apt-get -q -y -o DPkg::Lock::Timeout=600 -o Acquire::Retries=3
    install --no-install-recommends "${missing[@]}")
# The package index may be absent or old: then it is read again, once.
as_root "${install[@]}" >/dev/null 2>&1 </dev/null && exit 0
say "package index: reading it again"
as_root apt-get -q -o Acquire::Retries=3 update >/dev/null 2>&1 </dev/null || true
quietly "installing packages" as_root "${install[@]}"
