#!/usr/bin/awk -f
# Names of functions, one a line, as the compiler mangles them: writes a script for the linker that puts them side by
# side, in the order in which they first come.

BEGIN {
    print "/* Written by script/bench --order: what pages run, side by side. A name that is no more does no harm. */"
    print "SECTIONS"
    print "{"
    print "  .fini : { KEEP(*(SORT_NONE(.fini))) }"
    print "  .text.page :"
    print "  {"
    # What starts and ends every program.
    print "    *crt1.o(.text)"
    print "    *crtbegin*.o(.text)"
    print "    *libc_nonshared.a:*(.text)"
    print "    *(.text.startup .text.startup.*)"
}

# A pattern of names. Types have letters that depend on the target's word (size_t and its like), and the section of a
# constructor or destructor may be named after another of its variants.
function portable(name,    result, width) {
    while (name != "") {
        if (match(name, /^[0-9]+/)) # an identifier, after its length
            width = RLENGTH + substr(name, 1, RLENGTH)
        else if (match(name, /^[ST][0-9A-Z]*_/)) # something that has come before
            width = RLENGTH
        else
            width = name ~ /^[CD][0-3]/ ? 2 : 1
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
    sub(/'.*/, "", name)  # a recursion
    sub(/\..*/, "", name) # the compiler's own variant of a function; another compiler numbers it otherwise
    if (name ~ /^_Z/)
        name = portable(name)
    if (name !~ /^\(|^0x|^_GLOBAL__|^main$/ && !seen[name]++)
        print "    *(.text." name " .text." name ".*)"
}

END {
    print "  }"
    print "}"
    print "INSERT BEFORE .text;"
}
