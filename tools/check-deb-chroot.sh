#!/usr/bin/env bash
# Installs the package from `make package` into a clean Debian 12 (bookworm) chroot with apt,
# so its Depends are resolved from Debian's archive as on a user's machine, and runs the
# installed programs and the Python module there. Then removes the package again and checks
# that nothing of it is left behind.
#
#   tools/check-deb-chroot.sh [PACKAGE.deb]      (default: the one .deb in build-pkg/)
#
# Needs root (debootstrap, chroot) and the network to Debian's mirror the first time. The
# bookworm base is made once, in build-pkg/chroot/base, and the packages apt downloads are kept
# in build-pkg/chroot/archives; every run installs into a fresh copy of the base
# (build-pkg/chroot/run), so a second run needs neither debootstrap nor the downloads, and a
# run of a package with the same Depends as the last starts from a copy with those installed.
# `make clean` removes all of it with build-pkg/. Nothing is mounted into the chroot.
#
# Environment: I2CB_MIRROR (default http://deb.debian.org/debian), I2CB_REFRESH=1 to fetch
# apt's package lists again before installing (they are refreshed by themselves after a day).
set -euo pipefail

cd "$(dirname "$0")/.."
mirror=${I2CB_MIRROR:-http://deb.debian.org/debian}
top=build-pkg/chroot
base=$top/base
run=$top/run
archives=$top/archives

fail() {
  echo "FAIL: $*" >&2
  exit 1
}

[ "$(id -u)" -eq 0 ] || fail "run as root: debootstrap and chroot need it"
command -v debootstrap > /dev/null || fail "debootstrap is missing: apt-get install debootstrap"

if [ $# -ge 1 ]; then
  deb=$1
else
  shopt -s nullglob
  debs=(build-pkg/*.deb)
  shopt -u nullglob
  [ ${#debs[@]} -eq 1 ] || fail "expected one .deb in build-pkg/ (found ${#debs[@]}): run make package, or name the .deb"
  deb=${debs[0]}
fi
[ -f "$deb" ] || fail "$deb: no such file"
echo "== package: $deb"

in_chroot() {
  chroot "$run" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LANG=C.UTF-8 \
    DEBIAN_FRONTEND=noninteractive "$@"
}

# The base: a minimal bookworm with apt's lists, made once. A base left half-made by an
# interrupted debootstrap has no stamp and is made again.
if [ ! -f "$base/.i2cbridge-base-ready" ]; then
  echo "== debootstrap bookworm into $base (once)"
  rm -rf "$base"
  mkdir -p "$top"
  nice -n 10 debootstrap --variant=minbase bookworm "$base" "$mirror" > "$top/debootstrap.log" 2>&1 ||
    fail "debootstrap failed; see $top/debootstrap.log"
  # The suites a Debian 12 installation has: the release, its updates and security updates.
  {
    echo "deb $mirror bookworm main"
    echo "deb $mirror bookworm-updates main"
    echo "deb ${mirror%/debian}/debian-security bookworm-security main"
  } > "$base/etc/apt/sources.list"
  rm -f "$base/var/cache/apt/archives/"*.deb
  touch "$base/.i2cbridge-base-ready"
  refresh=1
fi
if [ "${I2CB_REFRESH:-0}" = 1 ] || [ -n "$(find "$base/.i2cbridge-base-ready" -mmin +1440)" ]; then
  refresh=1
fi
if [ "${refresh:-0}" = 1 ]; then
  echo "== apt-get update in the base"
  chroot "$base" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin apt-get -q update > /dev/null ||
    fail "apt-get update in the chroot failed"
  touch "$base/.i2cbridge-base-ready"
fi

# The libraries the package depends on, installed by apt into a copy of the base and kept (as
# left after removing the package again) for the next run of a package with the same Depends:
# that run's apt resolves them just the same, and only unpacks the package itself.
key=$( (dpkg-deb -f "$deb" Pre-Depends Depends; stat -c %Y "$base/.i2cbridge-base-ready") |
  sha256sum | cut -c1-16)
layer=$top/deps-$key
rm -rf "$run"
if [ -f "$layer/.i2cbridge-deps-ready" ]; then
  echo "== the package's dependencies from an earlier run ($layer)"
  cp -a "$layer" "$run"
else
  cp -a "$base" "$run"
fi
mkdir -p "$archives"
find "$archives" -maxdepth 1 -name '*.deb' -exec cp -n -t "$run/var/cache/apt/archives/" {} +
cp "$deb" "$run/tmp/i2cbridge.deb"

echo "== apt-get install ./i2cbridge.deb"
# apt (as root in a chroot) cannot drop to the _apt user for a local file; that is harmless.
# Unsafe I/O: a chroot thrown away after the run needs no fsync after every file.
in_chroot apt-get -q -y --no-install-recommends -o DPkg::Options::=--force-unsafe-io \
  install /tmp/i2cbridge.deb > "$top/install.log" 2>&1 ||
  { tail -20 "$top/install.log"; fail "apt-get install failed; see $top/install.log"; }
find "$run/var/cache/apt/archives" -maxdepth 1 -name '*.deb' -exec cp -n -t "$archives/" {} +
rm -f "$run/var/cache/apt/archives/"*.deb
grep -E "^(Setting up|Unpacking) i2cbridge" "$top/install.log" || true
in_chroot dpkg-query -W -f='installed: ${Package} ${Version}\nDepends: ${Depends}\n' i2cbridge

status=0
check() { # check NAME EXPECTED COMMAND...: runs COMMAND in the chroot, compares its stdout
  local name=$1 expected=$2 out
  shift 2
  if out=$(in_chroot "$@" 2>&1) && [ "$out" = "$expected" ]; then
    echo "ok: $name: $out"
  else
    echo "FAILED: $name: expected '$expected', got:"
    echo "$out" | sed 's/^/    /'
    status=1
  fi
}

# Every program and library in the package finds its shared libraries.
missing=$(in_chroot sh -c 'dpkg -L i2cbridge | while read -r f; do
    [ -f "$f" ] && head -c 4 "$f" | grep -q ELF && ldd "$f" | sed -n "s|^|$f: |; /not found/p"
  done' || true)
if [ -z "$missing" ]; then
  echo "ok: every ELF file in the package finds its libraries"
else
  echo "FAILED: libraries not found:"
  echo "$missing" | sed 's/^/    /'
  status=1
fi

check "i2cbridge-cli --simulate read 60 02" "5A" i2cbridge-cli --simulate read 60 02
check "i2cbridge-cli --version" "$(in_chroot dpkg-query -W -f='${Version}' i2cbridge | sed 's/-[^-]*$//' |
  sed 's/^/i2cbridge-cli /')" i2cbridge-cli --version
check "i2cbridge --version (the window program's libraries load)" \
  "$(in_chroot i2cbridge-cli --version | sed 's/^i2cbridge-cli/i2cbridge/')" \
  env QT_QPA_PLATFORM=offscreen i2cbridge --version

# The Python module, with the interpreter the package's Depends brought in.
check "python3 import i2cbridge" "b'Z'" /usr/bin/python3 -c \
  "import i2cbridge; print(i2cbridge.open(simulate=True).read(0x30, 2))"

# Removing the package leaves none of its files or folders behind (Python's byte code caches
# included, which the import above may have written).
echo "== apt-get remove i2cbridge"
in_chroot apt-get -q -y remove i2cbridge > "$top/remove.log" 2>&1 || fail "apt-get remove failed; see $top/remove.log"
if grep -i "warning" "$top/remove.log"; then
  echo "FAILED: apt-get remove warned (see $top/remove.log)"
  status=1
fi
left=$(cd "$run" && ls -d usr/bin/i2cbridge* usr/lib/python3/dist-packages/i2cbridge* \
  usr/share/doc/i2cbridge 2> /dev/null || true)
if [ -z "$left" ]; then
  echo "ok: nothing of the package is left after removal"
else
  echo "FAILED: left after removal: $left"
  status=1
fi

# Keep what is left, after a run that passed, as the dependency layer for the next run (only
# the latest one).
if [ $status -eq 0 ] && [ ! -f "$layer/.i2cbridge-deps-ready" ]; then
  rm -rf "$top"/deps-*
  rm -f "$run/tmp/i2cbridge.deb"
  mv "$run" "$layer"
  touch "$layer/.i2cbridge-deps-ready"
fi

[ $status -eq 0 ] && echo "== all checks passed" || echo "== some checks FAILED"
exit $status
