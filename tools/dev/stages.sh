# Sourced by scripts that work in stages: prints what each stage does and how long it took.

# Seconds since the given EPOCHREALTIME, "12.3". The decimal sign of that variable is the locale's.
seconds_since() {
    local from=${1/[.,]/} now=${EPOCHREALTIME/[.,]/}
    local tenths=$(((now - from) / 100000))
    echo "$((tenths / 10)).$((tenths % 10))"
}

# stage TEXT COMMAND...   runs the command between two lines; its status is the stage's.
stage() {
    local text=$1 begin=$EPOCHREALTIME status=0
    shift
    echo "== $text ..."
    "$@" || status=$?
    if ((status)); then
        echo "   FAILED with status $status after $(seconds_since "$begin") s: $text" >&2
    else
        echo "   done in $(seconds_since "$begin") s"
    fi
    return "$status"
}
