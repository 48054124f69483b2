#!/bin/sh
# Installs the packages on a bare Debian 12, made anew from the machine's package sources, and there compiles and runs the
# program of README.md by the command that stands below it; it must say what stands there. (Runs as root in a mount
# namespace of its own.)
#
#   bare.sh FOLDER README PACKAGE...    FOLDER is made; it takes 700 MB
set -eu
root=$1
readme=$2
shift 2
archive=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' | grep -m1 -E '/debian/?$')
mkdir -p "$root"
debootstrap --variant=minbase bookworm "$root" "$archive" >"$root.log" 2>&1 || { tail -n 20 "$root.log" >&2; exit 1; }
cp -r /etc/apt/. "$root/etc/apt/"
cp /etc/resolv.conf /etc/hosts "$root/etc/"
mount -t proc proc "$root/proc"
mount --rbind /dev "$root/dev"
mkdir "$root/try"
cp "$@" "$root/try"
awk '/^```/ { inside = $0 == "```cpp"; next } inside' "$readme" >"$root/try/program.cpp"
awk '/^```/ { inside = $0 == "```text"; next } inside' "$readme" >"$root/try/expected"
sed -n 's/^ *\(c++ .*program\.cpp.*\)$/\1/p' "$readme" >"$root/try/command"
[ -s "$root/try/expected" ] && [ -s "$root/try/command" ]
chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/try DEBIAN_FRONTEND=noninteractive \
    /bin/sh -eu >>"$root.log" 2>&1 <<'COMMANDS' || { tail -n 20 "$root.log" >&2; exit 1; }
cd /try
apt-get -q update
apt-get -q -y --no-install-recommends install ./*.deb g++ pkg-config
/bin/sh -eux ./command >said
diff expected said
cat said
COMMANDS
cat "$root/try/said"
