// Runs a program as a web server runs a CGI program, again and again.
//
//     bench-request RUNS ROOT QUERY SESSION PROGRAM
//
// Prints its peak memory in KiB and its page faults a run, as the kernel accounts them to the ended
// process: the highest and the median.

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

int main(int argc, char **argv) {
    if (argc != 6) {
        std::fprintf(stderr, "usage: %s RUNS ROOT QUERY SESSION PROGRAM\n", argv[0]);
        return 2;
    }
    std::vector<std::string> words = {"PATH=/usr/bin:/bin",
                                      "GATEWAY_INTERFACE=CGI/1.1",
                                      "SERVER_PROTOCOL=HTTP/1.1",
                                      "REQUEST_METHOD=GET",
                                      "REMOTE_ADDR=127.0.0.1",
                                      "REMOTE_PORT=40000",
                                      std::string("ZANDORIN_ROOT=") + argv[2],
                                      std::string("QUERY_STRING=") + argv[3],
                                      std::string("HTTP_COOKIE=ZdSessionId=") + argv[4]};
    std::vector<char *> environment;
    environment.reserve(words.size() + 1);
    for (std::string &word : words)
        environment.push_back(word.data());
    environment.push_back(nullptr);
    const std::array<char *, 2> arguments = {argv[5], nullptr};

    long peak = 0;
    std::vector<long> faults;
    for (long run = std::strtol(argv[1], nullptr, 10); run > 0; --run) {
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
        pid_t pid = -1;
        const int failed =
            posix_spawn(&pid, argv[5], &actions, nullptr, arguments.data(), environment.data());
        posix_spawn_file_actions_destroy(&actions);
        int status = 0;
        rusage usage = {};
        if (failed != 0 || wait4(pid, &status, 0, &usage) != pid || status != 0) {
            std::fprintf(stderr, "%s did not run well\n", argv[5]);
            return 1;
        }
        peak = std::max(peak, usage.ru_maxrss);
        faults.push_back(usage.ru_minflt + usage.ru_majflt);
    }
    std::sort(faults.begin(), faults.end());
    std::printf("%ld %ld\n", peak, faults.empty() ? 0 : faults[faults.size() / 2]);
    return 0;
}
