// SPDX-License-Identifier: Apache-2.0

#pragma once

// A sign of life on a terminal while something is awaited. Draws nothing on anything but a terminal. Belongs
// to one executor.

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/steady_timer.hpp>
#include <memory>
#include <string>

namespace host {

class Spinner : public std::enable_shared_from_this<Spinner> {
  public:
    /// Turns after a moment, so that a quick answer shows none at all.
    static std::shared_ptr<Spinner> start(const boost::asio::any_io_executor& executor, int descriptor,
                                          std::string caption);
    /// Clears the line.
    void stop();
    /// Clears the line for the text that is about to be written; the next turn draws it again.
    void makeRoom();

  private:
    Spinner(const boost::asio::any_io_executor& executor, int descriptor, std::string caption);
    void turnLater(std::chrono::milliseconds delay);
    void write(const std::string& text) const;

    boost::asio::steady_timer timer_;
    int descriptor_;
    std::string caption_;
    std::size_t frame_ = 0;
    bool isShown_ = false;
    bool isStopped_ = false;
};

}  // namespace host
