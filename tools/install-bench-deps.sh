#!/usr/bin/env bash
# Installs the peer libraries of the kernel benchmark (bench/zkr_kernels): OpenCV's core and image
# processing modules and FFTW, both from the distribution. They are used only as speed anchors in
# that benchmark, never by the library, the program or the tests, so `make deps` and `make test`
# leave them out; `make bench-deps` runs this. Does nothing when both are there.
set -euo pipefail
need=()
for pkg in libopencv-dev libfftw3-dev pkg-config; do
  dpkg -s "$pkg" >/dev/null 2>&1 || need+=("$pkg")
done
if [ ${#need[@]} -gt 0 ]; then
  echo "Installing: ${need[*]}"
  SUDO=""; [ "$(id -u)" -ne 0 ] && SUDO="sudo"
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${need[@]}" >/dev/null
fi
