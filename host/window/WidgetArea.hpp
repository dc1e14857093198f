// SPDX-License-Identifier: Apache-2.0

#pragma once

// The widget's picture, and on it a place for each package and text that the keyboard and a screen reader
// come to. For the main loop's thread.

#include <cairomm/region.h>
#include <gtkmm/fixed.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/window/WidgetFeed.hpp"
#include "host/window/WindowFamilies.hpp"

namespace host {

class WidgetArea : public Gtk::Fixed {
  public:
    /// `onActivate` is told where the keyboard or a screen reader wants to go.
    explicit WidgetArea(std::function<void(const std::string& link)> onActivate);

    void present(std::shared_ptr<const ShownWidget> shown);
    /// What was shown is gone; the ground stays.
    void empty();
    bool isShowing() const { return shown_ != nullptr; }

    /// Whose drawing is shown, or was before it was emptied.
    const WindowFamily& family() const { return windowFamily(drawing_.family); }
    drawing::Size size() const { return family().windowSize(); }
    /// In points from the window's corner.
    std::optional<std::string> linkAt(drawing::Point point) const;
    void paint(const Cairo::RefPtr<Cairo::Context>& context) const;
    /// What is neither transparent nor cut off by a round corner.
    Cairo::RefPtr<Cairo::Region> outline() const;

  protected:
    bool on_draw(const Cairo::RefPtr<Cairo::Context>& context) override;

  private:
    void paintGround(const Cairo::RefPtr<Cairo::Context>& context) const;
    void setSpots(const WidgetContent& content);
    std::unique_ptr<Gtk::Widget> spotWidget(const WidgetSpot& spot) const;
    std::optional<std::string> focusedLink() const;

    std::function<void(const std::string&)> onActivate_;
    WantedDrawing drawing_;
    std::shared_ptr<const ShownWidget> shown_;
    WidgetContent spots_;
    std::vector<std::unique_ptr<Gtk::Widget>> widgets_;
};

}  // namespace host
