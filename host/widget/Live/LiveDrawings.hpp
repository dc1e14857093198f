// SPDX-License-Identifier: Apache-2.0

#pragma once

// Drawings of what a live host shows, each made once for all who ask for it, and forgotten when something
// else is shown. Belongs to one executor, and has to outlive what was asked of it.

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "host/widget/Live/LiveExtension.hpp"
#include "host/widget/Live/LiveHost.hpp"
#include "widget/DrawingRequest.hpp"

namespace host {

class LiveDrawings {
  public:
    /// Bytes of drawings that are kept, at most; one that is longer is made anew for everyone.
    static constexpr std::size_t mostKept = std::size_t{2} << 20;

    LiveDrawings(const boost::asio::any_io_executor& executor, LiveHost& host, LiveExtension& extension);

    /// Of what is shown when it is ready; the request's entry is not looked at. One that pictures may be
    /// missing in, because its budget was spent, is nobody else's. Throws ExtensionError.
    boost::asio::awaitable<std::string> drawn(widget::DrawingRequest request);

  private:
    struct Drawing;

    boost::asio::awaitable<void> make(std::shared_ptr<Drawing> drawing, widget::DrawingRequest request);
    boost::asio::awaitable<bool> isLeftOver(std::shared_ptr<Drawing> drawing, widget::DrawingRequest request);
    boost::asio::awaitable<void> takeTurn();
    void endTurn();
    std::shared_ptr<Drawing> kept(const std::string& key) const;
    void keep(const std::string& key, const std::shared_ptr<Drawing>& drawing);

    boost::asio::any_io_executor executor_;
    LiveHost& host_;
    LiveExtension& extension_;
    std::map<std::string, std::shared_ptr<Drawing>> drawings_;
    bool isTurnTaken_ = false;
    boost::asio::steady_timer turn_;
    LiveHost::Observation observation_;
};

}  // namespace host
