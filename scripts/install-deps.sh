#!/usr/bin/env bash
# Installs every system package the project needs on Debian 12. Idempotent; run as root (or with sudo).
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config git
  clang clang-format libclang-rt-14-dev
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  libfast-float-dev libedit-dev
  qt6-base-dev qt6-base-dev-tools
  python3-ezdxf
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
