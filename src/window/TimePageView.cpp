#include "window/TimePageView.h"

#include "foundation/Log.h"
#include "preferences/CVBPreferences.h"
#include "shell/TimeController.h"
#include "window/AdwRows.h"

#include <adwaita.h>
#include <set>

namespace corvane {

namespace {

constexpr int kShownResults = 8;
constexpr const char* kMoon = "-6";
constexpr const char* kHere = "-7";

std::string cityDetails(const Value& city) {
    std::string details;
    for (const char* key : {"state", "country", "timezone"}) {
        const std::string part = city[key].stringValue();
        if (!part.empty())
            details += (details.empty() ? "" : " · ") + part;
    }
    return details;
}

// A screen reader announces the text inside an entry, which takes the focus, not the entry.
void nameText(Gtk::Widget& entry, const std::string& label) {
    setAccessibleLabel(entry, label);
    for (Gtk::Widget* child = entry.get_first_child(); child; child = child->get_next_sibling())
        if (GTK_IS_TEXT(child->gobj()))
            setAccessibleLabel(*child, label);
}

void removeRows(Gtk::Widget& group, std::vector<Gtk::Widget*>& rows) {
    for (Gtk::Widget* row : rows)
        adw_preferences_group_remove(ADW_PREFERENCES_GROUP(group.gobj()), row->gobj());
    rows.clear();
}

} // namespace

TimePageView::TimePageView(WindowServices& services, TimeController& controller)
    : Gtk::Box(Gtk::Orientation::VERTICAL, 18)
    , services_(services)
    , controller_(controller)
    , cities_(services.engine.queue, CityStatCollector::defaultDatabasePath()) {
    append(formatGroup());
    append(clocksGroup());
    append(searchGroup());
    // The controller may outlive the page, and the page may go while the controller is
    // being destroyed: the listener checks that the page is still there.
    std::weak_ptr<bool> alive = alive_;
    controller_.setChangeListener([this, alive] {
        if (alive.lock())
            showStored();
    });
}

TimePageView::~TimePageView() = default;

Gtk::Widget& TimePageView::formatGroup() {
    auto& group = adw::group(
        services_.translate("Panel clock"),
        services_.translate("Date letters: EEE weekday, d day, MMM month, HH or h hour, mm "
                            "minutes, ss seconds, a am/pm, w week. Words: FUZZY, "
                            "__RELATIVE_DAY__, __DAY_SUFFIX__. Icons: ___ICON__CLOCK__, "
                            "___ICON__MOON__, ___ICON__RED___. Text in 'quotes' is shown as it "
                            "is."));
    const auto stored = controller_.menubarLines();
    twoLines_ = Gtk::make_managed<Gtk::Switch>();
    twoLines_->set_active(stored.size() == 2);
    adw::addToGroup(group, adw::actionRow(services_.translate("Two lines"), twoLines_));
    const char* titles[] = {"First line", "Second line"};
    for (int i = 0; i < 2; ++i) {
        lines_[i] = Gtk::make_managed<Gtk::Entry>();
        lines_[i]->set_width_chars(28);
        lines_[i]->set_text(i < static_cast<int>(stored.size()) ? stored[i] : "");
        lines_[i]->signal_changed().connect([this] { storeLines(); });
        adw::addToGroup(group, adw::actionRow(services_.translate(titles[i]), lines_[i]));
        nameText(*lines_[i], services_.translate(titles[i]));
    }
    lines_[1]->set_sensitive(twoLines_->get_active());
    twoLines_->property_active().signal_changed().connect([this] {
        lines_[1]->set_sensitive(twoLines_->get_active());
        storeLines();
    });
    return group;
}

void TimePageView::storeLines() {
    if (showing_)
        return;
    std::vector<std::string> lines{lines_[0]->get_text()};
    if (twoLines_->get_active())
        lines.push_back(lines_[1]->get_text());
    if (!controller_.setMenubarLines(lines))
        CVBLog("Time page: the panel clock's format could not be stored");
}

void TimePageView::showStored() {
    const auto stored = controller_.menubarLines();
    showing_ = true;
    if (twoLines_->get_active() != (stored.size() == 2))
        twoLines_->set_active(stored.size() == 2);
    for (std::size_t i = 0; i < 2; ++i) {
        // Only what differs: setting the same text would move the cursor of a line being typed.
        const std::string text = i < stored.size() ? stored[i] : std::string();
        if (i < stored.size() && std::string(lines_[i]->get_text()) != text)
            lines_[i]->set_text(text);
    }
    showing_ = false;
    if (storedClocks() != shownClocks_)
        showClocks();
}

Value TimePageView::storedClocks() const {
    return Value::array({services_.preferences.objectForKey("Time_Cities"),
                         services_.preferences.objectForKey("Time_CityNames")});
}

Gtk::Widget& TimePageView::renameButton(const std::string& identifier, const std::string& shown,
                                        const std::string& own) {
    const std::string label = services_.translate("Rename");
    auto* entry = Gtk::make_managed<Gtk::Entry>();
    entry->set_width_chars(20);
    entry->set_text(shown == own ? std::string() : shown);
    entry->set_placeholder_text(own);
    nameText(*entry, services_.translate("Name shown"));
    auto* popover = Gtk::make_managed<Gtk::Popover>();
    popover->set_child(*entry);
    auto* button = Gtk::make_managed<Gtk::MenuButton>();
    button->set_icon_name("document-edit-symbolic");
    button->set_has_frame(false);
    button->set_tooltip_text(label);
    setAccessibleLabel(*button, label);
    button->set_popover(*popover);
    // Stored when the popover closes, by Enter or by a click elsewhere.
    entry->signal_activate().connect([popover] { popover->popdown(); });
    popover->signal_closed().connect(
        [this, identifier, entry, initial = std::string(entry->get_text())] {
            const std::string name = entry->get_text();
            if (name == initial)
                return;
            controller_.clocks().updateCityName(identifier, name);
            Glib::signal_idle().connect_once(sigc::mem_fun(*this, &TimePageView::showClocks));
        });
    return *button;
}

Gtk::Widget& TimePageView::clocksGroup() {
    clockGroup_ = &adw::group(services_.translate("World clocks"),
                              services_.translate("In the dropdown, in this order."));
    showClocks();
    return *clockGroup_;
}

Gtk::Widget& TimePageView::searchGroup() {
    resultGroup_ = &adw::group(services_.translate("Add a city"));
    search_ = Gtk::make_managed<Gtk::SearchEntry>();
    search_->property_placeholder_text() = services_.translate("City, state or country");
    search_->set_hexpand(true);
    nameText(*search_, services_.translate("Add a city"));
    adw_preferences_group_set_header_suffix(ADW_PREFERENCES_GROUP(resultGroup_->gobj()),
                                            search_->Gtk::Widget::gobj());
    search_->signal_search_changed().connect([this] {
        const std::string match = search_->get_text();
        if (match.empty())
            showResults({});
        cities_.search(match,
                       [this](const CityStatCollector::Rows& rows, const std::string& asked) {
                           if (asked == std::string(search_->get_text()))
                               showResults(rows);
                       });
    });
    return *resultGroup_;
}

Gtk::Widget& TimePageView::iconButton(const char* icon, const std::string& label,
                                      std::function<void()> action) {
    auto* button = Gtk::make_managed<Gtk::Button>();
    button->set_icon_name(icon);
    button->set_has_frame(false);
    button->set_tooltip_text(label);
    setAccessibleLabel(*button, label);
    button->signal_clicked().connect(std::move(action));
    return *button;
}

void TimePageView::changeClocks(const std::function<bool()>& change) {
    if (change())
        controller_.clocks().saveClocks();
    // Rebuilt after the click's handler has returned: the list holds the clicked button.
    Glib::signal_idle().connect_once(sigc::mem_fun(*this, &TimePageView::showClocks));
}

void TimePageView::showClocks() {
    removeRows(*clockGroup_, clockRows_);
    // As stored: a change that could not be written, or one made elsewhere, shows as it is.
    controller_.reloadClocks();
    shownClocks_ = storedClocks();
    auto& clocks = controller_.clocks();
    for (const Value& city : clocks.visibleCities()) {
        const std::string id = city["identifier"].stringValue();
        std::string name = clocks.nameForCity(city);
        auto* buttons = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, 0);
        buttonWidths_->add_widget(*buttons);
        // The moon and the current location are named by the window's language.
        const bool named = id != kMoon && id != kHere;
        if (!named)
            name = services_.translate(id == kMoon ? "Moon" : "Current Location");
        auto& c = clocks;
        buttons->append(
            iconButton("go-up-symbolic", services_.translate("Move up"),
                       [this, &c, id] { changeClocks([&c, id] { return c.moveCity(id, -1); }); }));
        buttons->append(
            iconButton("go-down-symbolic", services_.translate("Move down"),
                       [this, &c, id] { changeClocks([&c, id] { return c.moveCity(id, 1); }); }));
        buttons->append(
            iconButton("list-remove-symbolic", services_.translate("Remove"),
                       [this, &c, id] { changeClocks([&c, id] { return c.removeCity(id); }); }));
        // Last, in boxes of one width, so that the arrows of every row line up.
        if (named)
            buttons->append(renameButton(id, name, city["city"].stringValue()));
        clockRows_.push_back(&adw::actionRow(name, buttons, cityDetails(city)));
    }
    if (clocks.visibleCities().empty())
        clockRows_.push_back(&adw::actionRow(services_.translate("No world clocks"), nullptr));
    for (Gtk::Widget* row : clockRows_)
        adw::addToGroup(*clockGroup_, *row);
}

void TimePageView::showResults(const CityStatCollector::Rows& rows) {
    removeRows(*resultGroup_, resultRows_);
    std::set<std::string> seen;
    int shown = 0;
    for (const Value& row : rows) {
        const std::string id = row["identifier"].stringValue();
        if (shown == kShownResults || !seen.insert(id).second)
            continue;
        auto& add = iconButton("list-add-symbolic", services_.translate("Add"), [this, row] {
            changeClocks([this, row] { return controller_.clocks().addCity(row); });
        });
        resultRows_.push_back(&adw::actionRow(row["city"].stringValue(), &add, cityDetails(row)));
        adw::addToGroup(*resultGroup_, *resultRows_.back());
        ++shown;
    }
}

} // namespace corvane
