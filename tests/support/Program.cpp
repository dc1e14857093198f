// SPDX-License-Identifier: Apache-2.0

#include "tests/support/Program.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <thread>

namespace platform::testing {

namespace {

struct Pipe {
    std::array<int, 2> ends = {-1, -1};
    Pipe() {
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) std::abort();
    }
    ~Pipe() {
        closeEnd(0);
        closeEnd(1);
    }
    void closeEnd(std::size_t end) {
        if (ends[end] >= 0) ::close(ends[end]);
        ends[end] = -1;
    }
};

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (auto& text : texts) result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

pid_t spawn(const ProgramRun& run, int input, int output, int errors) {
    const auto path = run.program.starts_with('/') ? run.program : (programFolder() / run.program).string();
    std::vector<std::string> arguments = run.arguments;
    arguments.insert(arguments.begin(), path);
    auto environment = run.environment;
    environment.try_emplace("PATH", "/usr/local/bin:/usr/bin:/bin");
    std::vector<std::string> variables;
    for (const auto& [name, value] : environment) variables.push_back(name + "=" + value);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errors, STDERR_FILENO);
    // The test ignores broken pipes, and may have been started to ignore more; the program is to meet them as
    // it would anywhere.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t restored;
    sigemptyset(&restored);
    for (const int signal : {SIGPIPE, SIGHUP, SIGINT, SIGQUIT, SIGTERM}) sigaddset(&restored, signal);
    posix_spawnattr_setsigdefault(&attributes, &restored);
    posix_spawnattr_setpgroup(&attributes, 0);
    const int group = run.leadsGroup ? POSIX_SPAWN_SETPGROUP : 0;
    posix_spawnattr_setflags(&attributes, static_cast<short>(POSIX_SPAWN_SETSIGDEF | group));
    pid_t process = -1;
    const int error = ::posix_spawn(&process, path.c_str(), &actions, &attributes, pointers(arguments).data(),
                                    pointers(variables).data());
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    EXPECT_EQ(error, 0) << "cannot start " << path;
    return error == 0 ? process : -1;
}

int exitStatus(int status) {
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

/// Reads what is there; false at the end.
bool readSome(int descriptor, std::string& text) {
    std::array<char, 16384> buffer;
    const auto length = ::read(descriptor, buffer.data(), buffer.size());
    if (length > 0) text.append(buffer.data(), static_cast<std::size_t>(length));
    return length > 0;
}

/// A program built with a sanitizer writes what it has found, and so does the extension that it started.
void expectNoSanitizerReport(const std::string& errors) {
    for (const char* mark : {"Sanitizer: ", "runtime error: "})
        EXPECT_EQ(errors.find(mark), std::string::npos) << errors;
}

}  // namespace

std::vector<pid_t> childrenOf(pid_t process) {
    const auto number = std::to_string(process);
    std::ifstream stream("/proc/" + number + "/task/" + number + "/children");
    std::vector<pid_t> result;
    for (pid_t child = 0; stream >> child;) result.push_back(child);
    return result;
}

bool isAlive(pid_t process) {
    const auto folder = "/proc/" + std::to_string(process);
    // Its first thread may have ended while others are on their way to.
    std::error_code gone;
    std::size_t threads = 0;
    for (std::filesystem::directory_iterator each(folder + "/task", gone), end; !gone && each != end;
         each.increment(gone))
        ++threads;
    if (threads > 1) return true;
    std::ifstream stream(folder + "/stat");
    const std::string text((std::istreambuf_iterator<char>(stream)), {});
    const auto state = text.rfind(") ");
    return state != std::string::npos && text[state + 2] != 'Z';
}

std::filesystem::path programFolder() {
    return VELA_PROGRAM_FOLDER;
}

void sleepBriefly() {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
}

ProgramResult ProgramRun::run() const {
    ::signal(SIGPIPE, SIG_IGN);
    Pipe inputPipe, outputPipe, errorPipe;
    ProgramResult result;
    const auto process = spawn(*this, inputPipe.ends[0], outputPipe.ends[1], errorPipe.ends[1]);
    if (process < 0) return result;
    inputPipe.closeEnd(0);
    outputPipe.closeEnd(1);
    errorPipe.closeEnd(1);
    std::thread writer([&] {
        std::string_view rest = input;
        while (!rest.empty()) {
            const auto written = ::write(inputPipe.ends[1], rest.data(), rest.size());
            if (written <= 0) break;
            rest.remove_prefix(static_cast<std::size_t>(written));
        }
        inputPipe.closeEnd(1);
    });

    const auto end = std::chrono::steady_clock::now() + limit;
    std::array<pollfd, 2> ends = {pollfd{outputPipe.ends[0], POLLIN, 0},
                                  pollfd{errorPipe.ends[0], POLLIN, 0}};
    while (ends[0].fd >= 0 || ends[1].fd >= 0) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now())
                .count();
        if (left <= 0 || ::poll(ends.data(), ends.size(), static_cast<int>(left)) == 0) {
            ADD_FAILURE() << program << " has gone on for longer than " << limit.count() << " s";
            ::kill(process, SIGKILL);
            break;
        }
        if (ends[0].revents != 0 && !readSome(ends[0].fd, result.output)) ends[0].fd = -1;
        if (ends[1].revents != 0 && !readSome(ends[1].fd, result.errors)) ends[1].fd = -1;
    }
    int status = 0;
    rusage usage = {};
    ::wait4(process, &status, 0, &usage);
    writer.join();
    result.status = exitStatus(status);
    result.peakMemory = usage.ru_maxrss * 1024;
    expectNoSanitizerReport(result.errors);
    return result;
}

BackgroundProgram::BackgroundProgram(const ProgramRun& run) {
    Pipe input;
    const int nothing = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    process_ = spawn(run, input.ends[0], nothing, nothing);
    ::close(nothing);
    [[maybe_unused]] const auto written = ::write(input.ends[1], run.input.data(), run.input.size());
}

BackgroundProgram::~BackgroundProgram() {
    if (process_ <= 0) return;
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
}

void BackgroundProgram::sendSignal(int signal) const {
    ::kill(process_, signal);
}

void BackgroundProgram::sendSignalToGroup(int signal) const {
    ::kill(-process_, signal);
}

std::optional<int> BackgroundProgram::waitForEnd(std::chrono::milliseconds limit) {
    int status = 0;
    if (!eventually([&] { return ::waitpid(process_, &status, WNOHANG) == process_; }, limit))
        return std::nullopt;
    process_ = -1;
    return exitStatus(status);
}

}  // namespace platform::testing
