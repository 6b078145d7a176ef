// Times programs as whole processes, the way a web server starts a CGI program, taking turns so
// that a machine whose speed drifts is fair to all of them.
//
//     bench-request RUNS ROOT QUERY COOKIE PROGRAM [PROGRAM...]
//
// Prints, for each program, its CPU time a run (user and system, as the kernel accounts it to the
// ended process), its ratio to the first program's, and its peak memory. Medians over the runs.

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

namespace {

struct Cost {
    std::vector<double> cpuMicroseconds;
    long peakKilobytes = 0;
};

double microseconds(const timeval &time) {
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

bool runOnce(char *program, char *const *environment, Cost &cost) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    const std::array<char *, 2> arguments = {program, nullptr};
    pid_t pid = -1;
    const int failed = posix_spawn(&pid, program, &actions, nullptr, arguments.data(), environment);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    rusage usage = {};
    if (failed != 0 || wait4(pid, &status, 0, &usage) != pid || status != 0) {
        std::fprintf(stderr, "%s did not run well\n", program);
        return false;
    }
    cost.cpuMicroseconds.push_back(microseconds(usage.ru_utime) + microseconds(usage.ru_stime));
    cost.peakKilobytes = std::max(cost.peakKilobytes, usage.ru_maxrss);
    return true;
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 6) {
        std::fprintf(stderr, "usage: %s RUNS ROOT QUERY COOKIE PROGRAM [PROGRAM...]\n", argv[0]);
        return 2;
    }
    const long runs = std::strtol(argv[1], nullptr, 10);
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

    const std::vector<char *> programs(argv + 5, argv + argc);
    std::vector<Cost> costs(programs.size());
    for (long run = 0; run < runs; ++run)
        for (std::size_t i = 0; i < programs.size(); ++i)
            if (!runOnce(programs[i], environment.data(), costs[i]))
                return 1;

    std::printf("%-40s %12s %8s %10s\n", "program", "CPU us", "ratio", "peak KiB");
    const double first = median(costs[0].cpuMicroseconds);
    for (std::size_t i = 0; i < programs.size(); ++i) {
        const double cpu = median(costs[i].cpuMicroseconds);
        std::printf("%-40s %12.0f %8.2f %10ld\n", programs[i], cpu, cpu / first,
                    costs[i].peakKilobytes);
    }
    return 0;
}
