#include "tests/support/programs/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <map>
#include <stdexcept>

#include "tests/support/programs/Eventually.h"

#ifndef __linux__
extern char** environ;  // no header has it
#endif

namespace tevanto::test {
namespace {

constexpr int kExecFailed = 127;

std::map<std::string, std::string> environmentWith(
    const std::vector<std::pair<std::string, std::string>>& changes) {
  std::map<std::string, std::string> variables;
  for (char** entry = environ; *entry; ++entry) {
    const std::string text = *entry;
    const auto equals = text.find('=');
    if (equals != std::string::npos) variables[text.substr(0, equals)] = text.substr(equals + 1);
  }
  for (const auto& [name, value] : changes) {
    if (value.empty()) {
      variables.erase(name);
    } else {
      variables[name] = value;
    }
  }
  return variables;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> result;
  for (auto& text : texts) result.push_back(text.data());
  result.push_back(nullptr);
  return result;
}

#ifdef __linux__
void makePipe(int (&ends)[2]) {
  if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("cannot create a pipe");
}

/// In the child.
void endWith(pid_t parent) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() != parent) ::_exit(kExecFailed);  // it died before the line above
}

void execute(char** arguments, char** environment) { ::execvpe(arguments[0], arguments, environment); }
#else
void makePipe(int (&ends)[2]) {
  if (::pipe(ends) != 0) throw std::runtime_error("cannot create a pipe");
  for (const int end : ends) ::fcntl(end, F_SETFD, FD_CLOEXEC);
}

/// No such thing here: what a test that crashed leaves behind is left behind.
void endWith(pid_t) {}

void execute(char** arguments, char** environment) {
  environ = environment;
  ::execvp(arguments[0], arguments);
}
#endif

}  // namespace

ChildProcess::ChildProcess(std::vector<std::string> command, Options options) {
  std::vector<std::string> variables;
  for (const auto& [name, value] : environmentWith(options.environment))
    variables.push_back(name + "=" + value);
  auto arguments = pointers(command);
  auto environment = pointers(variables);
  int in[2];
  int out[2];
  makePipe(in);
  makePipe(out);
  const pid_t parent = ::getpid();

  pid_ = ::fork();
  if (pid_ == 0) {
    endWith(parent);
    ::dup2(in[0], STDIN_FILENO);
    ::dup2(out[1], STDOUT_FILENO);
    if (options.mergeErrors) ::dup2(out[1], STDERR_FILENO);
    execute(arguments.data(), environment.data());
    ::_exit(kExecFailed);
  }
  ::close(in[0]);
  ::close(out[1]);
  input_ = in[1];
  output_ = out[0];
  if (pid_ < 0) throw std::runtime_error("cannot fork");
}

ChildProcess::~ChildProcess() {
  terminate();
  closeInput();
  if (output_ >= 0) ::close(output_);
}

void ChildProcess::reap(int status) {
  exitStatus_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

bool ChildProcess::isRunning() {
  int status = 0;
  if (!exitStatus_ && ::waitpid(pid_, &status, WNOHANG) == pid_) reap(status);
  return !exitStatus_;
}

void ChildProcess::signal(int number) {
  if (isRunning()) ::kill(pid_, number);
}

void ChildProcess::terminate() {
  signal(SIGTERM);
  signal(SIGCONT);  // one that was stopped hears of the first signal only now
  if (!eventually([this] { return !isRunning(); }, std::chrono::seconds(5))) kill();
}

void ChildProcess::kill() {
  signal(SIGKILL);
  wait();
}

int ChildProcess::wait() {
  int status = 0;
  while (!exitStatus_) {
    if (::waitpid(pid_, &status, 0) == pid_) reap(status);
  }
  return *exitStatus_;
}

void ChildProcess::write(const std::string& text) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t count = ::write(input_, text.data() + done, text.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw std::runtime_error("the program does not read its input");
    done += static_cast<std::size_t>(count);
  }
}

void ChildProcess::closeInput() {
  if (input_ >= 0) ::close(input_);
  input_ = -1;
}

bool ChildProcess::fill(std::chrono::milliseconds deadline) {
  pollfd waited{output_, POLLIN, 0};
  if (::poll(&waited, 1, static_cast<int>(deadline.count())) <= 0) return false;
  char block[4096];
  const ssize_t count = ::read(output_, block, sizeof block);
  if (count <= 0) return false;
  buffered_.append(block, static_cast<std::size_t>(count));
  return true;
}

std::optional<std::string> ChildProcess::readLine(std::chrono::milliseconds deadline) {
  const auto end = std::chrono::steady_clock::now() + deadline;
  while (true) {
    if (const auto feed = buffered_.find('\n'); feed != std::string::npos) {
      std::string line = buffered_.substr(0, feed);
      buffered_.erase(0, feed + 1);
      return line;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
    if (left.count() <= 0 || !fill(left)) return std::nullopt;
  }
}

std::string ChildProcess::readAll() {
  while (fill(std::chrono::minutes(1))) {
  }
  return std::exchange(buffered_, {});
}

ProgramResult runProgram(std::vector<std::string> command, ChildProcess::Options options) {
  ChildProcess program(std::move(command), std::move(options));
  program.closeInput();
  std::string output = program.readAll();
  return {program.wait(), std::move(output)};
}

}  // namespace tevanto::test
