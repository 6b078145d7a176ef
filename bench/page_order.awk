#!/usr/bin/awk -f
# Names of functions, one a line, as the compiler mangles them: writes a script for the linker that puts them side by
# side, in the order in which they first come.

BEGIN {
    print "/* Written by script/bench --order: what pages run, side by side. A name that is no more does no harm. */"
    print "SECTIONS"
    print "{"
    print "  .text.page :"
    print "  {"
    print "    *(.text.startup .text.startup.*)"
}

# Types whose letter depends on the target's word: size_t and its like.
function portable(name,    result, length_) {
    while (name != "") {
        if (match(name, /^[0-9]+/))
            length_ = RLENGTH + substr(name, 1, RLENGTH)
        else
            length_ = 1
        result = result (name ~ /^[ijlmx]/ ? "?" : substr(name, 1, length_))
        name = substr(name, length_ + 1)
    }
    return result
}

{
    name = $0
    # The compiler's own variants of a function have a suffix that the next compiler numbers anew.
    sub(/'.*/, "", name) # a recursion
    sub(/\..*/, ".*", name)
    if (name ~ /^_Z/)
        name = portable(name)
    if (name !~ /^\(|^0x|^_GLOBAL__|^main$/ && !seen[name]++)
        print "    *(.text." name ")"
}

END {
    print "  }"
    print "}"
    print "INSERT BEFORE .text;"
}
