// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Doctor/Findings.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

#include "host/widget/Doctor/DoctorCommand.hpp"
#include "tests/support/ChildProcess.hpp"
#include "tests/support/ScopedEnvironment.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace host {
namespace {

using widget::CredentialState;

/// All is well.
Evidence wellEvidence() {
    Evidence evidence;
    evidence.extension = widget::Diagnosis{.credentials = {.state = CredentialState::stored, .tokens = 1},
                                           .keychain = "embedded",
                                           .serverAddress = "https://server.example",
                                           .serverStatus = 200,
                                           .bundle = "/bundle",
                                           .isBundleWhole = true,
                                           .suite = "group"};
    evidence.zoneFile = "/etc/localtime";
    evidence.isZoneReadable = true;
    evidence.hasCompanion = true;
    evidence.hasPageOpener = true;
    evidence.hasServiceManager = true;
    evidence.socketUnit = "enabled";
    evidence.liveHost = LiveHostStatus{.pid = 7, .version = "1", .started = platform::Date::since1970(0)};
    return evidence;
}

Finding findingOf(const Evidence& evidence, std::string_view check) {
    for (const auto& finding : findings(evidence))
        if (finding.check == check) return finding;
    ADD_FAILURE() << "no finding of " << check;
    return {};
}

TEST(Findings, AreAllGoodWhereAllIsWell) {
    for (const auto& finding : findings(wellEvidence()))
        EXPECT_EQ(finding.verdict, Verdict::good) << finding.sentence;
    EXPECT_EQ(findings(wellEvidence()).size(), 11U);
}

TEST(Findings, ComeInTheOrderInWhichTheyAreToBeMended) {
    const auto checks = [](const Evidence& evidence) {
        std::string names;
        for (const auto& finding : findings(evidence)) names += finding.check + ", ";
        return names;
    };
    auto evidence = wellEvidence();
    EXPECT_EQ(checks(evidence),
              "settings, extension, bundle, drawing, keyring, server, fonts, zone, links, "
              "units, live host, ");
    evidence.extension.reset();
    EXPECT_EQ(checks(evidence), "settings, extension, fonts, zone, links, units, live host, ");
}

TEST(Findings, TakeASignInThatHasExpiredForOneThatIsStored) {
    auto evidence = wellEvidence();
    evidence.extension->credentials.state = CredentialState::expired;
    EXPECT_EQ(findingOf(evidence, "keyring"), findingOf(wellEvidence(), "keyring"));
}

struct Ailment {
    const char* name;
    const char* check;
    std::function<void(Evidence&)> afflict;
    Verdict verdict;
    /// What the sentence tells to do.
    const char* remedy;
};

TEST(Findings, SayOfEachAilmentWhatToDo) {
    const std::vector<Ailment> ailments = {
        {"an extension that ends", "extension",
         [](Evidence& e) {
             e.extension.reset();
             e.extensionFault = "it ended";
         },
         Verdict::problem, "it ended"},
        {"settings that stop it", "extension",
         [](Evidence& e) {
             e.extension.reset();
             e.settingsFault = "others can change them";
         },
         Verdict::problem, "first mend the settings"},
        {"settings that cannot be read", "settings",
         [](Evidence& e) {
             e.settingsFault = "they are none";
             e.settingsFile = "/data/preferences.json";
         },
         Verdict::problem, "(they are none): mend that, or move /data/preferences.json out of the way"},
        {"a home that is read only", "settings",
         [](Evidence& e) { e.storageFault = "/home: Permission denied"; }, Verdict::problem,
         "(/home: Permission denied): let HOME or XDG_DATA_HOME"},
        {"no fonts to draw with", "drawing",
         [](Evidence& e) {
             e.drawingFault = "there are no fonts";
             e.missingFonts = {"fonts-inter"};
         },
         Verdict::problem, "first mend the fonts"},
        {"no home", "settings", [](Evidence& e) { e.settingsFault = "there is none"; }, Verdict::problem,
         "HOME"},
        {"an extension that cannot draw", "drawing", [](Evidence& e) { e.drawingFault = "no catalogue"; },
         Verdict::problem, "(no catalogue): install vela-widget anew"},
        {"a broken bundle", "bundle", [](Evidence& e) { e.extension->isBundleWhole = false; },
         Verdict::problem, "VELA_BUNDLE"},
        {"nobody signed in", "keyring", [](Evidence& e) { e.extension->credentials = {}; }, Verdict::advice,
         "vela-companion sign-in"},
        {"a locked keyring", "keyring",
         [](Evidence& e) { e.extension->credentials.state = CredentialState::locked; }, Verdict::problem,
         "unlock"},
        {"a keychain that cannot be read", "keyring",
         [](Evidence& e) { e.extension->credentials.state = CredentialState::unreadable; }, Verdict::problem,
         "vela-companion status"},
        {"a desktop's keyring that is not there", "keyring",
         [](Evidence& e) {
             e.extension->keychain = "secret-service";
             e.extension->credentials.state = CredentialState::unreadable;
         },
         Verdict::problem, "start it"},
        {"a keychain that is none", "keyring", [](Evidence& e) { e.extension->keychain = "bogus"; },
         Verdict::problem, "embedded or secret-service"},
        {"a server with a failure", "server", [](Evidence& e) { e.extension->serverStatus = 503; },
         Verdict::advice, "wait"},
        {"a server that cannot be reached", "server",
         [](Evidence& e) {
             e.extension->serverStatus.reset();
             e.extension->serverFault = "no such host";
         },
         Verdict::problem, "PONTAL_URL"},
        {"a certificate that is not trusted", "server",
         [](Evidence& e) {
             e.extension->serverStatus.reset();
             e.extension->isConnectionInsecure = true;
         },
         Verdict::problem, "ca-certificates"},
        {"fonts for other scripts missing", "fonts", [](Evidence& e) { e.missingFonts = {"fonts-noto-cjk"}; },
         Verdict::advice, "fonts-noto-cjk"},
        {"the widget's own font missing", "fonts", [](Evidence& e) { e.missingFonts = {"fonts-inter"}; },
         Verdict::problem, "fonts-inter"},
        {"no zone", "zone", [](Evidence& e) { e.isZoneReadable = false; }, Verdict::problem, "tzdata"},
        {"no companion", "links", [](Evidence& e) { e.hasCompanion = false; }, Verdict::problem,
         "vela-companion"},
        {"nothing to open pages", "links", [](Evidence& e) { e.hasPageOpener = false; }, Verdict::problem,
         "xdg-utils"},
        {"a unit that is not enabled", "units", [](Evidence& e) { e.socketUnit = "disabled"; },
         Verdict::advice, "systemctl --user enable --now vela-widget.socket"},
        {"a unit that may not be", "units", [](Evidence& e) { e.socketUnit = "masked"; }, Verdict::advice,
         "vela-widget.socket is masked: "},
        {"settings that can neither be read nor written", "settings",
         [](Evidence& e) {
             e.settingsFault = "they are none";
             e.storageFault = "/home: Permission denied";
         },
         Verdict::problem, "(they are none): "},
        {"no unit", "units", [](Evidence& e) { e.socketUnit = ""; }, Verdict::advice, "not installed"},
        {"no live host", "live host", [](Evidence& e) { e.liveHost.reset(); }, Verdict::advice,
         "vela-widget run"},
        {"no place for a live host", "live host",
         [](Evidence& e) {
             e.liveHost.reset();
             e.liveHostFault = "XDG_RUNTIME_DIR is not set";
         },
         Verdict::problem, "No surface is served: XDG_RUNTIME_DIR is not set."},
        {"a live host that hangs", "live host",
         [](Evidence& e) {
             e.liveHost.reset();
             e.liveHostFault = "it does not answer";
             e.silentHost = 77;
         },
         Verdict::problem, "it does not answer; end process 77 by kill -KILL 77, and"},
    };
    for (const auto& ailment : ailments) {
        SCOPED_TRACE(ailment.name);
        Evidence evidence = wellEvidence();
        ailment.afflict(evidence);
        const auto finding = findingOf(evidence, ailment.check);
        EXPECT_EQ(finding.verdict, ailment.verdict);
        EXPECT_NE(finding.sentence.find(ailment.remedy), std::string::npos) << finding.sentence;
        EXPECT_TRUE(finding.sentence.ends_with('.')) << finding.sentence;
    }
}

TEST(Findings, SayOfEachConnectionThatIsNotSafeWhatToDo) {
    for (const auto& [fault, remedy] : std::vector<std::pair<const char*, const char*>>{
             {"the certificate is not valid yet", "set this machine's clock"},
             {"the certificate has expired", "set this machine's clock"},
             {"the certificate is another host's", "PONTAL_URL"},
             {"a redirect leaves https for http", "in the browser"},
             {"nobody vouches for the certificate whom this machine trusts", "ca-certificates"}}) {
        Evidence evidence = wellEvidence();
        evidence.extension->serverStatus.reset();
        evidence.extension->isConnectionInsecure = true;
        evidence.extension->serverFault = fault;
        const auto finding = findingOf(evidence, "server");
        EXPECT_EQ(finding.verdict, Verdict::problem);
        EXPECT_NE(finding.sentence.find(remedy), std::string::npos) << finding.sentence;
        EXPECT_NE(finding.sentence.find(fault), std::string::npos) << finding.sentence;
    }
}

TEST(Findings, AreGoodWhereThereIsNoServiceManagerAndWhereTZSaysTheZone) {
    Evidence evidence = wellEvidence();
    evidence.hasServiceManager = false;
    evidence.socketUnit = "";
    evidence.zoneFile.reset();
    EXPECT_EQ(findingOf(evidence, "units").verdict, Verdict::good);
    EXPECT_EQ(findingOf(evidence, "zone").verdict, Verdict::good);
}

TEST(Findings, TakeEveryAnswerOfAServerForOneButAFailureOfItsOwn) {
    for (const auto& [status, verdict] :
         {std::pair(200, Verdict::good), std::pair(404, Verdict::good), std::pair(499, Verdict::good),
          std::pair(500, Verdict::advice), std::pair(599, Verdict::advice)}) {
        Evidence evidence = wellEvidence();
        evidence.extension->serverStatus = status;
        EXPECT_EQ(findingOf(evidence, "server").verdict, verdict) << status;
    }
}

TEST(Findings, NameWhereASignInIs) {
    for (const auto& [keychain, words] : {std::pair("embedded", "the embedded keychain"),
                                          std::pair("secret-service", "the desktop's keyring")})
        for (const auto state : {CredentialState::stored, CredentialState::expired, CredentialState::none,
                                 CredentialState::locked}) {
            Evidence evidence = wellEvidence();
            evidence.extension->keychain = keychain;
            evidence.extension->credentials.state = state;
            const auto sentence = findingOf(evidence, "keyring").sentence;
            EXPECT_NE(sentence.find(words), std::string::npos) << sentence;
        }
}

TEST(Findings, NameEveryFontPackageThatIsMissing) {
    Evidence evidence = wellEvidence();
    evidence.missingFonts = {"fonts-inter", "fonts-noto-core", "fonts-noto-cjk"};
    const auto finding = findingOf(evidence, "fonts");
    EXPECT_EQ(finding.verdict, Verdict::problem) << "the widget's own is the first of them";
    EXPECT_NE(finding.sentence.find(" fonts-inter fonts-noto-core fonts-noto-cjk."), std::string::npos);
}

TEST(Findings, NameTheLiveHostAndCountItsReaders) {
    Evidence evidence = wellEvidence();
    for (const auto& [readers, words] :
         {std::pair(0, "Process 7 serves 0 readers."), std::pair(1, "Process 7 serves 1 reader."),
          std::pair(5, "Process 7 serves 5 readers.")}) {
        evidence.liveHost->readers = readers;
        EXPECT_EQ(findingOf(evidence, "live host").sentence, words);
    }
}

TEST(Findings, PrintNothingThatATerminalWouldObey) {
    Evidence evidence = wellEvidence();
    evidence.extension->bundle = "/a\x1b[2Jb";
    EXPECT_EQ(findingsText(findings(evidence)).find('\x1b'), std::string::npos);
}

TEST(FaultOfStoringIn, IsThatOfTheNearestFolderThatIsThere) {
    const platform::testing::TemporaryFolder folder;
    EXPECT_EQ(faultOfStoringIn(folder.path()), "");
    EXPECT_EQ(faultOfStoringIn(folder.path() / "new/folder"), "");
    const auto file = folder.write("file", "");
    EXPECT_EQ(faultOfStoringIn(file), file.string() + ": Permission denied") << "nothing can be put in it";
    EXPECT_EQ(platform::testing::runWithoutPrivileges(
                  [] { return faultOfStoringIn("/nonexistent/folder") == "/: Permission denied" ? 0 : 1; }),
              0);
}

TEST(FontFolders, AreTheMachinesAndThePersons) {
    const platform::testing::ScopedEnvironment environment(
        {{"HOME", "/home/ada"}, {"XDG_DATA_HOME", "/data"}});
    EXPECT_EQ(fontFolders(), (std::vector<std::filesystem::path>{"/usr/share/fonts", "/usr/local/share/fonts",
                                                                 "/data/fonts", "/home/ada/.fonts"}));
}

TEST(MissingFontPackages, AreThoseOfWhichNoFileIsThere) {
    const platform::testing::TemporaryFolder folder;
    using Packages = std::vector<std::string>;
    EXPECT_EQ(missingFontPackages({folder.path(), "/nowhere"}),
              (Packages{"fonts-inter", "fonts-noto-core", "fonts-noto-cjk", "fonts-noto-color-emoji"}));
    std::filesystem::create_directories(folder.path() / "opentype/Inter");
    EXPECT_EQ(missingFontPackages({folder.path()}).front(), "fonts-inter") << "a folder is no font";
    folder.write("opentype/inter/Inter-Regular.otf", "font");
    folder.write("truetype/NotoColorEmoji.ttf", "font");
    EXPECT_EQ(missingFontPackages({folder.path()}), (Packages{"fonts-noto-core", "fonts-noto-cjk"}));
}

}  // namespace
}  // namespace host
