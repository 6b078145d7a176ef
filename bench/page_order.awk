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

# A pattern of names. Types have letters that depend on the target's word (size_t and its like), and the section of a
# constructor or destructor may be named after another of its variants.
function portable(name,    result, width) {
    while (name != "") {
        width = match(name, /^[0-9]+/) ? RLENGTH + substr(name, 1, RLENGTH) : name ~ /^[CD][0-3]/ ? 2 : 1
        if (name ~ /^[ijlmx]/)
            result = result "?"
        else if (name ~ /^[CD][0-3]/)
            result = result substr(name, 1, 1) "?"
        else
            result = result substr(name, 1, width)
        name = substr(name, width + 1)
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
