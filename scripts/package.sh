#!/usr/bin/env bash
# Builds the Debian package (build/ostrelle_<version>_amd64.deb), installs it with apt-get, and checks the
# installed program: its version, and a start under a virtual display with its bundled web app.
# Slower than the test suite and changes the machine (installs the package): run it on a machine for that.
# Usage: scripts/package.sh [BUILD_DIR]
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build}"
scripts/setup.sh "$build" -DOSTRELLE_WERROR=ON
(cd "$build" && cpack -G DEB)
deb=$(ls "$build"/ostrelle_*_amd64.deb)
echo "== $deb: $(du -h "$deb" | cut -f1)"
dpkg-deb --field "$deb" Depends Recommends

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "$(realpath "$deb")"

echo "== installed"
/usr/bin/ostrelle --version
cat >"$build/package-check.sh" <<'CHECK'
#!/usr/bin/env bash
set -euo pipefail
work=$(mktemp -d)
export HOME="$work" XDG_DATA_HOME="$work/data" XDG_CONFIG_HOME="$work/config"
/usr/bin/ostrelle >"$work/log" 2>&1 &
program=$!
for _ in $(seq 150); do
    grep -q "getLocalData .*/usr/share/ostrelle/www/" "$work/log" && break
    sleep 0.2
done
status=0
grep -q "getLocalData .*/usr/share/ostrelle/www/" "$work/log" || { cat "$work/log"; status=1; }
gapplication action org.ostrelle.Ostrelle quit
wait "$program" || status=1
rm -rf "$work"
exit "$status"
CHECK
chmod +x "$build/package-check.sh"
tests/support/with-display.sh "$build/package-check.sh"
echo "== the installed program started and served its bundled web app"
