// Asks web servers on this machine for pages, one request at a time and the servers taking turns,
// so that a machine whose speed drifts is fair to all of them.
//
//     bench-load ROUNDS REQUESTS <subjects
//
// Each line of input is a subject, in fields that tabs part: its name, the server's process id and
// port, the method, the target, the cookies, the body ("#" stands for a number that is new in each
// request), and a text that the page must hold. In each of ROUNDS rounds every subject is asked for
// REQUESTS pages. Subjects of one name count as one. Prints for each its requests a second (the
// median batch), the CPU time of a request (microseconds, of the server and all it starts), and
// both as a ratio to the first subject's.

#include "util/fd.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

struct Subject {
    std::string name, pid, port, method, target, cookies, body, expected;
    std::vector<double> rates = {};
    double cpu = 0; // microseconds
    long requests = 0;
};

/// A batch ends early rather than keep the others waiting.
constexpr std::chrono::duration<double> longest_batch{1.5};

/// CPU time that a process and the children it has waited for have used, in microseconds
/// (proc(5), fields 14 to 17 of stat).
double cpuTime(const std::string &pid) {
    std::ifstream file("/proc/" + pid + "/stat");
    std::string text(std::istreambuf_iterator<char>(file), {});
    std::istringstream fields(text.substr(std::min(text.rfind(')') + 1, text.size())));
    std::string field;
    for (int skipped = 3; skipped < 14; ++skipped)
        fields >> field;
    double ticks = 0;
    for (int counted = 0; counted < 4 && fields >> field; ++counted)
        ticks += std::strtod(field.c_str(), nullptr);
    return ticks * 1e6 / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

/// The whole answer; "" when there was none.
std::string ask(const Subject &subject, long number) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port =
        htons(static_cast<std::uint16_t>(std::strtoul(subject.port.c_str(), nullptr, 10)));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const zandorin::UniqueFd socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const timeval patience = {60, 0};
    ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    if (::connect(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        return "";
    std::string body = subject.body;
    if (const auto mark = body.find('#'); mark != std::string::npos)
        body.replace(mark, 1, std::to_string(number));
    std::string request =
        subject.method + " " + subject.target + " HTTP/1.0\r\nHost: 127.0.0.1\r\n";
    if (!subject.cookies.empty())
        request += "Cookie: " + subject.cookies + "\r\n";
    if (!body.empty())
        request += "Content-Type: application/x-www-form-urlencoded\r\nContent-Length: " +
                   std::to_string(body.size()) + "\r\n";
    request += "\r\n" + body;
    if (::send(socket.get(), request.data(), request.size(), MSG_NOSIGNAL) !=
        static_cast<ssize_t>(request.size()))
        return "";
    std::string answer;
    std::array<char, 16384> part;
    for (ssize_t count = 0; (count = ::read(socket.get(), part.data(), part.size())) > 0;)
        answer.append(part.data(), static_cast<std::size_t>(count));
    return answer;
}

bool isGood(const Subject &subject, const std::string &answer) {
    if (answer.substr(0, 12).ends_with(" 200") &&
        answer.find(subject.expected) != std::string::npos)
        return true;
    std::cerr << subject.name << ": unexpected answer\n" << answer << "\n";
    return false;
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

std::vector<Subject> readSubjects() {
    std::vector<Subject> subjects;
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream fields(line);
        Subject subject;
        for (std::string *field :
             {&subject.name, &subject.pid, &subject.port, &subject.method, &subject.target,
              &subject.cookies, &subject.body, &subject.expected})
            std::getline(fields, *field, '\t');
        subjects.push_back(std::move(subject));
    }
    return subjects;
}

/// The first of each name, with the batches of all.
std::vector<Subject> joined(std::vector<Subject> &&subjects) {
    std::vector<Subject> result;
    for (Subject &subject : subjects) {
        const auto known = std::find_if(result.begin(), result.end(), [&](const Subject &other) {
            return other.name == subject.name;
        });
        if (known == result.end()) {
            result.push_back(std::move(subject));
            continue;
        }
        known->rates.insert(known->rates.end(), subject.rates.begin(), subject.rates.end());
        known->cpu += subject.cpu;
        known->requests += subject.requests;
    }
    return result;
}

} // namespace

int main(int argc, char **argv) {
    using Clock = std::chrono::steady_clock;
    const long rounds = argc == 3 ? std::strtol(argv[1], nullptr, 10) : 0;
    const long requests = argc == 3 ? std::strtol(argv[2], nullptr, 10) : 0;
    std::vector<Subject> subjects = readSubjects();
    if (rounds < 1 || requests < 1 || subjects.empty()) {
        std::cerr << "usage: " << argv[0] << " ROUNDS REQUESTS <subjects\n";
        return 2;
    }
    long number = 0;
    for (const Subject &subject : subjects)
        if (!isGood(subject, ask(subject, ++number)))
            return 1;
    // Several subjects may share a server: its time is told round by round.
    for (long round = 0; round < rounds; ++round) {
        for (Subject &subject : subjects) {
            const double before = cpuTime(subject.pid);
            const auto start = Clock::now();
            std::chrono::duration<double> taken{};
            long count = 0;
            for (; count < requests && taken < longest_batch; ++count) {
                if (!isGood(subject, ask(subject, ++number)))
                    return 1;
                taken = Clock::now() - start;
            }
            subject.rates.push_back(static_cast<double>(count) / taken.count());
            subject.requests += count;
            subject.cpu += cpuTime(subject.pid) - before;
        }
    }
    subjects = joined(std::move(subjects));
    std::printf("%-44s %10s %6s %10s %6s\n", "", "requests/s", "ratio", "CPU us", "ratio");
    const auto each = [](const Subject &subject) {
        return subject.cpu / static_cast<double>(subject.requests);
    };
    const Subject &first = subjects.front();
    for (const Subject &subject : subjects) {
        const double rate = median(subject.rates);
        std::printf("%-44s %10.0f %6.2f %10.0f %6.2f\n", subject.name.c_str(), rate,
                    rate / median(first.rates), each(subject), each(subject) / each(first));
    }
    return 0;
}
