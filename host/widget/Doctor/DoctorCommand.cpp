// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Doctor/DoctorCommand.hpp"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <cerrno>
#include <chrono>
#include <system_error>

#include "host/protocol/HostAddress.hpp"
#include "host/protocol/HostClaim.hpp"
#include "host/reader/LinkOpener.hpp"
#include "host/reader/LiveHostClient.hpp"
#include "host/widget/Doctor/Findings.hpp"
#include "host/widget/ExtensionAnswer.hpp"
#include "host/widget/ExtensionSession.hpp"
#include "host/widget/JSONLine.hpp"
#include "host/widget/OneShotHost.hpp"
#include "host/widget/Setup/SetupSnippet.hpp"
#include "host/widget/TerminalStyle.hpp"
#include "platform/Asio/Coroutines.hpp"
#include "platform/Date/SystemZone.hpp"
#include "platform/Files/TrustedFolder.hpp"
#include "platform/MessageBus/MessageBus.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "platform/Streams/Streams.hpp"
#include "platform/SystemEvents/LinuxSystemEvents.hpp"
#include "platform/UserDefaults/FileUserDefaults.hpp"

namespace host {

namespace asio = boost::asio;
namespace fs = std::filesystem;

namespace {

constexpr std::chrono::seconds serviceManagerPatience{3};
/// Of which a keyring that hangs takes fifteen, and a server ten.
constexpr std::chrono::seconds extensionPatience{45};
/// It has what it is asked at hand.
constexpr std::chrono::seconds liveHostPatience{5};
constexpr const char* serviceManager = "org.freedesktop.systemd1";

struct FontPackage {
    const char* package;
    /// What the names of its files begin with.
    std::string_view beginning;
};
// Each package's most used file; in the order of their weight.
constexpr std::array fontPackages = {
    FontPackage{"fonts-inter", "Inter"},
    FontPackage{"fonts-noto-core", "NotoSansArabic"},
    FontPackage{"fonts-noto-cjk", "NotoSansCJK"},
    FontPackage{"fonts-noto-color-emoji", "NotoColorEmoji"},
};

/// By a drawing of what is shown while nothing is known.
asio::awaitable<void> lookAtDrawing(Evidence& evidence, ExtensionSession& session) {
    try {
        const ExtensionRequest request = {.kind = ExtensionRequest::Kind::placeholder};
        const auto answer = co_await session.ask(request);
        widget::DrawingRequest drawing = {.entry = entryIn(answer),
                                          .family = platform::WidgetFamily::systemMedium};
        co_await session.draw(std::move(drawing));
    } catch (const std::exception& failure) {
        evidence.drawingFault = failure.what();
    }
}

asio::awaitable<void> lookAtExtension(Evidence& evidence, ExtensionSettings settings) {
    settings.answerLimit = std::min<std::chrono::milliseconds>(settings.answerLimit, extensionPatience);
    auto options = ExtensionSession::Options::forCommand(settings);
    options.onOutputLine = printExtensionLine;
    ExtensionSession session(co_await asio::this_coro::executor, std::move(options));
    try {
        const ExtensionRequest request = {.kind = ExtensionRequest::Kind::diagnosis};
        const auto answer = co_await session.ask(request);
        evidence.extension = diagnosisIn(answer);
    } catch (const std::exception& failure) {
        evidence.extensionFault = failure.what();
    }
    if (evidence.extension) co_await lookAtDrawing(evidence, session);
    co_await session.end();
}

void lookAtSettings(Evidence& evidence) {
    const auto file = platform::WatchedStores::ofPerson().defaults;
    if (!file) {
        evidence.settingsFault = "neither XDG_DATA_HOME nor a home is known";
        return;
    }
    evidence.settingsFile = file->string();
    evidence.storageFault = faultOfStoringIn(file->parent_path());
    try {
        platform::FileUserDefaults(file->parent_path()).requireReadable();
    } catch (const platform::UserDefaultsError& fault) {
        evidence.settingsFault = fault.what();
    }
}

/// Who keeps the place of a live host that does not answer; 0 where nobody is known to.
pid_t keeperOfPlace() {
    try {
        const auto folder = platform::TrustedFolder::open(HostAddress::ofPerson().folder);
        const auto process = folder ? HostClaim::Holder(folder->descriptor()).process() : 0;
        return process > 1 && ::kill(process, 0) == 0 ? process : 0;
    } catch (const std::runtime_error&) {
        return 0;
    }
}

asio::awaitable<void> lookAtLiveHost(Evidence& evidence) {
    LiveHostClient::Options options;
    options.ifMissing = LiveHostClient::IfMissing::leave;
    options.answerLimit = liveHostPatience;
    LiveHostClient client(co_await asio::this_coro::executor, std::move(options));
    try {
        evidence.liveHost = co_await client.status();
    } catch (const LiveHostMissing&) {
    } catch (const LiveHostEnded& ended) {
        evidence.liveHostFault = ended.what();
        evidence.silentHost = keeperOfPlace();
    } catch (const LiveHostError& failure) {
        evidence.liveHostFault = failure.what();
    }
}

platform::BusCall askingForSocketUnit() {
    return {.destination = serviceManager,
            .path = "/org/freedesktop/systemd1",
            .interface = "org.freedesktop.systemd1.Manager",
            .member = "GetUnitFileState",
            .arguments = {std::string("vela-widget.socket")}};
}

void takeUnitState(Evidence& evidence, const platform::BusMessage& answer) {
    const auto* state = answer.argument<std::string>(0);
    const bool isKnown = answer.error.empty() && state;
    // That it knows no such unit is an answer too.
    evidence.hasServiceManager =
        isKnown || answer.error.ends_with(".FileNotFound") || answer.error.ends_with(".NoSuchUnit");
    if (isKnown) evidence.socketUnit = *state;
}

asio::awaitable<void> lookAtUnits(Evidence& evidence) {
    const auto executor = co_await asio::this_coro::executor;
    asio::steady_timer answered(executor, asio::steady_timer::time_point::max());
    platform::MessageBus bus(executor, platform::MessageBus::Kind::session);
    bus.connect([] {});
    bus.call(askingForSocketUnit(), serviceManagerPatience, [&](const platform::BusMessage& answer) {
        takeUnitState(evidence, answer);
        answered.cancel();
    });
    boost::system::error_code ignored;
    co_await answered.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
}

void lookAtMachine(Evidence& evidence) {
    const auto search = platform::environmentVariable("PATH").value_or("");
    evidence.missingFonts = missingFontPackages(fontFolders());
    if (const auto zone = platform::SystemZone::file()) {
        evidence.zoneFile = zone->string();
        evidence.isZoneReadable = platform::SystemZone::isZoneFile(*zone);
    }
    evidence.hasCompanion = ::access(companionProgram().c_str(), X_OK) == 0;
    evidence.hasPageOpener = !foundInPath(search, "xdg-open").empty();
}

asio::awaitable<Evidence> gathered(const DoctorCommand& command) {
    Evidence evidence;
    lookAtSettings(evidence);
    lookAtMachine(evidence);
    co_await lookAtExtension(evidence, command.extension);
    co_await lookAtUnits(evidence);
    co_await lookAtLiveHost(evidence);
    co_return evidence;
}

int report(const DoctorCommand& command) {
    const auto all = findings(platform::runToEnd(gathered(command)));
    const bool isJSON = command.output == DoctorCommand::Output::json;
    writeToStandardOutput(isJSON ? jsonLine(findingsObject(all))
                                 : wrappedForTerminal(findingsText(all), STDOUT_FILENO));
    for (const auto& finding : all)
        if (finding.verdict == Verdict::problem) return 1;
    return 0;
}

}  // namespace

std::vector<fs::path> fontFolders() {
    std::vector<fs::path> folders = {"/usr/share/fonts", "/usr/local/share/fonts"};
    if (const auto home = platform::dataHome()) folders.push_back(*home / "fonts");
    if (const auto home = platform::environmentVariable("HOME"))
        folders.push_back(fs::path(*home) / ".fonts");
    return folders;
}

std::vector<std::string> missingFontPackages(const std::vector<fs::path>& folders) {
    std::array<bool, fontPackages.size()> areThere = {};
    for (const auto& folder : folders) {
        std::error_code error;
        fs::recursive_directory_iterator file(folder, fs::directory_options::skip_permission_denied, error);
        for (; !error && file != fs::recursive_directory_iterator(); file.increment(error)) {
            const std::string name = file->path().filename().string();
            for (std::size_t i = 0; i < fontPackages.size(); ++i)
                if (name.starts_with(fontPackages[i].beginning) && file->is_regular_file(error))
                    areThere[i] = true;
        }
    }
    std::vector<std::string> missing;
    for (std::size_t i = 0; i < fontPackages.size(); ++i)
        if (!areThere[i]) missing.emplace_back(fontPackages[i].package);
    return missing;
}

std::string faultOfStoringIn(fs::path folder) {
    std::error_code error;
    while (!fs::exists(folder, error) && folder.has_relative_path()) folder = folder.parent_path();
    if (::access(folder.c_str(), W_OK | X_OK) == 0) return {};
    return folder.string() + ": " + std::generic_category().message(errno);
}

int DoctorCommand::run() const {
    try {
        return report(*this);
    } catch (const std::exception& failure) {
        platform::printFailure("vela-widget", failure);
        return 1;
    }
}

}  // namespace host
