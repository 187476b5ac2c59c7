#!/usr/bin/env bash
# Installs what the tests need beyond the machine's toolchain: ImageMagick, the independent decoder
# the bitmap tests compare against, and the Python libraries of the result-table tools (statistics,
# plots, their tests, the JSON schema checker, Chromium for the screenshot of the report page) for the distribution's /usr/bin/python3, the compiler cache the builds use
# when it is there (repeated builds of an unchanged source take its object from the cache), Ninja, and clang with its fuzzing runtime (the fuzz targets). Does nothing when everything is there.
set -euo pipefail
need=()
if ! /usr/bin/convert -version 2>/dev/null | grep -q ImageMagick; then need+=(imagemagick); fi
for pkg in cmake libgtest-dev libbenchmark-dev python3-scipy python3-statsmodels python3-matplotlib python3-pytest python3-jsonschema chromium ccache ninja-build clang libclang-rt-14-dev; do
  dpkg -s "$pkg" >/dev/null 2>&1 || need+=("$pkg")
done
if [ ${#need[@]} -gt 0 ]; then
  echo "Installing: ${need[*]}"
  SUDO=""; [ "$(id -u)" -ne 0 ] && SUDO="sudo"
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq "${need[@]}" >/dev/null
fi
