// SPDX-License-Identifier: Apache-2.0

#pragma once

// Opens the widget's links, which anybody may have written: a page on the web or a program of the desktop's
// can hand over one of its own making. Nothing here goes by way of a shell.

#include <optional>
#include <string>

#include "platform/URL/URL.hpp"
#include "presentation/DeepLink.hpp"

namespace host {

/// A link that may be opened.
struct Link {
    std::string text;
    /// What it is for; nothing where it is a page's own address.
    std::optional<presentation::DeepLink::Target> target;
    /// What shows it on the web: https, or http on this machine.
    platform::URL page;
    /// Whether somebody is known to serve that page.
    bool isPageServed;

    /// Throws CompanionError, which does not repeat the text.
    static Link read(const std::string& text);
};

/// Opens a link: by the app where another program than this one is there for the app's links and takes it; by
/// the sign-in window where nobody is signed in and the link is for no order in particular; by the account
/// site's page in the person's browser; and where nobody serves that, not at all. Waits for what opens it to
/// take it. Throws CompanionError, which says what the link is for and what its page would be.
void openLink(const Link& link);

/// Has the desktop show a sentence to a person who clicked and has no terminal in sight. In vain where there
/// is no desktop.
void notifyDesktop(const std::string& sentence);

}  // namespace host
