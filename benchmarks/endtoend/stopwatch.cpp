// Runs a program and writes what it cost as one JSON document: seconds of processor time and of the wall, peak memory
// in bytes. A program of its own, since the peak memory of a child begins with that of whoever starts it.
//
//     stopwatch REPORT FILE|- COMMAND ARGUMENT...
//
// The lines of FILE go to the program's standard input one by one, each when the program has answered the one before
// with a line. The report has `p50` and `p99` of the time between line and answer then, in seconds; the first tenth of
// the lines warms up and doesn't count. With - the program is left alone. Exits with the program's code.
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

double secondsOf(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

std::vector<std::string> readLines(const char* name) {
  std::ifstream file(name);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line + "\n");
  if (lines.empty()) throw std::runtime_error(std::string(name) + ": no line can be read");
  return lines;
}

class Child {
 public:
  /// Starts the command, its standard input and output on pipes if `isAsked`.
  Child(char** command, bool isAsked) {
    int questions[2]{-1, -1};
    int answers[2]{-1, -1};
    if (isAsked && (pipe(questions) != 0 || pipe(answers) != 0)) throw std::runtime_error("there is no pipe to be had");
    input = questions[1];
    output = answers[0];
    process = fork();
    if (process < 0) throw std::runtime_error("there is no process to be had");
    if (process == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      if (isAsked) {
        dup2(questions[0], STDIN_FILENO);
        dup2(answers[1], STDOUT_FILENO);
        for (const int end : {questions[0], questions[1], answers[0], answers[1]}) close(end);
      }
      execvp(command[0], command);
      std::fprintf(stderr, "stopwatch: %s: %s\n", command[0], std::strerror(errno));
      _exit(127);
    }
    if (!isAsked) return;
    close(questions[0]);
    close(answers[1]);
  }

  /// Gives the line, and returns when a whole line came back.
  void ask(const std::string& line) const {
    if (write(input, line.data(), line.size()) != static_cast<ssize_t>(line.size()))
      throw std::runtime_error("the program doesn't read its standard input");
    char answer[4096];
    for (ssize_t count = 0; count == 0 || answer[count - 1] != '\n';)
      if (count = read(output, answer, sizeof answer); count <= 0)
        throw std::runtime_error("the program didn't answer");
  }

  void endInput() const { close(input); }

  /// Waits for the end. Returns the exit code.
  int wait(rusage& usage) const {
    int status = 0;
    if (wait4(process, &status, 0, &usage) < 0) throw std::runtime_error("the program is lost");
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

 private:
  pid_t process;
  int input, output;
};

/// Seconds between each line and its answer, ascending, without those that warmed up.
std::vector<double> converse(const Child& child, const std::vector<std::string>& lines) {
  std::vector<double> seconds;
  for (const std::string& line : lines) {
    const auto start = Clock::now();
    child.ask(line);
    seconds.push_back(secondsSince(start));
  }
  child.endInput();
  seconds.erase(seconds.begin(), seconds.begin() + static_cast<std::ptrdiff_t>(seconds.size() / 10));
  std::sort(seconds.begin(), seconds.end());
  return seconds;
}

int run(const char* reportFile, const char* linesFile, char** command) {
  const bool isAsked = std::strcmp(linesFile, "-") != 0;
  const std::vector<std::string> lines = isAsked ? readLines(linesFile) : std::vector<std::string>();
  signal(SIGPIPE, SIG_IGN);
  std::ofstream report(reportFile);
  const auto start = Clock::now();
  const Child child(command, isAsked);
  const std::vector<double> latencies = isAsked ? converse(child, lines) : std::vector<double>();
  rusage usage{};
  const int code = child.wait(usage);
  report << "{\"wall\":" << secondsSince(start)
         << ",\"processor\":" << secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime)
         << ",\"memory\":" << usage.ru_maxrss * 1024;
  if (isAsked)
    report << ",\"p50\":" << latencies[latencies.size() / 2] << ",\"p99\":" << latencies[latencies.size() * 99 / 100];
  report << "}\n";
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) {
    std::fputs("stopwatch REPORT FILE|- COMMAND ARGUMENT...\n", stderr);
    return 2;
  }
  try {
    return run(argv[1], argv[2], argv + 3);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "stopwatch: %s\n", error.what());
    return 1;
  }
}
