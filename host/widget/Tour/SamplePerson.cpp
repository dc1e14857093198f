// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Tour/SamplePerson.hpp"

#include <stdlib.h>
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
    std::error_code error;
    std::string name = (std::filesystem::temp_directory_path(error) / "vela-tour-XXXXXX").string();
    if (error || !::mkdtemp(name.data())) throw std::runtime_error("there is no room for a sample person");
    folder_ = name;
    try {
        settle(guide);
    } catch (...) {
        leave();
        throw;
    }
}

SamplePerson::~SamplePerson() {
    leave();
}

void SamplePerson::settle(const Guide& guide) {
    for (const char* part : {"data", "runtime"}) {
        std::filesystem::create_directory(folder_ / part);
        std::filesystem::permissions(folder_ / part, std::filesystem::perms::owner_all);
    }
    using Stream = platform::ChildProgram::Stream;
    const auto ready = folder_ / "ready";
    const auto bundle = (folder_ / "bundle").string();
    sandbox_.emplace(platform::ChildProgram::Options{
        .program = ownProgram("vela-sandbox"),
        .arguments = {"--bundle", bundle, "--ready-file", ready.string(), "--stop-with-parent"},
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
    variables_ = {{"XDG_DATA_HOME", (folder_ / "data").string()},
                  {"XDG_RUNTIME_DIR", (folder_ / "runtime").string()},
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

void SamplePerson::leave() {
    sandbox_.reset();
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

}  // namespace host
