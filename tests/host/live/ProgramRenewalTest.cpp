// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Live/ProgramRenewal.hpp"

#include <gmock/gmock.h>

#include <boost/asio/io_context.hpp>
#include <chrono>
#include <fstream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/host/live/LiveWorld.hpp"
#include "tests/support/Patience.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace host {
namespace {

using std::chrono::milliseconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
namespace fs = std::filesystem;

class ProgramRenewalTest : public testing::Test {
  protected:
    /// What stands at the program's place, whole from its first moment on.
    void put(const std::string& script) const {
        const auto beside = folder.path() / "beside";
        std::ofstream(beside) << "#!/bin/sh\n" << script << "\n";
        fs::permissions(beside, fs::perms::owner_all);
        fs::rename(beside, program);
    }

    bool hears(std::size_t count, milliseconds limit = platform::testing::patience) {
        const auto end = std::chrono::steady_clock::now() + limit;
        while (heard.size() < count && std::chrono::steady_clock::now() < end) {
            context.restart();
            context.run_one_for(milliseconds(50));
        }
        return heard.size() >= count;
    }

    ProgramRenewal watched(const ProgramRenewal::Options& options) {
        return {context.get_executor(), program, [this](auto event) { heard.push_back(event); }, options};
    }

    static constexpr auto replaced = ProgramRenewal::Event::replaced;
    static constexpr auto removed = ProgramRenewal::Event::removed;
    static constexpr milliseconds never = std::chrono::hours(1);

    platform::testing::TemporaryFolder folder;
    fs::path program = folder.path() / "program";
    boost::asio::io_context context{1};
    std::vector<ProgramRenewal::Event> heard;
};

TEST_F(ProgramRenewalTest, TellsOfAProgramThatSaysItsVersion) {
    fs::create_symlink(fs::read_symlink("/proc/self/exe"), program);
    const auto renewal = watched({.settling = milliseconds(10), .removal = never});
    EXPECT_FALSE(hears(1, milliseconds(300)));
    put("test \"$*\" = --version");
    EXPECT_TRUE(hears(1));
    EXPECT_THAT(heard, ElementsAre(replaced));
}

TEST_F(ProgramRenewalTest, SaysNothingOfOneThatDoesNotRunUntilAnotherDoes) {
    const auto renewal =
        watched({.settling = milliseconds(10), .removal = never, .trial = never, .pauses = {never}});
    for (const auto* broken : {"exit 1", "kill -SEGV $$"}) {
        put(broken);
        EXPECT_FALSE(hears(1, milliseconds(500))) << broken;
    }
    put("exit 0");
    EXPECT_TRUE(hears(1));
    EXPECT_THAT(heard, ElementsAre(replaced));
}

TEST_F(ProgramRenewalTest, GivesUpOnOneThatHangs) {
    const auto renewal = watched({.settling = milliseconds(10),
                                  .removal = never,
                                  .trial = milliseconds(300),
                                  .pauses = {milliseconds(10)}});
    const auto started = folder.path() / "started";
    put("test -e " + started.string() + " && exit 0; : > " + started.string() + "; exec sleep 3600");
    EXPECT_TRUE(hears(1)) << "it is tried again";
    EXPECT_TRUE(fs::exists(started));
    EXPECT_THAT(heard, ElementsAre(replaced));
}

TEST_F(ProgramRenewalTest, TriesOneThatDoesNotRunAgain) {
    // What it needs comes after it, as a library may in an upgrade.
    const auto needed = folder.path() / "needed";
    const auto renewal =
        watched({.settling = milliseconds(10), .removal = never, .pauses = {milliseconds(10)}});
    put("test -e " + needed.string());
    EXPECT_FALSE(hears(1, milliseconds(300)));
    std::ofstream(needed) << "here";
    EXPECT_TRUE(hears(1));
    EXPECT_THAT(heard, ElementsAre(replaced));
}

TEST_F(ProgramRenewalTest, TellsOfARemovalThatLasts) {
    put("exit 1");
    const auto renewal =
        watched({.settling = milliseconds(10), .removal = milliseconds(200), .pauses = {never}});
    fs::remove(program);
    EXPECT_TRUE(hears(1));
    EXPECT_THAT(heard, ElementsAre(removed));
}

TEST_F(ProgramRenewalTest, TakesNoRemovalAmissThatAnUpgradeEnds) {
    const auto renewal = watched({.settling = milliseconds(10), .removal = std::chrono::minutes(1)});
    context.run_one_for(milliseconds(100));
    put("exit 0");
    EXPECT_TRUE(hears(1));
    EXPECT_THAT(heard, ElementsAre(replaced));
}

class InheritedState : public LiveWorld {
  public:
    ~InheritedState() override {
        // What it asks outlives nobody.
        if (heir_) heir_->stop();
        comes([&] { return !heir_ || !heir_->isAsking(); });
    }

  protected:
    /// A host shows Ada's, and is remembered.
    LiveHost::Remembered rememberedOfAda() {
        start();
        auto remembered = host.remembered();
        host.stop();
        clock.settle();
        return remembered;
    }

    LiveHost& heirTo(LiveHost::Remembered remembered) {
        heir_.emplace(context.get_executor(), LiveHost::Surroundings{.clock = clock,
                                                                     .events = events,
                                                                     .extension = extension,
                                                                     .random = [] { return 0.0; },
                                                                     .remembered = std::move(remembered)});
        return *heir_;
    }

    template <typename Condition>
    bool comes(Condition condition) {
        const auto end = std::chrono::steady_clock::now() + platform::testing::patience;
        while (!condition() && std::chrono::steady_clock::now() < end) {
            context.restart();
            context.run_one_for(milliseconds(50));
        }
        return condition();
    }

  private:
    std::optional<LiveHost> heir_;
};

TEST_F(InheritedState, IsShownBeforeAnythingIsAsked) {
    const auto remembered = rememberedOfAda();
    const auto& heir = heirTo(remembered);
    EXPECT_EQ(shopNameIn(heir.state().entry), "Ada's");
    EXPECT_FALSE(heir.state().isPlaceholder);
    EXPECT_EQ(extension.timelines, 1);
}

TEST_F(InheritedState, IsForgottenWhereThePersonHasSignedOutMeanwhile) {
    const auto remembered = rememberedOfAda();
    extension.answerWith(CredentialState::none, ServerContact::refused);
    auto& heir = heirTo(remembered);
    int forgettings = 0;
    const auto observed = heir.observe(
        [&](const LiveState&, Change change) { forgettings += change == Change::forgotten ? 1 : 0; });
    EXPECT_TRUE(comes([&] { return shopNameIn(heir.state().entry) == "notLoggedIn"; }))
        << shopNameIn(heir.state().entry);
    EXPECT_EQ(forgettings, 1);
    EXPECT_FALSE(heir.remembered().good);
}

TEST_F(InheritedState, IsForgottenWhereAnotherHasSignedInMeanwhile) {
    const auto remembered = rememberedOfAda();
    extension.signIn(2, 22, "Bob's");
    auto& heir = heirTo(remembered);
    EXPECT_TRUE(comes([&] { return heir.state().isPlaceholder; })) << shopNameIn(heir.state().entry);
}

}  // namespace
}  // namespace host
