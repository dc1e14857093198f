// SPDX-License-Identifier: Apache-2.0

#include "host/window/DesktopWatch.hpp"

#include <utility>

#include "platform/ProcessInfo/ProcessInfo.hpp"

namespace host {

namespace {

constexpr const char* portalSpace = "org.freedesktop.appearance";
constexpr const char* colorSchemeKey = "color-scheme";
constexpr const char* contrastKey = "contrast";

/// The portal's older call wraps its answer twice.
Glib::VariantBase unwrapped(Glib::VariantBase value) {
    while (value.is_of_type(Glib::VARIANT_TYPE_VARIANT))
        value = Glib::VariantBase::cast_dynamic<Glib::Variant<Glib::VariantBase>>(value).get();
    return value;
}

}  // namespace

DesktopWatch::DesktopWatch(std::function<void()> onChange)
    : onChange_(std::move(onChange)), settings_(Gtk::Settings::get_default()), appearance_(lookedUp()) {
    const auto changed = sigc::mem_fun(*this, &DesktopWatch::look);
    settings_->property_gtk_application_prefer_dark_theme().signal_changed().connect(changed);
    settings_->property_gtk_theme_name().signal_changed().connect(changed);
    settings_->property_gtk_xft_dpi().signal_changed().connect(changed);
    Gio::DBus::Proxy::create_for_bus(Gio::DBus::BUS_TYPE_SESSION, "org.freedesktop.portal.Desktop",
                                     "/org/freedesktop/portal/desktop", "org.freedesktop.portal.Settings",
                                     sigc::mem_fun(*this, &DesktopWatch::usePortal), end_);
}

DesktopWatch::~DesktopWatch() {
    end_->cancel();
}

WindowAppearance DesktopWatch::lookedUp() const {
    const std::string theme = settings_->property_gtk_theme_name().get_value();
    const auto forced = platform::environmentVariable("GTK_THEME").value_or("");
    return windowAppearance(
        {.portalColorScheme = portalColorScheme_,
         .portalContrast = portalContrast_,
         .forcedTheme = forced,
         .prefersDarkTheme = settings_->property_gtk_application_prefer_dark_theme().get_value(),
         .themeName = theme,
         .fontResolution = settings_->property_gtk_xft_dpi().get_value()});
}

void DesktopWatch::look() {
    const auto before = std::exchange(appearance_, lookedUp());
    if (before != appearance_) onChange_();
}

void DesktopWatch::usePortal(const Glib::RefPtr<Gio::AsyncResult>& result) try {
    portal_ = Gio::DBus::Proxy::create_for_bus_finish(result);
    portal_->signal_signal().connect(
        [this](const Glib::ustring&, const Glib::ustring& signal,
               const Glib::VariantContainerBase& arguments) { hear(signal, arguments); });
    ask(colorSchemeKey);
    ask(contrastKey);
} catch (const Glib::Error&) {
    // Without a bus the toolkit's settings are what there is.
}

void DesktopWatch::ask(const char* key) {
    const auto question = Glib::VariantContainerBase::create_tuple(
        {Glib::Variant<Glib::ustring>::create(portalSpace), Glib::Variant<Glib::ustring>::create(key)});
    const auto answered = [this, key](const Glib::RefPtr<Gio::AsyncResult>& result) {
        try {
            take(key, portal_->call_finish(result).get_child(0));
        } catch (const Glib::Error&) {
            // No portal, or one that does not know of it.
        }
    };
    portal_->call("Read", answered, end_, question);
}

void DesktopWatch::hear(const Glib::ustring& signal, Glib::VariantContainerBase arguments) {
    if (signal != "SettingChanged" || arguments.get_n_children() != 3) return;
    const auto text = [&](gsize index) -> std::string {
        const auto child = arguments.get_child(index);
        if (!child.is_of_type(Glib::VARIANT_TYPE_STRING)) return {};
        return Glib::VariantBase::cast_dynamic<Glib::Variant<Glib::ustring>>(child).get();
    };
    if (text(0) == portalSpace) take(text(1), arguments.get_child(2));
}

void DesktopWatch::take(const std::string& key, const Glib::VariantBase& value) {
    const auto word = unwrapped(value);
    if (!word.is_of_type(Glib::VARIANT_TYPE_UINT32)) return;
    const auto number = Glib::VariantBase::cast_dynamic<Glib::Variant<guint32>>(word).get();
    if (key == colorSchemeKey) portalColorScheme_ = number;
    if (key == contrastKey) portalContrast_ = number;
    look();
}

}  // namespace host
