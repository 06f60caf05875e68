# Sourced by the scripts in which the releases of Debian differ.

# "testing" and "unstable" carry no number and are newer than any that does.
debian_release() { sed -n 's/^VERSION_ID="\{0,1\}\([0-9]*\).*/\1/p' /etc/os-release | grep . || echo 99; }

# lacks_clang14 WHAT   Whether WHAT must be left out, because it is pinned to clang 14 (with its
# sanitizers, clang-tidy and clang-format) and this release of Debian has none. Says so in one line.
lacks_clang14() {
    if (($(debian_release) < 13)) || command -v clang++-14 >/dev/null; then return 1; fi
    echo "$1: left out, because it is pinned to clang 14, which this release of Debian lacks"
}
