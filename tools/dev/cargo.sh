# Sourced by the scripts that need cargo to fetch the OPC UA library's source.

# Prints the path of the first cargo that reads packages of the edition 2024, that is, 1.85 or newer. An
# older one earlier in PATH is skipped; rustup's folder is searched even if the shell's start-up file has
# not put it into PATH. Status 1 if there is none.
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
