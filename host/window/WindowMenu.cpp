// SPDX-License-Identifier: Apache-2.0

#include "host/window/WindowMenu.hpp"

#include <gtkmm/checkmenuitem.h>
#include <gtkmm/separatormenuitem.h>

#include "host/window/WindowFamilies.hpp"

namespace host {

namespace {

void addLine(Gtk::Menu& menu) {
    menu.append(*Gtk::make_managed<Gtk::SeparatorMenuItem>());
}

Gtk::MenuItem& addItem(Gtk::Menu& menu, const std::string& label, const std::function<void()>& act) {
    auto* item = Gtk::make_managed<Gtk::MenuItem>(label, true);
    if (act) item->signal_activate().connect(act);
    menu.append(*item);
    return *item;
}

/// One of several, of which one holds.
void addChoice(Gtk::Menu& menu, const std::string& label, bool isCurrent, const std::function<void()>& act) {
    auto* item = Gtk::make_managed<Gtk::CheckMenuItem>(label);
    item->set_draw_as_radio(true);
    item->set_active(isCurrent);
    item->signal_activate().connect(act);
    menu.append(*item);
}

}  // namespace

std::unique_ptr<Gtk::Menu> WindowMenu::made() const {
    auto menu = std::make_unique<Gtk::Menu>();
    if (!remark.empty()) {
        auto* words = Gtk::make_managed<Gtk::MenuItem>(remark);
        words->set_sensitive(false);
        menu->append(*words);
        addLine(*menu);
    }
    addItem(*menu, "_Reload", onReload);
    addLine(*menu);
    for (const auto& row : windowFamilies)
        addChoice(*menu, std::string(row.title), row.family == family,
                  [act = onFamily, chosen = row.family] { act(chosen); });
    if (monitors.size() > 1) addLine(*menu);
    for (const auto& monitor : monitors)
        if (monitors.size() > 1)
            addChoice(*menu, monitor.name, monitor.isCurrent,
                      [act = onMonitor, name = monitor.name] { act(name); });
    addLine(*menu);
    addItem(*menu, "Open _Account", onAccount);
    addItem(*menu, "_Quit", onQuit);
    menu->show_all();
    return menu;
}

}  // namespace host
