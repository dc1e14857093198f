// SPDX-License-Identifier: Apache-2.0

#pragma once

// What a desktop window shows, from the live host. The conversation runs on a thread of its own: a desktop's
// main loop and Asio each want to wait for everything, Asio shows nobody what it waits for, and a window has
// to answer its compositor also while a host is being started or a drawing decoded. What is heard is handed
// over by the window's own `post`; members may be called from any one thread.

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "host/window/WidgetContent.hpp"
#include "host/window/WidgetPicture.hpp"
#include "host/window/WindowAppearance.hpp"

namespace host {

struct ShownWidget {
    /// What it is a drawing of.
    WantedDrawing drawing;
    WidgetPicture picture;
    WidgetContent content;

    bool operator==(const ShownWidget&) const = default;
};

class WidgetFeed {
  public:
    /// Has something called later by the window's thread. Called from the feed's.
    using Post = std::function<void(std::function<void()>)>;

    /// Called by way of `Post`, and never after the feed's end.
    struct Listener {
        /// Only where it differs from what was shown before.
        std::function<void(std::shared_ptr<const ShownWidget>)> onShown;
        /// What was shown is nobody's to see any more; what is to be shown instead follows.
        std::function<void()> onEmptied;
        /// What is to be said beside the picture; empty where nothing is.
        std::function<void(const std::string&)> onRemark;
        /// No live host is to be had for good; `why` says so to a person.
        std::function<void(const std::string& why)> onLost;
    };

    /// `program` is the one whose `run` is the live host.
    WidgetFeed(std::filesystem::path program, Post post, Listener listener);
    ~WidgetFeed();
    WidgetFeed(const WidgetFeed&) = delete;
    WidgetFeed& operator=(const WidgetFeed&) = delete;

    /// From now on; what is shown stays until it is drawn.
    void want(const WantedDrawing& wanted);
    /// Has the server asked now.
    void reload();
    /// Opens a link as a click does. The token is the desktop's leave to come to the front.
    void open(const std::string& link, const std::string& activationToken = {});

  private:
    class Worker;
    std::unique_ptr<Worker> worker_;
};

}  // namespace host
