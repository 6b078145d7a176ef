#include <stdio.h>
#include <stdlib.h>

/* Preloaded in development: has tcp_wrappers (hosts_access(3)) read the tables of the appliance
 * root instead of the machine's. The library's own variables of these names are left aside, since a
 * program takes the first it finds. */

char *hosts_allow_table;
char *hosts_deny_table;

static char *below(const char *root, const char *path) {
    char *whole = NULL;
    /* Without its tables a program must not let everybody in. */
    if (asprintf(&whole, "%s%s", root, path) < 0)
        abort();
    return whole;
}

__attribute__((constructor)) static void find_tables(void) {
    const char *root = getenv("ZANDORIN_ROOT");
    hosts_allow_table = below(root == NULL ? "" : root, "/etc/hosts.allow");
    hosts_deny_table = below(root == NULL ? "" : root, "/etc/hosts.deny");
}
