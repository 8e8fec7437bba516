// Programs as a user runs them.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace ZYNE::Testing {

struct Outcome {
    int status;  // exit status; 128 + signal when killed
    std::string out;
    std::string err;
};

// Runs a program to its end.
Outcome RunCommand(const std::vector<std::string>& command);

// A program that runs until it is stopped; its output goes to a file.
class Process {
public:
    Process(const std::vector<std::string>& command, const std::string& outputFile);
    ~Process();  // kills it if it still runs
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t Pid() const { return pid_; }
    void Signal(int signal) const;
    bool HasEnded();
    // Waits for the end; the exit status, or 128 + signal.
    int Wait();

private:
    void Reap(int options);

    pid_t pid_;
    int status_ = -1;
};

// Whether `condition` comes true within a limit that only a broken program passes.
bool Eventually(const std::function<bool()>& condition, std::chrono::seconds limit = std::chrono::seconds(30));

}  // namespace ZYNE::Testing
