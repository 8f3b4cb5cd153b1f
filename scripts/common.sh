# Shared by the scripts: installing packages and building. Source it; it changes to the project's folder.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

say() { printf '\n== %s\n' "$*"; }

fail() {
  printf '%s: %s\n' "${0##*/}" "$*" >&2
  exit 1
}

# install PACKAGE...: installs the Debian packages that are missing.
install() {
  command -v dpkg-query >/dev/null ||
    fail "this installs Debian packages; on other systems install the equivalents, then see 'Build' in README.md: $*"
  local missing=()
  for package in "$@"; do
    [ "$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null)" = 'install ok installed' ] || missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  say "Installing ${missing[*]}"
  local asRoot=()
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || fail "run this as root, or install these packages first: ${missing[*]}"
    asRoot=(sudo)
  fi
  "${asRoot[@]}" apt-get update -qq
  "${asRoot[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
}

# Needed for every build.
install_build_tools() {
  install g++ cmake ninja-build ccache libgtest-dev libbenchmark-dev libcli11-dev libfmt-dev nlohmann-json3-dev libstb-dev \
    pkg-config librsvg2-dev libboost1.81-dev
  install_node_packages
}

# What the live page embeds, and what its tests drive a browser with. Runs nothing of the packages.
install_node_packages() {
  [ ! node_modules/.package-lock.json -nt package-lock.json ] || return 0
  command -v npm >/dev/null || install nodejs npm
  say "Installing the packages of package.json"
  npm ci --ignore-scripts --no-audit --no-fund
}

# Fetches the LSL library and names it for what follows, with a configuration that sends nothing to other computers. Only
# unpacks it; nothing of its package is installed or run.
fetch_lsl() {
  local folder=$PWD/build/lsl
  local library=$folder/package/prebuilt/liblsl64.so
  local checksum=13f1ba640400ceca418737417cbee832f884a7aa061a7caee236ea9895f32f6a
  if [ ! -f "$library" ]; then
    command -v npm >/dev/null || install nodejs npm
    say "Fetching the LSL library"
    mkdir -p "$folder"
    (cd "$folder" && npm pack --silent lsl.js@1.1.2)
    tar xzf "$folder/lsl.js-1.1.2.tgz" -C "$folder" package/prebuilt/liblsl64.so package/prebuilt/liblsl64.dll
  fi
  echo "$checksum  $library" | sha256sum --check --quiet || fail "$library is not the file that this script expects"
  printf '[multicast]\nResolveScope = machine\n[lab]\nKnownPeers = {127.0.0.1}\n' >"$folder/lsl_api.cfg"
  export LSLAPICFG=$folder/lsl_api.cfg TESSEL_LSL_LIBRARY=$library
}

# build PRESET [TARGET...]
build() {
  local preset=$1
  shift
  say "Building ($preset)"
  mkdir -p build
  local log=build/configure-$preset.log
  cmake --preset "$preset" >"$log" 2>&1 || { cat "$log"; fail "configuring failed"; }
  cmake --build --preset "$preset" ${1:+--target "$@"}
}
