// SPDX-License-Identifier: Apache-2.0

#pragma once

// Shows what is in it whole, as far as the monitor has room, and the rest of it by scrolling. For the thread
// of the main loop.

#include <gtkmm.h>

namespace host {

class FittingScroller : public Gtk::ScrolledWindow {
  public:
    /// `width` is the least that it takes where the monitor has it, in points.
    explicit FittingScroller(int width);

    /// What stands above or below it in the window, which outlives it, has its height first.
    void leaveRoomFor(Gtk::Widget& other);

  protected:
    Gtk::SizeRequestMode get_request_mode_vfunc() const override;
    void get_preferred_width_vfunc(int& least, int& natural) const override;
    void get_preferred_height_vfunc(int& least, int& natural) const override;
    void get_preferred_height_for_width_vfunc(int width, int& least, int& natural) const override;
    void get_preferred_width_for_height_vfunc(int height, int& least, int& natural) const override;

  private:
    void setHeightOfOther(int height);
    int widthOfPage() const;
    Gdk::Rectangle room() const;

    int width_;
    int heightOfOther_ = 0;
};

}  // namespace host
