#pragma once

#include "clock/CityStatCollector.h"
#include "window/WindowServices.h"

#include <functional>
#include <gtkmm.h>
#include <memory>
#include <string>
#include <vector>

namespace corvane {

class TimeController;

// The Time page's own editors: the panel clock's lines as typed patterns, and the world
// clocks with their order and a city search to add more.
class TimePageView final : public Gtk::Box {
public:
    TimePageView(WindowServices& services, TimeController& controller);
    ~TimePageView() override;

private:
    Gtk::Widget& formatGroup();
    Gtk::Widget& clocksGroup();
    Gtk::Widget& searchGroup();
    void storeLines();
    // Shows what is stored now where it differs from what the page shows: the settings were
    // written elsewhere, or by this page.
    void showStored();
    // Rebuilds the list of world clocks from the controller.
    void showClocks();
    Value storedClocks() const;
    // A button whose popover names the clock; an empty name goes back to the city's own.
    Gtk::Widget& renameButton(const std::string& identifier, const std::string& shown,
                              const std::string& own);
    void showResults(const CityStatCollector::Rows& rows);
    Gtk::Widget& iconButton(const char* icon, const std::string& label,
                            std::function<void()> action);
    void changeClocks(const std::function<bool()>& change);

    WindowServices& services_;
    TimeController& controller_;
    CityStatCollector cities_;
    Gtk::Entry* lines_[2] = {nullptr, nullptr};
    Gtk::Switch* twoLines_ = nullptr;
    // The groups and the rows they hold now, which a change replaces.
    Gtk::Widget* clockGroup_ = nullptr;
    Gtk::Widget* resultGroup_ = nullptr;
    std::vector<Gtk::Widget*> clockRows_;
    std::vector<Gtk::Widget*> resultRows_;
    Glib::RefPtr<Gtk::SizeGroup> buttonWidths_ =
        Gtk::SizeGroup::create(Gtk::SizeGroup::Mode::HORIZONTAL);
    Gtk::SearchEntry* search_ = nullptr;
    // The stored world clocks and names the list shows.
    Value shownClocks_;
    // While the page puts stored values into its editors, which must not write them back.
    bool showing_ = false;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

} // namespace corvane
