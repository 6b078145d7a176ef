/* Stands in for a program: appends to /tmp/started of the appliance what it was started with, a line each: "arg",
   "env" and "fd". Answers success. */
#include <dirent.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

extern char **environ;

int main(int argc, char **argv) {
    const char *root = getenv("ZANDORIN_ROOT");
    char path[PATH_MAX] = "";
    snprintf(path, sizeof path, "%s/tmp/started", root == NULL ? "" : root);
    FILE *record = fopen(path, "ae");
    DIR *descriptors = opendir("/proc/self/fd");
    if (record == NULL || descriptors == NULL)
        return 1;
    for (int i = 1; i < argc; ++i)
        fprintf(record, "arg %s\n", argv[i]);
    for (char **variable = environ; *variable != NULL; ++variable)
        fprintf(record, "env %.*s\n", (int)strcspn(*variable, "="), *variable);
    for (const struct dirent *entry; (entry = readdir(descriptors)) != NULL;) {
        const int number = atoi(entry->d_name);
        if (entry->d_name[0] == '.' || number == dirfd(descriptors) || number == fileno(record))
            continue;
        char target[PATH_MAX] = "";
        if (readlinkat(dirfd(descriptors), entry->d_name, target, sizeof target - 1) > 0)
            fprintf(record, "fd %s %s\n", entry->d_name, strncmp(target, "pipe:", 5) == 0 ? "pipe" : target);
    }
    return fclose(record) == 0 ? 0 : 1;
}
