// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Tour/SamplePerson.hpp"

#include <unistd.h>

#include <chrono>
#include <fstream>
#include <stdexcept>

#include "platform/Files/Patience.hpp"

namespace host {

namespace {

constexpr platform::Patience patienceWithSandbox = {.inAll = std::chrono::seconds(10),
                                                    .pause = std::chrono::milliseconds(20)};
constexpr int patienceWithCredentials = 5;

}  // namespace

SamplePerson::SamplePerson(const Guide& guide) {
    if (::access(ownProgram("vela-sandbox").c_str(), X_OK) != 0)
        throw std::runtime_error(
            "her server, vela-sandbox, is not installed: it is in the package vela-sandbox");
    settle(guide);
}

void SamplePerson::settle(const Guide& guide) {
    const auto& folder = folder_.path();
    for (const char* part : {"data", "runtime"}) {
        std::filesystem::create_directory(folder / part);
        std::filesystem::permissions(folder / part, std::filesystem::perms::owner_all);
    }
    using Stream = platform::ChildProgram::Stream;
    const auto ready = folder / "ready";
    const auto bundle = (folder / "bundle").string();
    sandbox_.emplace(
        platform::ChildProgram::Options{.program = ownProgram("vela-sandbox"),
                                        .arguments = {"--bundle", bundle, "--ready-file", ready.string(),
                                                      "--stop-with", std::to_string(::getpid())},
                                        .input = Stream::discarded,
                                        .output = Stream::discarded,
                                        .errors = Stream::discarded,
                                        .isApart = true});
    std::string address;
    const bool isReady = patienceWithSandbox.suffices([&] {
        guide.lookForSignals();
        std::ifstream stream(ready);
        return static_cast<bool>(std::getline(stream, address));
    });
    if (!isReady) throw std::runtime_error("vela-sandbox does not start");
    variables_ = {{"XDG_DATA_HOME", (folder / "data").string()},
                  {"XDG_RUNTIME_DIR", (folder / "runtime").string()},
                  {"VELA_BUNDLE", bundle},
                  {"VELA_KEYCHAIN", "embedded"},
                  {"BASE_URL", address},
                  // Her server is on this machine, whatever the way out of it.
                  {"no_proxy", "127.0.0.1"},
                  {"NO_PROXY", "127.0.0.1"}};
    signIn();
}

void SamplePerson::signIn() const {
    const auto pair =
        platform::outputOf({.program = ownProgram("vela-sandbox"), .arguments = {"--print-credentials"}},
                           patienceWithCredentials);
    platform::ChildProgram program({.program = ownProgram("vela-companion"),
                                    .arguments = {"sign-in"},
                                    .variables = variables_,
                                    .input = platform::ChildProgram::Stream::piped,
                                    .errors = platform::ChildProgram::Stream::discarded,
                                    .isApart = true});
    program.give(pair.value_or(""));
    if (program.wait() != 0) throw std::runtime_error("the sample person cannot sign in");
}

}  // namespace host
