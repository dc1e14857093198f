// SPDX-License-Identifier: Apache-2.0

#pragma once

// A person with a sandbox, a runtime folder and a browser that notes what it is asked to open.

#include <signal.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "tests/host/Person.hpp"

namespace host {

class LivePerson : public Person {
  public:
    ~LivePerson() override { endHost(SIGTERM); }

  protected:
    LivePerson() {
        namespace fs = std::filesystem;
        fs::create_directories(folder.path() / "run");
        fs::permissions(folder.path() / "run", fs::perms::owner_all);
        environment["XDG_RUNTIME_DIR"] = (folder.path() / "run").string();
        fs::create_directories(folder.path() / "bin");
        const auto browser = folder.path() / "bin/xdg-open";
        std::ofstream(browser) << "#!/bin/sh\necho \"$1\" >> '" << openedFile().string() << "'\n";
        fs::permissions(browser, fs::perms::owner_all);
        environment["PATH"] = (folder.path() / "bin").string() + ":/usr/bin:/bin";
    }

    void startSandbox(std::vector<std::string> options = {}) {
        const auto ready = folder.path() / "ready";
        options.insert(options.end(), {"--ready-file", ready.string()});
        sandbox_ = std::make_unique<platform::testing::BackgroundProgram>(
            program("vela-sandbox", std::move(options)));
        EXPECT_TRUE(platform::testing::eventually([&] { return exists(ready) && !is_empty(ready); }));
        std::getline(std::ifstream(ready), environment["BASE_URL"]);
        const auto printed = program("vela-sandbox", {"--print-credentials"}).run().output;
        EXPECT_EQ(companion({"sign-in", "--user-id", "12345"}, printed).status, 0);
    }
    void stopSandbox() { sandbox_.reset(); }
    void signalSandbox(int signal) const { sandbox_->sendSignal(signal); }

    /// How often packages were asked for.
    std::size_t fetches() const {
        const auto log =
            platform::JSONSerialization::JSONObjectWithData(program("vela-sandbox", {"events"}).run().output);
        std::size_t count = 0;
        for (const auto& request : log.at("requests").as_array())
            if (request.at("operation") == "TrackingWidget") ++count;
        return count;
    }

    /// The live host that a reader has started; 0 where none runs.
    pid_t hostProcess() const {
        pid_t process = 0;
        std::ifstream(folder.path() / "run/vela-widget/host.lock") >> process;
        return process;
    }
    void endHost(int signal) const {
        const pid_t process = hostProcess();
        if (process <= 0) return;
        ::kill(process, signal);
        platform::testing::eventually([&] { return !platform::testing::isAlive(process); });
    }

    std::filesystem::path openedFile() const { return folder.path() / "opened"; }
    std::string opened() const { return contents(openedFile()); }

    /// Where a program that goes on prints to, and what it has by now.
    std::filesystem::path printedFile() const { return folder.path() / "printed"; }
    std::string printed() const { return contents(printedFile()); }
    bool comesToPrint(const std::string& words) const {
        return platform::testing::eventually([&] { return printed().find(words) != std::string::npos; });
    }

    static std::string contents(const std::filesystem::path& path) {
        std::ifstream stream(path);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

  private:
    std::unique_ptr<platform::testing::BackgroundProgram> sandbox_;
};

}  // namespace host
