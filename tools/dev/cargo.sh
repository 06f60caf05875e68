# Sourced by the scripts that need cargo to fetch the OPC UA library's source.

# The first cargo that reads packages of the edition 2024, which 1.85 was the first to do. An older one
# that comes earlier in PATH is passed over; rustup's place counts whether or not the shell's start-up
# file has put it into PATH. Prints its path; status 1 when there is none.
new_enough_cargo() {
    local candidate major minor
    while read -r candidate; do
        [ -x "$candidate" ] || continue
        read -r major minor < <("$candidate" --version 2>/dev/null |
            sed -nE 's/^cargo ([0-9]+)\.([0-9]+).*/\1 \2/p') || continue
        if ((major > 1 || minor >= 85)); then
            echo "$candidate"
            return 0
        fi
    done < <(type -aP cargo || true; echo "${HOME-}/.cargo/bin/cargo"; echo /usr/bin/cargo)
    return 1
}
