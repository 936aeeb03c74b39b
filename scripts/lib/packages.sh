# Installs the Debian packages named as arguments when any of them is missing.
# Sourced by the project's scripts; needs root (or sudo) only when something is missing.
ensure_packages() {
  local missing=()
  local pkg
  for pkg in "$@"; do
    if ! dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'install ok installed'; then
      missing+=("$pkg")
    fi
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  echo "installing: ${missing[*]}"
  local sudo=()
  [ "$(id -u)" -ne 0 ] && sudo=(sudo)
  export DEBIAN_FRONTEND=noninteractive
  "${sudo[@]}" apt-get update -qq
  "${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
}

# What the uvc-stereo tool (and the fuzz target of its JSON handling) builds on: the
# header-only argument parser and JSON library.
# shellcheck disable=SC2034
UVC_STEREO_TOOL_PACKAGES=(libcli11-dev nlohmann-json3-dev)
