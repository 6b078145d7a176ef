# Read by every configurator: where the appliance is, its configuration, and how its files are replaced.

# Everything is made for its owner alone, and letters are ASCII.
umask 077
export LC_ALL=C

# The folder that stands for "/", "" for the real one.
root=${ZANDORIN_ROOT:-}
while [ "${root%/}" != "$root" ]; do root=${root%/}; done

# value KEY: prints the committed value; fails when it is empty.
value() {
    "$root/bin/zandorin-config" get "$1"
}

# secret KEY: the same of a password.
secret() {
    "$root/bin/zandorin-config" get --secret "$1"
}

# enabled KEY: succeeds when the committed value is true.
enabled() {
    "$root/bin/zandorin-config" is "$1"
}

# replace FILE MODE COMMAND...: makes what the command prints the contents of the file. When anything fails, the
# command included, the file stays as it was; a crash leaves the old file or the new one, whole.
replace() (
    file=$1
    mode=$2
    shift 2
    new=$(mktemp "${file%/*}/.new-XXXXXX") || exit 1
    trap 'rm -f "$new"' EXIT
    "$@" >"$new" && chmod "$mode" "$new" && sync "$new" && mv -f "$new" "$file"
)

# tell_daemons: has the daemons of the page that this configurator is named after take what is stored. Where the
# daemons are not installed there is nobody to tell.
tell_daemons() {
    if [ ! -x "$root/bin/zandorin-services" ]; then return 0; fi
    "$root/bin/zandorin-services" page "${0##*/}"
}
