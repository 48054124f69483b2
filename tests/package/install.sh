#!/bin/sh
# Installs the packages on a copy of this machine that is thrown away, uses them as a newcomer would, and removes them.
# (Runs as root in a mount namespace of its own: the copy is a layer over the machine's files.)
#
#   install.sh FOLDER PACKAGE...
set -eu
folder=$1/machine
here=$(dirname "$(readlink -f "$0")")
shift
mkdir -p "$folder"
mount -t tmpfs none "$folder"
mkdir "$folder/changes" "$folder/work" "$folder/root"
mount -t overlay overlay -o "lowerdir=/,upperdir=$folder/changes,workdir=$folder/work" "$folder/root"
mount --rbind /dev "$folder/root/dev"
mkdir "$folder/root/packages"
cp "$here/main.cpp" "$@" "$folder/root/packages"
chroot "$folder/root" /bin/sh -eu <<'COMMANDS'
cd /packages
export DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8 HOME=/packages
dpkg -i ./*.deb
c++ -std=c++20 main.cpp $(pkg-config --cflags --libs orvcomtypes) -o program
./program
orvsettings set --type REG_DWORD Server Port 1433
[ "$(orvsettings get Server Port)" = 1433 ]
# Programs are debugged with what shows the library's types.
gdb -nx -batch -ex 'info pretty-printer' /usr/lib/libOrvComTypes.so.3 | grep -q OrvComTypes
dpkg --purge orvcomtypes-tools liborvcomtypes3-dbgsym liborvcomtypes-dev liborvcomtypes3
left=$(find /usr /etc -iname '*orvcomtypes*' -o -name 'orvsettings*')
[ -z "$left" ] || { echo "left behind: $left"; exit 1; }
COMMANDS
