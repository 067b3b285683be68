#!/usr/bin/env bash
# Installs every system package the project needs on Debian 12, then the JavaScript test tools pinned by
# tests/js/package-lock.json. Idempotent; run as root (or with sudo).
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"

packages=(
  build-essential cmake ninja-build pkg-config git
  clang clang-format libclang-rt-14-dev
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  libfast-float-dev libedit-dev
  qt6-base-dev qt6-base-dev-tools qt6-svg-dev qt6-httpserver-dev qt6-websockets-dev qt6-webchannel-dev
  qt6-webengine-dev qt6-qpa-plugins fonts-dejavu-core chromium xvfb xauth
  libboost-dev
  python3-ezdxf python3-matplotlib
  nodejs npm
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' && continue
  # A nodejs package from outside Debian may bring its own npm and conflict with Debian's; its npm will do.
  [ "$p" = npm ] && command -v npm >/dev/null && continue
  missing+=("$p")
done

if [ ${#missing[@]} -gt 0 ]; then
  SUDO=""
  if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update -qq
  $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

# npm ci leaves its own record of what it installed; reinstall whenever the committed lockfile is newer.
js="$here/tests/js"
if [ ! -e "$js/node_modules/.package-lock.json" ] || [ "$js/package-lock.json" -nt "$js/node_modules/.package-lock.json" ]; then
  (cd "$js" && npm ci --no-audit --no-fund --loglevel=error >/dev/null)
fi
