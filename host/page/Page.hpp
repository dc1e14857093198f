// SPDX-License-Identifier: Apache-2.0

#pragma once

// The page: a reader of the live host on one side, who gives documents, files and events to browsers on the
// other. It keeps the latest state and no drawing. Belongs to one executor.

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/page/PageDocument.hpp"
#include "host/page/PageDoor.hpp"
#include "host/page/PageFiles.hpp"
#include "host/reader/LiveHostClient.hpp"
#include "host/reader/ShownState.hpp"
#include "platform/HTTPServer/EventStream.hpp"
#include "platform/HTTPServer/HTTPMessage.hpp"
#include "platform/Streams/Deadline.hpp"

namespace host {

class Page {
  public:
    struct Options {
        PageDoor door;
        PageFiles files;
        LiveHostClient::Options client;
        /// Browsers' windows that are kept current at a time.
        std::size_t mostStreams = 32;
        /// Told once, when there is a live host, or may be one later: the page goes on.
        std::function<void()> onBegun = [] {};
    };

    Page(boost::asio::any_io_executor executor, Options options);

    /// Follows the live host until `close`. Throws LiveHostError where going on is of no use.
    boost::asio::awaitable<void> follow();
    void close();

    boost::asio::awaitable<platform::HTTPResponse> answer(platform::HTTPRequest request);

  private:
    void noteBegun();
    void show();
    std::string stateEvent() const;
    boost::asio::awaitable<platform::HTTPResponse> document(PageChoices choices);
    boost::asio::awaitable<std::vector<PageWidget>> drawnWidgets(PageChoices choices,
                                                                 std::optional<platform::Deadline> pictures);
    void fetchPictures(const PageChoices& choices);
    boost::asio::awaitable<void> drawnWithPictures(PageChoices choices);
    boost::asio::awaitable<std::string> drawn(LiveHostClient& client, widget::DrawingRequest request);
    boost::asio::awaitable<platform::HTTPResponse> reload(PageChoices choices);
    platform::HTTPResponse events();

    boost::asio::any_io_executor executor_;
    Options options_;
    LiveHostClient client_;
    /// Asks for what may take long.
    LiveHostClient patient_;
    ShownState shown_;
    std::uint64_t revision_ = 0;
    /// By what was chosen: when pictures were last waited for that a document had gone without.
    std::map<std::string, std::chrono::steady_clock::time_point> waits_;
    std::vector<std::shared_ptr<platform::EventStream>> streams_;
    std::string complaint_;
};

}  // namespace host
