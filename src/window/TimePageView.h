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
    // Rebuilds the list of world clocks from the controller.
    void showClocks();
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
    Gtk::SearchEntry* search_ = nullptr;
    bool showing_ = false;
};

} // namespace corvane
