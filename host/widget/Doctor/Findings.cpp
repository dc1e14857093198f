// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Doctor/Findings.hpp"

#include <array>
#include <utility>

#include "host/reader/TerminalText.hpp"

namespace host {

using widget::CredentialState;
using widget::Diagnosis;

namespace {

Finding good(std::string check, std::string sentence) {
    return {.check = std::move(check), .verdict = Verdict::good, .sentence = std::move(sentence)};
}
Finding advice(std::string check, std::string sentence) {
    return {.check = std::move(check), .verdict = Verdict::advice, .sentence = std::move(sentence)};
}
Finding problem(std::string check, std::string sentence) {
    return {.check = std::move(check), .verdict = Verdict::problem, .sentence = std::move(sentence)};
}

Finding settingsFinding(const Evidence& evidence) {
    if (!evidence.settingsFault.empty())
        return problem("settings",
                       "The shared defaults cannot be read (" + evidence.settingsFault + "): " +
                           (evidence.settingsFile.empty()
                                ? "let HOME name your home folder."
                                : "mend that, or move " + evidence.settingsFile + " out of the way."));
    if (!evidence.storageFault.empty())
        return problem("settings", "Nothing can be stored, no sign-in either (" + evidence.storageFault +
                                       "): let HOME or XDG_DATA_HOME name a folder of your own.");
    return good("settings", "The shared defaults can be read.");
}

Finding extensionFinding(const Evidence& evidence) {
    if (evidence.extension) return good("extension", "It starts and answers.");
    if (!evidence.settingsFault.empty())
        return problem("extension", "It does not run (" + evidence.extensionFault +
                                        "): first mend the settings, which it cannot be without.");
    return problem("extension",
                   "It does not answer (" + evidence.extensionFault + "): install vela-widget anew.");
}

Finding bundleFinding(const Diagnosis& extension) {
    if (extension.isBundleWhole) return good("bundle", extension.bundle + " is in use.");
    return problem("bundle",
                   extension.bundle +
                       " has no Info.json or no Assets.catalogue that can be read: install vela-widget anew, "
                       "or let VELA_BUNDLE name its folder.");
}

Finding drawingFinding(const Evidence& evidence) {
    if (evidence.drawingFault.empty()) return good("drawing", "The widget can be drawn.");
    return problem(
        "drawing",
        "The widget cannot be drawn (" + evidence.drawingFault +
            "): " + (evidence.missingFonts.empty() ? "install vela-widget anew." : "first mend the fonts."));
}

Finding keyringFinding(const Diagnosis& extension) {
    if (extension.keychain != "embedded" && extension.keychain != "secret-service")
        return problem("keyring", "VELA_KEYCHAIN names no keychain: let it be embedded or secret-service.");
    const bool isDesktops = extension.keychain == "secret-service";
    const std::string place = isDesktops ? "the desktop's keyring" : "the embedded keychain";
    switch (extension.credentials.state) {
        case CredentialState::stored:
        case CredentialState::expired: return good("keyring", "A sign-in is stored in " + place + ".");
        case CredentialState::none:
            return advice("keyring", "Nobody is signed in by " + place +
                                         ": sign in in the app, or by vela-companion "
                                         "sign-in.");
        case CredentialState::locked:
            return problem("keyring",
                           "It is locked: unlock " + place + ", or end the program that keeps it busy.");
        case CredentialState::unreadable:
            return problem("keyring",
                           isDesktops
                               ? "The desktop's keyring cannot be read: start it, or leave VELA_KEYCHAIN "
                                 "unset to keep the sign-in in a file."
                               : "The embedded keychain cannot be read: vela-companion status says why.");
    }
    return problem("keyring", "Nothing is known of it.");
}

/// By words of the fault.
constexpr std::array<std::pair<std::string_view, std::string_view>, 4> remediesOfInsecurity = {{
    {"not valid yet", "set this machine's clock; if it is right, ask who runs the server"},
    {"has expired", "set this machine's clock; if it is right, ask who runs the server"},
    {"another host's",
     "look at PONTAL_URL by vela-companion defaults read PONTAL_URL, or ask who runs the network"},
    {"redirect", "open any page in the browser, as the network may want you to sign in there first"},
}};

std::string_view remedyOfInsecurity(std::string_view fault) {
    for (const auto& [words, remedy] : remediesOfInsecurity)
        if (fault.find(words) != std::string_view::npos) return remedy;
    return "install ca-certificates, or ask who runs the network";
}

Finding serverFinding(const Diagnosis& extension) {
    const std::string& address = extension.serverAddress;
    if (extension.serverStatus)
        return *extension.serverStatus < 500
                   ? good("server", address + " answers.")
                   : advice("server", address + " answers with " + std::to_string(*extension.serverStatus) +
                                          ": it has a failure of its own, wait.");
    if (extension.isConnectionInsecure)
        return problem("server", address + " cannot be reached safely (" + extension.serverFault +
                                     "): " + std::string(remedyOfInsecurity(extension.serverFault)) + ".");
    return problem(
        "server",
        address + " cannot be reached (" + extension.serverFault +
            "): look at the network, and at PONTAL_URL by vela-companion defaults read PONTAL_URL.");
}

Finding fontsFinding(const Evidence& evidence) {
    if (evidence.missingFonts.empty()) return good("fonts", "All are installed.");
    std::string packages;
    for (const auto& package : evidence.missingFonts) packages += " " + package;
    const std::string sentence = "Some are missing: install the packages" + packages + ".";
    const bool isOwnMissing = evidence.missingFonts.front() == "fonts-inter";
    return isOwnMissing ? problem("fonts", sentence) : advice("fonts", sentence);
}

Finding zoneFinding(const Evidence& evidence) {
    if (!evidence.zoneFile) return good("zone", "TZ says it.");
    if (evidence.isZoneReadable) return good("zone", *evidence.zoneFile + " says it.");
    return problem("zone",
                   *evidence.zoneFile +
                       " is no zone file, so that days are counted in GMT: install tzdata, and set the zone "
                       "by timedatectl set-timezone or TZ.");
}

Finding linkFinding(const Evidence& evidence) {
    if (!evidence.hasCompanion)
        return problem("links",
                       "vela-companion does not stand beside vela-widget: install it, it opens the links.");
    if (!evidence.hasPageOpener)
        return problem("links", "xdg-open is not there to open pages: install xdg-utils and a browser.");
    return good("links", "vela-companion opens them.");
}

Finding unitsFinding(const Evidence& evidence) {
    if (!evidence.hasServiceManager)
        return good("units",
                    "There is no service manager for you here: surfaces start the live host themselves.");
    if (evidence.socketUnit == "enabled") return good("units", "vela-widget.socket starts the live host.");
    if (evidence.socketUnit.empty())
        return advice("units",
                      "vela-widget.socket is not installed: surfaces start the live host themselves.");
    return advice(
        "units", "vela-widget.socket is " + evidence.socketUnit +
                     ": systemctl --user enable --now vela-widget.socket has the live host started for you.");
}

std::string servedByNone(const Evidence& evidence) {
    const auto process = std::to_string(evidence.silentHost);
    return "No surface is served: " + evidence.liveHostFault +
           (evidence.silentHost > 0 ? "; end process " + process + " by kill -KILL " + process +
                                          ", and the next surface starts another."
                                    : ".");
}

Finding liveHostFinding(const Evidence& evidence) {
    if (evidence.liveHost)
        return good("live host", "Process " + std::to_string(evidence.liveHost->pid) + " serves " +
                                     (evidence.liveHost->readers == 1
                                          ? "1 reader."
                                          : std::to_string(evidence.liveHost->readers) + " readers."));
    if (!evidence.liveHostFault.empty()) return problem("live host", servedByNone(evidence));
    return advice("live host", "None runs: the first surface starts one, as does vela-widget run.");
}

}  // namespace

std::string_view name(Verdict verdict) {
    switch (verdict) {
        case Verdict::good: return "good";
        case Verdict::advice: return "advice";
        case Verdict::problem: return "problem";
    }
    return "";
}

std::vector<Finding> findings(const Evidence& evidence) {
    std::vector<Finding> all = {settingsFinding(evidence), extensionFinding(evidence)};
    if (evidence.extension) {
        all.push_back(bundleFinding(*evidence.extension));
        all.push_back(drawingFinding(evidence));
        all.push_back(keyringFinding(*evidence.extension));
        all.push_back(serverFinding(*evidence.extension));
    }
    all.push_back(fontsFinding(evidence));
    all.push_back(zoneFinding(evidence));
    all.push_back(linkFinding(evidence));
    all.push_back(unitsFinding(evidence));
    all.push_back(liveHostFinding(evidence));
    return all;
}

boost::json::object findingsObject(const std::vector<Finding>& findings) {
    boost::json::array list;
    for (const auto& finding : findings)
        list.push_back(
            {{"check", finding.check}, {"sentence", finding.sentence}, {"verdict", name(finding.verdict)}});
    return {{"findings", std::move(list)}};
}

std::string findingsText(const std::vector<Finding>& findings) {
    std::string text;
    for (const auto& finding : findings)
        text += std::string(name(finding.verdict)) + "  " + finding.check + ": " +
                terminalSafe(finding.sentence) + "\n";
    return text;
}

}  // namespace host
