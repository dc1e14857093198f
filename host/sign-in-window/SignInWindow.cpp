// SPDX-License-Identifier: Apache-2.0

#include "host/sign-in-window/SignInWindow.hpp"

#include <boost/json/value.hpp>
#include <system_error>

#include "host/sign-in-window/DroppedFile.hpp"
#include "platform/JSON/JSONSerialization.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "platform/Text/ASCII.hpp"

namespace host {

namespace {

constexpr int margin = 24;
constexpr int widthInPixels = 480;
/// Of an entry: what it takes at most.
constexpr int longestToken = 65'535;

constexpr const char* style = R"(
.vela-heading { font-size: 170%; font-weight: 700; }
.vela-drop { border: 2px dashed alpha(currentColor, 0.35); border-radius: 12px; padding: 18px; }
window:drop(active) { box-shadow: none; }
window:drop(active) .vela-drop { border-color: @theme_selected_bg_color; }
.vela-small { font-size: 90%; }
.vela-result.info > revealer > box { background-color: alpha(@theme_selected_bg_color, 0.15); }
)";

void wrap(Gtk::Label& label) {
    label.set_line_wrap(true);
    label.set_line_wrap_mode(Pango::WRAP_WORD_CHAR);
    label.set_xalign(0);
    // Else a long text makes a wide window.
    label.set_max_width_chars(50);
}

void addClass(Gtk::Widget& widget, const char* name) {
    widget.get_style_context()->add_class(name);
}

/// The text behind "NAME: " in the companion's status.
std::string valueIn(const std::string& status, const std::string& name) {
    const auto lines = "\n" + status;
    const auto mark = "\n" + name + ": ";
    const auto begin = lines.find(mark);
    if (begin == std::string::npos) return {};
    const auto start = begin + mark.size();
    return lines.substr(start, lines.find('\n', start) - start);
}

std::string trimmedText(const Gtk::Entry& field) {
    return std::string(platform::trimmed(field.get_text().raw()));
}

}  // namespace

SignInWindow::SignInWindow() : scroller_(widthInPixels) {
    set_title("Sign in to Vela");
    set_icon_name("vela-widget");
    // As high as what it says: a person has nothing to gain by another size.
    set_resizable(false);
    set_position(Gtk::WIN_POS_CENTER);
    const auto provider = Gtk::CssProvider::create();
    provider->load_from_data(style);
    Gtk::StyleContext::add_provider_for_screen(get_screen(), provider,
                                               GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);

    page_.set_border_width(margin);
    addClass(heading_, "vela-heading");
    wrap(heading_);
    wrap(state_);
    page_.pack_start(heading_, Gtk::PACK_SHRINK);
    page_.pack_start(state_, Gtk::PACK_SHRINK);
    addFileArea();
    addTokenFields();
    page_.pack_start(inputs_, Gtk::PACK_SHRINK);
    wrap(resultWords_);
    // As wide as the page, and never the reason for its width.
    resultWords_.set_max_width_chars(1);
    resultWords_.set_hexpand(true);
    resultWords_.set_selectable(true);
    // In line with the page's, beside what the bar has itself.
    resultWords_.set_margin_start(margin - 8);
    addClass(result_, "vela-result");
    // A screen reader says it when it comes.
    resultWords_.get_accessible()->set_role(Atk::ROLE_ALERT);
    dynamic_cast<Gtk::Container&>(*result_.get_content_area()).add(resultWords_);
    result_.set_no_show_all(true);
    addExplanation();
    addButtons();
    // What is said is in sight, also where the page is longer than the screen.
    all_.pack_start(result_, Gtk::PACK_SHRINK);
    scroller_.leaveRoomFor(result_);
    all_.pack_start(scroller_);
    scroller_.add(page_);
    add(all_);
    takeDrops();
    all_.show_all();
    resultWords_.show();
    learnState();
}

void SignInWindow::addFileArea() {
    auto* area = Gtk::make_managed<Gtk::Box>(Gtk::ORIENTATION_VERTICAL, 8);
    auto* icon = Gtk::make_managed<Gtk::Image>();
    icon->set_from_icon_name("document-open-symbolic", Gtk::ICON_SIZE_DND);
    icon->get_accessible()->set_role(Atk::ROLE_SEPARATOR);
    area->pack_start(*icon, Gtk::PACK_SHRINK);
    auto* words = Gtk::make_managed<Gtk::Label>("Drop your credentials file here");
    wrap(*words);
    words->set_xalign(0.5);
    words->set_justify(Gtk::JUSTIFY_CENTER);
    area->pack_start(*words, Gtk::PACK_SHRINK);
    choose_.set_halign(Gtk::ALIGN_CENTER);
    choose_.signal_clicked().connect([this] { chooseFile(); });
    area->pack_start(choose_, Gtk::PACK_SHRINK);
    addClass(*area, "vela-drop");
    inputs_.pack_start(*area, Gtk::PACK_SHRINK);
}

void SignInWindow::addTokenFields() {
    auto* words = Gtk::make_managed<Gtk::Label>("Or paste what your account gave you. It is not shown.");
    wrap(*words);
    inputs_.pack_start(*words, Gtk::PACK_SHRINK);
    auto* grid = Gtk::make_managed<Gtk::Grid>();
    grid->set_row_spacing(8);
    grid->set_column_spacing(12);
    struct Row {
        Gtk::Entry& field;
        const char* label;
        const char* name;
        const char* hint;
    };
    int number = 0;
    for (const auto& [field, label, name, hint] :
         {Row{accessToken_, "_Access token", "Access token, or the whole JSON", "or the whole JSON"},
          Row{refreshToken_, "_Refresh token", "Refresh token", ""}}) {
        auto* beside = Gtk::make_managed<Gtk::Label>(label, true);
        beside->set_xalign(0);
        beside->set_mnemonic_widget(field);
        field.set_visibility(false);
        field.set_input_purpose(Gtk::INPUT_PURPOSE_PASSWORD);
        field.set_placeholder_text(hint);
        field.set_max_length(longestToken);
        field.set_hexpand(true);
        // As narrow as a small screen has it.
        field.set_width_chars(8);
        field.set_activates_default(true);
        field.get_accessible()->set_name(name);
        grid->attach(*beside, 0, number);
        grid->attach(field, 1, number++);
    }
    inputs_.pack_start(*grid, Gtk::PACK_SHRINK);
}

void SignInWindow::addExplanation() {
    auto* expander = Gtk::make_managed<Gtk::Expander>("_What is stored where", true);
    wrap(explanation_);
    addClass(explanation_, "vela-small");
    explanation_.set_selectable(true);
    explanation_.set_margin_top(6);
    expander->add(explanation_);
    expander->set_expanded(true);
    page_.pack_start(*expander, Gtk::PACK_SHRINK);
}

void SignInWindow::addButtons() {
    auto* buttons = Gtk::make_managed<Gtk::Box>(Gtk::ORIENTATION_HORIZONTAL, 8);
    addClass(signIn_, "suggested-action");
    signIn_.set_can_default(true);
    close_.set_can_default(true);
    signIn_.signal_clicked().connect([this] { signInWithTokens(); });
    close_.signal_clicked().connect([this] { close(); });
    buttons->pack_end(signIn_, Gtk::PACK_SHRINK);
    buttons->pack_end(close_, Gtk::PACK_SHRINK);
    buttons->pack_end(spinner_, Gtk::PACK_SHRINK);
    page_.pack_end(*buttons, Gtk::PACK_SHRINK);
    set_default(signIn_);
}

void SignInWindow::takeDrops() {
    // The toolkit itself tells the source that the drop is over.
    drag_dest_set({Gtk::TargetEntry("text/uri-list")}, Gtk::DEST_DEFAULT_ALL, Gdk::ACTION_COPY);
    signal_drag_data_received().connect([this](const auto&, int, int, const Gtk::SelectionData& data, guint,
                                               guint) { takeDropped(data.get_uris()); });
    // A field would take a dropped file's name for a token.
    for (auto* field : {&accessToken_, &refreshToken_}) field->drag_dest_unset();
    for (auto* field : {&accessToken_, &refreshToken_})
        g_signal_connect(field->gobj(), "paste-clipboard", G_CALLBACK(pasteInPlaceOf), this);
}

void SignInWindow::takeDropped(const std::vector<Glib::ustring>& addresses) {
    if (!inputs_.get_sensitive() || !inputs_.get_visible()) return;
    if (addresses.size() != 1) return tell(Gtk::MESSAGE_WARNING, "Drop one file.");
    const auto file = droppedFile(addresses.front(), Glib::get_host_name().raw());
    if (!file.refusal.empty()) return tell(Gtk::MESSAGE_WARNING, std::string(file.refusal));
    signInWithFile(file.path);
}

/// The field's own would take the blanks around it, too.
void SignInWindow::pasteInPlaceOf(GtkEntry* field, gpointer window) {
    g_signal_stop_emission_by_name(field, "paste-clipboard");
    static_cast<SignInWindow*>(window)->paste(*Glib::wrap(field));
}

bool SignInWindow::on_key_press_event(GdkEventKey* event) {
    const bool isPaste =
        (event->state & GDK_CONTROL_MASK) != 0 && (event->keyval == GDK_KEY_v || event->keyval == GDK_KEY_V);
    if (event->keyval == GDK_KEY_Escape) {
        close();
        return true;
    }
    if (isPaste && !dynamic_cast<Gtk::Entry*>(get_focus()) && inputs_.get_sensitive()) {
        paste(accessToken_);
        return true;
    }
    return Gtk::ApplicationWindow::on_key_press_event(event);
}

void SignInWindow::learnState() {
    explain("");
    try {
        run_ = std::make_unique<CompanionRun>(std::vector<std::string>{"status"}, "",
                                              [this](const auto& outcome) {
                                                  explain(outcome.output);
                                                  if (!outcome.isSuccess && !outcome.words.empty())
                                                      tell(Gtk::MESSAGE_WARNING, outcome.words);
                                                  run_.reset();
                                              });
    } catch (const std::system_error& error) {
        tell(Gtk::MESSAGE_ERROR, std::string("The companion is not there: ") + error.what());
        inputs_.set_sensitive(false);
        signIn_.set_sensitive(false);
    }
}

void SignInWindow::explain(const std::string& status) {
    const bool isSignedIn = valueIn(status, "signed in") == "yes";
    state_.set_text(
        isSignedIn ? "Somebody is signed in on this machine; signing in anew takes the place of that."
                   : "Sign in once; from then on your parcels and orders are on every surface you look at.");
    const auto place = valueIn(status, "kept in");
    explanation_.set_text(
        "The two tokens are kept in " + (place.empty() ? "your keychain" : place) +
        (place.starts_with('/') ? ", a file that you alone can read" : "") +
        ", and nowhere else: not in a log, not in this window once it is closed. The file that you choose is "
        "read once and stays as it is; one that other users can read is refused. vela-companion sign-out "
        "removes the tokens.");
}

void SignInWindow::chooseFile() {
    const auto dialog =
        Gtk::FileChooserNative::create("Choose your credentials file", *this, Gtk::FILE_CHOOSER_ACTION_OPEN);
    if (dialog->run() == Gtk::RESPONSE_ACCEPT) signInWithFile(dialog->get_filename());
}

void SignInWindow::signInWithFile(const std::string& path) {
    if (path.empty()) return tell(Gtk::MESSAGE_WARNING, "That is no file of this machine.");
    signIn({"sign-in", "--file", path}, "");
}

void SignInWindow::signInWithTokens() {
    if (const auto pair = pastedPair()) signIn({"sign-in"}, *pair);
}

std::optional<std::string> SignInWindow::pastedPair() {
    const auto access = trimmedText(accessToken_);
    const auto refresh = trimmedText(refreshToken_);
    if (access.starts_with('{')) return access;
    for (auto* field : {&accessToken_, &refreshToken_}) {
        if (!trimmedText(*field).empty()) continue;
        tell(Gtk::MESSAGE_WARNING, "Paste both tokens, or the whole JSON into the first field.");
        field->grab_focus();
        return std::nullopt;
    }
    if (access == refresh) {
        tell(Gtk::MESSAGE_WARNING, "Both fields hold the same text; a pair has two different tokens.");
        refreshToken_.grab_focus();
        return std::nullopt;
    }
    const boost::json::value pair = {{"accessToken", access}, {"refreshToken", refresh}};
    return platform::JSONSerialization::dataWithJSONObject(pair, platform::JSONKeyOrder::ascendingBytes);
}

void SignInWindow::signIn(const std::vector<std::string>& arguments, const std::string& input) {
    setBusy(true);
    try {
        run_ = std::make_unique<CompanionRun>(
            arguments, input, [this](const auto& outcome) { conclude(outcome); },
            [this](const std::string& line) { tell(Gtk::MESSAGE_INFO, line); });
    } catch (const std::system_error& error) {
        setBusy(false);
        tell(Gtk::MESSAGE_ERROR, std::string("The companion is not there: ") + error.what());
    }
}

void SignInWindow::conclude(const CompanionRun::Outcome& outcome) {
    setBusy(false);
    if (!outcome.isSuccess) {
        tell(Gtk::MESSAGE_ERROR, "That did not work: " + outcome.words);
        accessToken_.grab_focus();
        run_.reset();
        return;
    }
    for (auto* field : {&accessToken_, &refreshToken_}) field->set_text("");
    inputs_.hide();
    signIn_.hide();
    state_.hide();
    heading_.set_text("You are signed in");
    set_title("You are signed in");
    tell(Gtk::MESSAGE_INFO, "Your parcels and orders are on their way to your surfaces.");
    set_default(close_);
    close_.grab_focus();
    run_.reset();
}

void SignInWindow::paste(Gtk::Entry& field) {
    field.grab_focus();
    Gtk::Clipboard::get()->request_text([this, &field](const Glib::ustring& text) {
        const std::string pasted(platform::trimmed(text.raw()));
        if (pasted.empty()) return tell(Gtk::MESSAGE_WARNING, "There is no text to paste.");
        const auto kept = field.get_text_length();
        if (text.size() + kept > static_cast<std::size_t>(longestToken))
            return tell(Gtk::MESSAGE_WARNING, "That is too long for a pair of tokens.");
        field.delete_selection();
        int position = field.get_position();
        field.insert_text(pasted, static_cast<int>(pasted.size()), position);
        field.set_position(position);
    });
}

void SignInWindow::tell(Gtk::MessageType type, const std::string& words) {
    result_.set_message_type(type);
    resultWords_.set_text(Glib::ustring(words).make_valid());
    // Shown anew, a screen reader says it.
    result_.hide();
    result_.show();
}

void SignInWindow::setBusy(bool isBusy) {
    inputs_.set_sensitive(!isBusy);
    signIn_.set_sensitive(!isBusy);
    spinner_.property_active() = isBusy;
    if (isBusy) result_.hide();
}

}  // namespace host
