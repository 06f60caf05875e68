# Sourced by scripts that depend on the release of Debian.

# "testing" and "unstable" have no number and are newer than every release that has one.
debian_release() { sed -n 's/^VERSION_ID="\{0,1\}\([0-9]*\).*/\1/p' /etc/os-release | grep . || echo 99; }

# lacks_clang14 WHAT   Whether WHAT must be skipped, because it needs clang 14 (with its sanitizers,
# clang-tidy and clang-format) and this release of Debian does not have it. Prints a message then.
lacks_clang14() {
    if (($(debian_release) < 13)) || command -v clang++-14 >/dev/null; then return 1; fi
    echo "$1: left out, because it is pinned to clang 14, which this release of Debian lacks"
}
