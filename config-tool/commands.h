#pragma once

#include <algorithm>
#include <string>
#include <vector>

namespace zandorin::config_tool {

// Exit statuses.
constexpr int done = 0;
constexpr int refused = 1; ///< or what was asked for is not there
constexpr int misuse = 2;

/// The words of a command line.
struct Request {
    std::string command;
    std::vector<std::string> options;
    std::vector<std::string> operands;

    bool has(const char *option) const {
        return std::find(options.begin(), options.end(), option) != options.end();
    }
};

struct Complaint {
    std::string key;     ///< "" for none
    std::string message; ///< raw text
};

struct Answer {
    int status = done;
    std::string output = "";
    std::vector<Complaint> complaints = {};
};

/// Carries out a command. Throws utilities::Exception for a key or value that no store can hold.
Answer run(const Request &request);

} // namespace zandorin::config_tool
