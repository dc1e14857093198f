// SPDX-License-Identifier: Apache-2.0

#pragma once

// The window in which a person signs in. It holds no keychain code: what is pasted goes to the companion by a
// pipe, a file by its name. For the thread of the main loop.

#include <gtkmm.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/sign-in-window/CompanionRun.hpp"
#include "host/sign-in-window/FittingScroller.hpp"

namespace host {

class SignInWindow : public Gtk::ApplicationWindow {
  public:
    SignInWindow();

  protected:
    bool on_key_press_event(GdkEventKey* event) override;

  private:
    void addFileArea();
    void addTokenFields();
    void addExplanation();
    void addButtons();
    void takeDrops();
    void takeDropped(const std::vector<Glib::ustring>& addresses);

    void learnState();
    void explain(const std::string& status);
    void chooseFile();
    void signInWithFile(const std::string& path);
    void signInWithTokens();
    /// What the companion reads; nothing where a field is empty, which is said then.
    std::optional<std::string> pastedPair();
    void signIn(const std::vector<std::string>& arguments, const std::string& input);
    void conclude(const CompanionRun::Outcome& outcome);
    void paste(Gtk::Entry& field);
    static void pasteInPlaceOf(GtkEntry* field, gpointer window);
    void tell(Gtk::MessageType type, const std::string& words);
    void setBusy(bool isBusy);

    Gtk::Box all_{Gtk::ORIENTATION_VERTICAL};
    FittingScroller scroller_;
    Gtk::Box page_{Gtk::ORIENTATION_VERTICAL, 14};
    Gtk::Box inputs_{Gtk::ORIENTATION_VERTICAL, 14};
    Gtk::Label heading_{"Sign in to Vela"};
    Gtk::Label state_;
    Gtk::Button choose_{"Choose a _File…", true};
    Gtk::Entry accessToken_;
    Gtk::Entry refreshToken_;
    Gtk::InfoBar result_;
    Gtk::Label resultWords_;
    Gtk::Label explanation_;
    Gtk::Spinner spinner_;
    Gtk::Button close_{"_Close", true};
    Gtk::Button signIn_{"Sign _In", true};
    std::unique_ptr<CompanionRun> run_;
};

}  // namespace host
